#include "tools/voran/fill_report.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_run.h"
#include "tools/voran/common_options.h"
#include "tools/voran/component_figures.h"
#include "tools/voran/component_numbers.h"
#include "tools/voran/csv_writer.h"
#include "tools/voran/number_text.h"
#include "tools/voran/terminal.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kColumnsShown = 20;

// The gaps of a column, and what lies between what.
struct ColumnGaps {
  std::string name;
  std::size_t gaps = 0;
  std::size_t filled = 0;
  double least = kNoValue;
  double most = kNoValue;
  double leastFilled = kNoValue;
  double mostFilled = kNoValue;
};

ColumnGaps GapsOf(const std::string& name, const FilledBlock& block, int column) {
  ColumnGaps gaps;
  gaps.name = name;
  for (int i = 1; i <= block.before.SizeRows(); ++i) {
    const float before = block.before[i][column];
    const auto value = static_cast<double>(block.values[i][column]);
    if (before != kGap) {
      gaps.least = std::fmin(gaps.least, value);  // which passes over a NaN
      gaps.most = std::fmax(gaps.most, value);
      continue;
    }
    ++gaps.gaps;
    if (block.values[i][column] == kGap) continue;
    ++gaps.filled;
    gaps.leastFilled = std::fmin(gaps.leastFilled, value);
    gaps.mostFilled = std::fmax(gaps.mostFilled, value);
  }
  return gaps;
}

// Of the columns that have gaps, the variables first.
std::vector<ColumnGaps> ColumnsWithGaps(const FillReport& report) {
  std::vector<ColumnGaps> columns;
  const auto add = [&](const std::vector<std::string>& names, const FilledBlock& block) {
    for (std::size_t c = 0; c < names.size(); ++c) {
      const ColumnGaps gaps = GapsOf(names[c], block, static_cast<int>(c) + 1);
      if (gaps.gaps > 0) columns.push_back(gaps);
    }
  };
  add(report.table.variables, report.result.x);
  if (report.result.y) add(report.table.responses, *report.result.y);
  return columns;
}

std::string ColumnLines(const std::vector<ColumnGaps>& columns) {
  TextTable lines({"column", "gaps", "filled", "min", "max", "min filled", "max filled"});
  const std::size_t shown = std::min(columns.size(), kColumnsShown);
  for (std::size_t c = 0; c < shown; ++c) {
    const ColumnGaps& column = columns[c];
    lines.Row({ShortName(column.name), std::to_string(column.gaps), std::to_string(column.filled),
               ShortNumber(column.least), ShortNumber(column.most), ShortNumber(column.leastFilled),
               ShortNumber(column.mostFilled)});
  }
  std::string text = lines.Text();
  if (columns.size() > shown) {
    text += fmt::format("  and {} more; --json and --out have them all\n", Counted(columns.size() - shown, "column"));
  }
  return text;
}

std::string FilledLine(const FilledBlock& block, int gaps, const char* method, const char* what) {
  if (gaps == 0) return {};
  const auto filled = static_cast<std::size_t>(block.filled);
  const std::string by =
      block.components > 0
          ? fmt::format("{} of {}", Counted(static_cast<std::size_t>(block.components), "component"), method)
          : "the means, since no component is significant";
  return fmt::format("  {} of {} filled with {}\n", Counted(filled, "gap"), what, by);
}

// Why gaps stay.
std::string LeftLines(const FilledTable& result) {
  if (result.Left() == 0) return {};
  std::string text = fmt::format("  {} left, which cannot be filled\n",
                                 result.Left() == 1 ? "1 gap is" : fmt::format("{} gaps are", result.Left()));
  const auto add = [&](const FilledBlock& block, const char* what) {
    const DroppedColumns& dropped = block.columns.dropped;
    if (!dropped.empty()) text += fmt::format("  columns left out: {}\n", DroppedText(dropped));
    if (!block.emptyRows.empty()) {
      text += fmt::format("  rows without any {}: {}\n", what, Enumerated(block.emptyRows));
    }
  };
  add(result.x, result.y ? "value of the variables" : "value");
  if (result.y) add(*result.y, "response");
  return text;
}

// Writes the cell of row i, from 0, in one column of the table.
using CellWriter = std::function<void(CsvWriter&, std::size_t)>;

CellWriter NumbersOf(const FilledBlock& block, std::size_t column) {
  return [&block, column](CsvWriter& csv, std::size_t i) {
    csv.Number(ValueOf(block.values[static_cast<int>(i) + 1][static_cast<int>(column) + 1]));
  };
}

