#include "tools/voran/class_report.h"

#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/csv_writer.h"
#include "tools/voran/number_text.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kClassesAcross = 10;  // more make no table that a terminal could show

std::size_t RowsOf(const std::vector<std::size_t>& given) {
  std::size_t sum = 0;
  for (const std::size_t count : given) sum += count;
  return sum;
}

std::string RightText(std::size_t right, std::size_t rows) {
  return rows == 0
             ? "-"
             : fmt::format("{} ({:.1f} %)", right, 100.0 * static_cast<double>(right) / static_cast<double>(rows));
}

}  // namespace

ClassCounts::ClassCounts(const ClassResponses& responses, const std::vector<int>& own,
                         const std::vector<int>& givenClasses)
    : given(responses.classes.size(), std::vector<std::size_t>(responses.classes.size() + 1)) {
  for (std::size_t i = 0; i < own.size(); ++i) {
    if (own[i] == kNoClass) continue;
    const bool isGiven = givenClasses[i] != kNoClass;
    ++given[static_cast<std::size_t>(own[i])][isGiven ? static_cast<std::size_t>(givenClasses[i]) : given.size()];
    if (own[i] == givenClasses[i]) ++right;
    ++rows;
  }
}

std::string ClassText(const ClassResponses& responses, const ClassCounts& counts, const std::string& how) {
  const std::size_t classes = responses.classes.size();
  std::size_t none = 0;
  for (const auto& row : counts.given) none += row.back();
  const std::size_t across = classes > kClassesAcross ? 0 : classes + (none > 0 ? 1 : 0);
  std::vector<std::string> headings = {fmt::format("{}, {}", ShortName(responses.name), how), "rows"};
  for (std::size_t k = 0; k < across; ++k) {
    headings.push_back(k < classes ? ShortName(responses.classes[k]) : "none");
  }
  headings.emplace_back("right");
  TextTable table(headings);
  for (std::size_t k = 0; k < classes; ++k) {
    const std::vector<std::size_t>& given = counts.given[k];
    std::vector<std::string> cells = {ShortName(responses.classes[k]), std::to_string(RowsOf(given))};
    for (std::size_t other = 0; other < across; ++other) cells.push_back(std::to_string(given[other]));
    cells.push_back(RightText(given[k], RowsOf(given)));
    table.Row(std::move(cells));
  }
  std::vector<std::string> cells = {"all", std::to_string(counts.rows)};
  for (std::size_t other = 0; other < across; ++other) {
    std::size_t sum = 0;
    for (const auto& given : counts.given) sum += given[other];
    cells.push_back(std::to_string(sum));
  }
  cells.push_back(RightText(counts.right, counts.rows));
  table.Row(std::move(cells));
  return "\n" + table.Text();
}

Json ClassJson(const ClassCounts& counts) {
  return {{"rows", counts.rows}, {"right", counts.right}, {"given", counts.given}};
}

std::string ClassFitText(const std::vector<ClassFit>& fits) {
  std::string text;
  for (const ClassFit& fit : fits) {
    text += ClassText(fit.own, {fit.own, fit.own.ofRow, fit.fitted}, "by the fit");
    if (fit.predictedCv.empty()) continue;
    text += ClassText(fit.own, {fit.own, fit.own.ofRow, fit.predictedCv}, "left out");
  }
  return text;
}

Json ClassFitJson(const std::vector<ClassFit>& fits) {
  Json json = Json::array();
  for (const ClassFit& fit : fits) {
    const auto counts = [&](const std::vector<int>& given) { return ClassJson({fit.own, fit.own.ofRow, given}); };
    json.push_back({{"name", fit.own.name},
                    {"classes", fit.own.classes},
                    {"fitted", counts(fit.fitted)},
                    {"predicted_cv", fit.predictedCv.empty() ? Json() : counts(fit.predictedCv)}});
  }
  return json;
}

void WriteClassFits(std::ostream& out, const Table& table, const std::vector<ClassFit>& fits) {
  CsvWriter writer(out);
  writer.Text(table.idName);
  for (const ClassFit& fit : fits) {
    writer.Text(fit.own.name);
    writer.Text(fit.own.name + "_fitted");
    if (!fit.predictedCv.empty()) writer.Text(fit.own.name + "_cv");
  }
  writer.EndRow();
  for (std::size_t i = 0; i < table.rowIds.size(); ++i) {
    writer.Text(table.rowIds[i]);
    for (const ClassFit& fit : fits) {
      writer.Text(fit.own.CellOf(fit.own.ofRow[i]));
      writer.Text(fit.own.CellOf(fit.fitted[i]));
      if (!fit.predictedCv.empty()) writer.Text(fit.own.CellOf(fit.predictedCv[i]));
    }
    writer.EndRow();
  }
}

}  // namespace tool
