#include "tools/voran/row_filter.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <utility>

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "tools/voran/table_roles.h"

namespace tool {
namespace {

const std::vector<std::string>& TextsNamed(const Table& table, const std::string& name) {
  for (const TextColumn& column : table.classes) {
    if (column.name == name) return column.values;
  }
  return table.rowIds;
}

// The values that are asked for, by the name of the column.
std::map<std::string, std::set<std::string>> ValuesByColumn(const Table& table,
                                                            const std::vector<RowCondition>& conditions) {
  std::map<std::string, std::set<std::string>> values;
  for (const RowCondition& condition : conditions) {
    for (const std::size_t c : SelectColumns(table.columns, condition.column, "--where")) {
      values[table.columns[c]].insert(condition.value);
    }
  }
  return values;
}

void RefuseUnknownValues(const std::string& name, const std::set<std::string>& asked,
                         const std::vector<std::string>& texts) {
  std::vector<std::string> known;
  std::set<std::string> seen;
  for (const std::string& text : texts) {
    if (seen.insert(text).second) known.push_back(text.empty() ? "empty cells" : text);
  }
  for (const std::string& value : asked) {
    if (seen.count(value) > 0) continue;
    throw WrongUse(fmt::format("--where: no row has {} in column {}; there are {}", Quoted(value), Quoted(name),
                               Enumerated(known)));
  }
}

void KeepTexts(std::vector<std::string>& texts, const std::vector<bool>& isKept) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (isKept[i]) std::swap(texts[kept++], texts[i]);
  }
  texts.resize(kept);
}

void KeepNumbers(NCDataMatrix<float>& x, const std::vector<bool>& isKept) {
  NCDataMatrix<float> kept;
  for (int r = 1; r <= x.SizeRows(); ++r) {
    if (isKept[static_cast<std::size_t>(r) - 1]) kept.push_back(x[r]);
  }
  x = kept;
}

}  // namespace

RowCondition ReadCondition(const std::string& argument) {
  const auto sign = argument.find('=');
  if (sign == std::string::npos || sign == 0) {
    throw WrongUse(fmt::format("--where: {} is no COLUMN=VALUE", Quoted(argument)));
  }
  return {argument.substr(0, sign), argument.substr(sign + 1)};
}

void KeepRows(Table& table, const std::vector<RowCondition>& conditions) {
  if (conditions.empty()) return;
  const std::size_t rows = table.rowIds.size();
  std::vector<bool> isKept(rows, true);
  for (const auto& [name, values] : ValuesByColumn(table, conditions)) {
    const std::vector<std::string>& texts = TextsNamed(table, name);
    RefuseUnknownValues(name, values, texts);
    for (std::size_t i = 0; i < rows; ++i) isKept[i] = isKept[i] && values.count(texts[i]) > 0;
  }
  if (std::none_of(isKept.begin(), isKept.end(), [](bool kept) { return kept; })) {
    throw WrongUse(fmt::format("--where: no row of {} meets all conditions", table.source));
  }
  KeepNumbers(table.x, isKept);
  KeepTexts(table.rowIds, isKept);
  for (TextColumn& column : table.classes) KeepTexts(column.values, isKept);
  for (const RowCondition& condition : conditions) {
    table.chosen += fmt::format("{}{}={}", table.chosen.empty() ? "" : ", ", condition.column, condition.value);
  }
  table.notes.push_back(fmt::format("{} of {} meet --where", table.rowIds.size(), Counted(rows, "row")));
}

}  // namespace tool