// The columns that were read, by name.
std::map<std::string_view, CellWriter> CellWriters(const FillReport& report) {
  const Table& table = report.table;
  std::map<std::string_view, CellWriter> writers;
  for (const TextColumn& column : table.classes) {
    writers[column.name] = [&column](CsvWriter& csv, std::size_t i) { csv.Text(column.values[i]); };
  }
  for (std::size_t c = 0; c < table.variables.size(); ++c) {
    writers[table.variables[c]] = NumbersOf(report.result.x, c);
  }
  for (std::size_t c = 0; c < table.responses.size(); ++c) {
    writers[table.responses[c]] = NumbersOf(*report.result.y, c);
  }
  return writers;
}

}  // namespace

std::string FillText(const FillReport& report) {
  const Table& table = report.table;
  const FilledTable& result = report.result;
  std::string text = fmt::format("Gaps of {}: {}, {}{}, {}\n", table.source, Counted(table.rowIds.size(), "row"),
                                 Counted(table.variables.size(), "column"),
                                 table.responses.empty() ? "" : ", " + Counted(table.responses.size(), "response"),
                                 GapText(result.gaps));
  if (result.yGaps.cells > 0) text += fmt::format("  responses: {}\n", GapText(result.yGaps));
  text += TransformLines(result.x.columns);
  if (result.y) text += TransformLines(result.y->columns, "transforms of responses");
  const char* const method = result.y ? "PLS" : "PCA";
  text += FilledLine(result.x, result.gaps.cells, method, result.y ? "the variables" : "the table");
  if (result.y) text += FilledLine(*result.y, result.yGaps.cells, method, "the responses");
  text += LeftLines(result);
  const std::vector<ColumnGaps> columns = ColumnsWithGaps(report);
  return columns.empty() ? text : text + "\n" + ColumnLines(columns);
}

Json FillJson(const FillReport& report) {
  const FilledTable& result = report.result;
  Json json = JsonHead("fill", report.table);
  json["columns"] = report.table.variables.size();
  json["scaling"] = ScalingName(report.settings.scaling);
  json["transforms"] = TransformsJson(result.x.columns);
  json["y_transforms"] = result.y ? TransformsJson(result.y->columns) : Json::array();
  json["failed_values"] = result.x.columns.failedValues;
  json["y_failed_values"] = result.y ? result.y->columns.failedValues : 0;
  json["missing"] = GapJson(result.gaps);
  json["y_missing_cells"] = result.yGaps.cells;
  json["dropped_columns"] = DroppedJson(result.x.columns.dropped);
  json["method"] = result.y ? "pls" : "pca";
  json["filled_cells"] = result.x.filled;
  json["components"] = result.x.components;
  json["y_filled_cells"] = result.y ? Json(result.y->filled) : Json();
  json["y_components"] = result.y ? Json(result.y->components) : Json();
  json["left_cells"] = result.Left();
  json["variables"] = Json::array();
  for (const ColumnGaps& column : ColumnsWithGaps(report)) {
    json["variables"].push_back({{"name", column.name},
                                 {"missing", column.gaps},
                                 {"filled", column.filled},
                                 {"minimum", NumberOrNull(AsWritten(column.least))},
                                 {"maximum", NumberOrNull(AsWritten(column.most))},
                                 {"filled_minimum", NumberOrNull(AsWritten(column.leastFilled))},
                                 {"filled_maximum", NumberOrNull(AsWritten(column.mostFilled))}});
  }
  return json;
}

void WriteFillTables(const FillReport& report, OutputDirectory& folder) {
  const Table& table = report.table;
  const std::map<std::string_view, CellWriter> writers = CellWriters(report);
  std::vector<CellWriter> order;
  folder.Write("filled.csv", [&](std::ostream& out) {
    CsvWriter csv(out);
    csv.Text(table.idName);
    for (const std::string& name : table.columns) {
      const auto found = writers.find(name);
      if (found == writers.end()) continue;
      csv.Text(name);
      order.push_back(found->second);
    }
    csv.EndRow();
    for (std::size_t i = 0; i < table.rowIds.size(); ++i) {
      StopIfInterrupted();
      csv.Text(table.rowIds[i]);
      for (const CellWriter& write : order) write(csv, i);
      csv.EndRow();
    }
  });
}

}  // namespace tool
