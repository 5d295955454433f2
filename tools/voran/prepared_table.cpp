#include "tools/voran/prepared_table.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <unordered_map>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/component_numbers.h"
#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "tools/voran/transform_option.h"
#include "tools/voran/transform_text.h"

namespace tool {
namespace {

[[noreturn]] void RefuseNothingLeft(const std::string& source, const PreparedTable& prepared) {
  if (prepared.x.SizeRows() == 1) {
    throw BadData(source + ": one row has no variance; give more rows, or --scaling none");
  }
  const DroppedColumns& dropped = prepared.columns.dropped;
  const auto& [name, reason] = dropped.front();
  const bool isConstant =
      std::any_of(dropped.begin(), dropped.end(), [](const auto& column) { return column.second == "no variance"; });
  throw BadData(fmt::format("{}: no column is left to model: {} ({}){}{}", source, name, reason,
                            dropped.size() > 1 ? " and the others hold nothing either" : "",
                            isConstant ? "; --scaling none keeps what has no variance" : ""));
}

void TransformRaw(const RawColumns& raw, const NCTransform& transforms, PreparedColumns& columns) {
  const int gaps = raw.x.GetNumMisVal();
  columns.failure = TransformColumns(raw.x, transforms, raw.names, raw.rowIds).value_or("");
  columns.failedValues = raw.x.GetNumMisVal() - gaps;
}

}  // namespace

double PreparedColumns::Original(std::size_t column, double scaled) const {
  const double unscaled = scaled / scales[column].weight + scales[column].centre;
  const TransformStruct& transform = transforms[static_cast<int>(column) + 1];
  if (!transform.ChangesValues() || std::isnan(unscaled)) return unscaled;
  float value = AsPresent(unscaled);
  return transform.BackTransformValue(&value) == NCTransformError::kNoError ? static_cast<double>(value) : kNoValue;
}

PreparedTable Prepare(RawColumns&& raw, Scaling scaling) {
  PreparedTable result;
  PreparedColumns& columns = result.columns;
  if (raw.transforms.Size() > 0) TransformRaw(raw, raw.transforms, columns);
  ScaledMatrix scaled = ScaleColumns(std::move(raw.x), scaling);
  columns.transforms = NCTransform(static_cast<int>(scaled.kept.size()));
  for (const std::size_t c : scaled.kept) {
    columns.names.push_back(raw.names[c]);
    if (raw.transforms.Size() == 0) continue;
    columns.transforms[static_cast<int>(columns.names.size())] = raw.transforms[static_cast<int>(c) + 1];
  }
  for (const DroppedColumn& d : scaled.dropped) columns.dropped.emplace_back(raw.names[d.column], d.reason);
  columns.scales = std::move(scaled.scales);
  columns.unit = scaled.unit;
  result.x = scaled.x;
  return result;
}

PreparedTable PrepareVariables(Table& table, const NCTransform& transforms, Scaling scaling) {
  PreparedTable prepared = Prepare({table.source, table.x, table.variables, table.rowIds, transforms}, scaling);
  if (prepared.columns.names.empty()) RefuseNothingLeft(table.source, prepared);
  return prepared;
}

PreparedTable PrepareLike(RawColumns&& raw, const PreparedColumns& columns) {
  std::unordered_map<std::string_view, std::size_t> places;
  for (std::size_t c = 0; c < raw.names.size(); ++c) places.emplace(raw.names[c], c);
  PreparedTable result;
  result.columns = columns;
  NCTransform transforms(static_cast<int>(raw.names.size()));
  std::vector<std::size_t> order;
  for (const std::string& name : columns.names) {
    order.push_back(places.at(name));
    transforms[static_cast<int>(order.back()) + 1] = columns.transforms[static_cast<int>(order.size())];
  }
  TransformRaw(raw, transforms, result.columns);
  result.x = ApplyScales(std::move(raw.x), order, columns.scales);
  return result;
}

namespace {

// Calls use(name, transform) for the columns that are put through a function.
template <typename Use>
void ForEachTransformed(const PreparedColumns& columns, Use use) {
  for (std::size_t c = 0; c < columns.names.size(); ++c) {
    const TransformStruct& transform = columns.transforms[static_cast<int>(c) + 1];
    if (transform.ChangesValues()) use(columns.names[c], transform);
  }
}

}  // namespace

std::string TransformLines(const PreparedColumns& columns, const std::string& what) {
  std::vector<std::string> items;
  ForEachTransformed(columns, [&](const std::string& name, const TransformStruct& transform) {
    items.push_back(fmt::format("{}: {}", name, Formula(transform)));
  });
  if (items.empty()) return {};
  const std::string failure = columns.failure.empty() ? "" : fmt::format("  {}\n", columns.failure);
  return fmt::format("  {}: {}\n{}", what, Enumerated(items), failure);
}

nlohmann::ordered_json TransformsJson(const PreparedColumns& columns) {
  auto json = nlohmann::ordered_json::array();
  ForEachTransformed(columns, [&](const std::string& name, const TransformStruct& transform) {
    json.push_back({{"name", name}, {"formula", Formula(transform)}});
  });
  return json;
}

std::string DroppedText(const DroppedColumns& dropped) {
  std::vector<std::string> items;
  for (const auto& [name, reason] : dropped) items.push_back(fmt::format("{} ({})", name, reason));
  return Enumerated(items);
}

nlohmann::ordered_json DroppedJson(const DroppedColumns& dropped) {
  auto json = nlohmann::ordered_json::array();
  for (const auto& [name, reason] : dropped) json.push_back({{"name", name}, {"reason", reason}});
  return json;
}

}  // namespace tool
