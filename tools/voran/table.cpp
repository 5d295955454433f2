#include "tools/voran/table.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "tools/voran/number_text.h"

namespace tool {

namespace {

NCDataVector<float> Picked(const float* values, const std::vector<std::size_t>& columns) {
  std::vector<float> picked;
  picked.reserve(columns.size());
  for (const std::size_t c : columns) picked.push_back(values[c]);
  NCDataVector<float> row;
  row.CopyZeroBasedVector(picked.data(), static_cast<int>(picked.size()));
  return row;
}

void MoveResponses(Table& table, const ColumnPlan& plan) {
  std::vector<std::size_t> variables;
  std::vector<std::size_t> responses;
  std::size_t k = 0;
  for (const std::size_t c : plan.NumberColumns()) {
    (plan.roles[c] == ColumnRole::kResponse ? responses : variables).push_back(k++);
  }
  NCDataMatrix<float> x;
  x.ReserveRows(table.x.SizeRows());
  table.y.ReserveRows(table.x.SizeRows());
  for (int r = 1; r <= table.x.SizeRows(); ++r) {
    const NCDataVector<float> row = table.x[r];
    table.x(r) = NCDataVector<float>();
    x.push_back(Picked(row.begin(), variables));
    table.y.push_back(Picked(row.begin(), responses));
  }
  table.x = x;
}

}  // namespace

float AsPresent(double value) {
  const auto held = static_cast<float>(value);
  return held == kGap ? std::nextafter(held, 0.0f) : held;
}

void NameColumns(Table& table, const ColumnPlan& plan) {
  table.columns = plan.names;
  table.variables = plan.NamesOf(ColumnRole::kVariable);
  table.responses = plan.NamesOf(ColumnRole::kResponse);
  if (!table.responses.empty()) MoveResponses(table, plan);
}

std::string SourceText(const Table& table) {
  return table.chosen.empty() ? table.source : fmt::format("{}, {}", table.source, table.chosen);
}

const TextColumn& TextOf(const Table& table, const std::string& item) {
  const std::string& name = table.columns[SelectColumns(table.columns, item, "").front()];
  return *std::find_if(table.classes.begin(), table.classes.end(),
                       [&](const TextColumn& column) { return column.name == name; });
}

void NoteUnusedColumns(Table& table, const ColumnPlan& plan, const RoleRequest& request) {
  const std::vector<std::string> unused = plan.NamesOf(ColumnRole::kUnused);
  if (!request.model || unused.empty()) return;
  table.notes.push_back(fmt::format("{} that the model does not use {} left out: {}", Counted(unused.size(), "column"),
                                    unused.size() == 1 ? "is" : "are", Enumerated(unused)));
}

std::vector<std::string> NumberedNames(std::size_t columns) {
  std::vector<std::string> names;
  names.reserve(columns);
  for (std::size_t c = 1; c <= columns; ++c) names.push_back(fmt::format("x{}", c));
  return names;
}

std::vector<std::string> NumberedIds(std::size_t rows) {
  std::vector<std::string> ids;
  ids.reserve(rows);
  for (std::size_t r = 1; r <= rows; ++r) ids.push_back(std::to_string(r));
  return ids;
}

void NoteMarkerCells(Table& table, std::size_t cells) {
  if (cells == 0) return;
  table.notes.push_back(
      fmt::format("{} held exactly -99, which marks a gap, and counted as missing; if that is a datum, "
                  "add a constant to the column",
                  Counted(cells, "cell")));
}

}  // namespace tool
