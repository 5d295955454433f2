#include "tools/voran/scaled_table.h"

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"

namespace tool {
namespace {

Failure NothingLeft(const std::string& source, const DroppedColumns& dropped, int rows) {
  if (rows == 1) {
    return BadData(source + ": one row has no variance; give more rows, or --scaling none");
  }
  const auto& [name, reason] = dropped.front();
  return BadData(fmt::format("{}: no column is left to model: {} ({}){}", source, name, reason,
                             dropped.size() > 1 ? " and the others hold nothing either" : ""));
}

}  // namespace

ScaledTable ScaleTable(Table& table, Scaling scaling) {
  const int rows = table.x.SizeRows();
  ScaledTable result;
  result.matrix = ScaleColumns(std::move(table.x), scaling);
  for (const std::size_t c : result.matrix.kept) result.variables.push_back(table.variables[c]);
  for (const DroppedColumn& d : result.matrix.dropped) {
    result.dropped.emplace_back(table.variables[d.column], d.reason);
  }
  if (result.variables.empty()) throw NothingLeft(table.source, result.dropped, rows);
  return result;
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
