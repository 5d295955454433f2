#include "tools/voran/class_responses.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "tools/voran/table.h"

namespace tool {

ClassColumn ReadClasses(const TextColumn& column) {
  ClassColumn result;
  result.name = column.name;
  std::unordered_map<std::string, int> known;
  for (const std::string& cell : column.values) {
    if (IsMissingCell(cell)) {
      result.ofRow.push_back(kNoClass);
      continue;
    }
    const auto [place, isNew] = known.emplace(cell, static_cast<int>(result.classes.size()));
    if (isNew) result.classes.push_back(cell);
    result.ofRow.push_back(place->second);
  }
  return result;
}

namespace {

void RefuseUselessClasses(const std::string& source, const ClassColumn& column) {
  const std::size_t classes = column.classes.size();
  if (classes < 2) {
    throw BadData(fmt::format("{}: column {} holds one class alone ({}); to tell classes apart takes two at least",
                              source, Quoted(column.name), Enumerated(column.classes)));
  }
  const auto isOfAny = [](int index) { return index != kNoClass; };
  const auto rows = static_cast<std::size_t>(std::count_if(column.ofRow.begin(), column.ofRow.end(), isOfAny));
  if (2 * classes <= rows) return;
  throw BadData(
      fmt::format("{}: column {} names {} classes in {}, which are too many; give --y a column of numbers, or one of "
                  "classes with two rows each or more",
                  source, Quoted(column.name), classes, Counted(rows, "row")));
}

}  // namespace

int ClassResponses::IndexOf(const std::string& className) const {
  const auto place = std::find(classes.begin(), classes.end(), className);
  return place == classes.end() ? kNoClass : static_cast<int>(place - classes.begin());
}

std::string ClassResponses::CellOf(int index) const {
  return index == kNoClass ? std::string() : classes[static_cast<std::size_t>(index)];
}

std::vector<std::string> ClassResponses::ResponseNames() const {
  std::vector<std::string> names;
  for (const std::string& className : classes) names.push_back(fmt::format("{}={}", name, className));
  return names;
}

void AddClassResponses(Table& table, const TextColumn& column) {
  ClassColumn classes = ReadClasses(column);
  RefuseUselessClasses(table.source, classes);
  classes.first = table.responses.size();
  const std::size_t responses = classes.first + classes.classes.size();
  NCDataMatrix<float> y;
  y.ReserveRows(table.x.SizeRows());
  std::vector<float> row(responses);
  for (std::size_t i = 0; i < classes.ofRow.size(); ++i) {
    const int own = classes.ofRow[i];
    std::fill(row.begin(), row.end(), own == kNoClass ? kGap : 0.0f);
    if (classes.first > 0) {
      const NCDataVector<float> before = table.y[static_cast<int>(i) + 1];
      std::copy(before.begin(), before.end(), row.begin());
    }
    if (own != kNoClass) row[classes.first + static_cast<std::size_t>(own)] = 1.0f;
    NCDataVector<float> cells;
    cells.CopyZeroBasedVector(row.data(), static_cast<int>(responses));
    y.push_back(cells);
  }
  table.y = y;
  for (const std::string& name : classes.ResponseNames()) table.responses.push_back(name);
  table.classResponses.push_back(std::move(classes));
}

std::vector<int> GiveClasses(const ClassResponses& responses, const std::vector<std::span<const double>>& predicted) {
  const std::span own = std::span(predicted).subspan(responses.first, responses.classes.size());
  std::vector<int> given;
  for (std::size_t i = 0; i < own.front().size(); ++i) {
    const auto isLess = [i](const auto& a, const auto& b) { return a[i] < b[i]; };
    const bool isKnown =
        std::none_of(own.begin(), own.end(), [i](const auto& values) { return std::isnan(values[i]); });
    const auto largest = std::max_element(own.begin(), own.end(), isLess);
    given.push_back(isKnown ? static_cast<int>(largest - own.begin()) : kNoClass);
  }
  return given;
}

}  // namespace tool
