#include "tools/voran/prediction_report.h"

#include <algorithm>
#include <span>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/class_report.h"
#include "tools/voran/command_run.h"
#include "tools/voran/component_figures.h"
#include "tools/voran/csv_writer.h"
#include "tools/voran/model_kind.h"
#include "tools/voran/number_text.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kRowsShown = 20;
constexpr std::size_t kColumnsShown = 6;
constexpr std::size_t kLongestName = 20;

// A column of numbers, one a row, under its heading.
struct Column {
  std::string heading;
  const std::vector<double>& values;
};

// t1, t2, ...
std::vector<Column> ScoreColumns(const char* letters, const std::vector<std::vector<double>>& scores) {
  std::vector<Column> columns;
  columns.reserve(scores.size());
  for (const auto& score : scores) columns.push_back({fmt::format("{}{}", letters, columns.size() + 1), score});
  return columns;
}

std::vector<Column> ResponseColumns(const PredictionReport& report) {
  std::vector<Column> columns;
  for (std::size_t m = 0; m < report.prediction.responses.size(); ++m) {
    columns.push_back({report.model.y.names[m], report.prediction.responses[m].values});
  }
  return columns;
}

std::vector<Column> DistanceColumns(const Prediction& prediction) {
  return {{"residual_sd", prediction.residual}, {"distance", prediction.distance}, {"t2", prediction.t2}};
}

void WriteColumns(std::ostream& out, const Table& table, const std::vector<Column>& columns) {
  CsvWriter writer(out);
  writer.Text(table.idName);
  for (const Column& column : columns) writer.Text(column.heading);
  writer.EndRow();
  for (std::size_t i = 0; i < table.rowIds.size(); ++i) {
    writer.Text(table.rowIds[i]);
    for (const Column& column : columns) writer.Number(column.values[i]);
    writer.EndRow();
  }
}

std::string RowLines(const PredictionReport& report) {
  const Prediction& prediction = report.prediction;
  std::vector<Column> columns =
      report.model.y.names.empty() ? ScoreColumns("t", prediction.scores) : ResponseColumns(report);
  const std::size_t hidden = columns.size() > kColumnsShown ? columns.size() - kColumnsShown : 0;
  for (std::size_t k = 0; k < hidden; ++k) columns.pop_back();
  columns.push_back({"distance", prediction.distance});
  columns.push_back({"T2", prediction.t2});

  std::vector<std::string> headings = {ShortName(report.table.idName, kLongestName)};
  for (const ClassResponses& c : report.model.classes) headings.push_back(ShortName(c.name, kLongestName));
  for (const Column& column : columns) headings.push_back(ShortName(column.heading, kLongestName));
  TextTable table(headings);
  const std::size_t rows = report.table.rowIds.size();
  for (std::size_t i = 0; i < std::min(rows, kRowsShown); ++i) {
    std::vector<std::string> cells = {ShortName(report.table.rowIds[i], kLongestName)};
    for (std::size_t c = 0; c < prediction.classes.size(); ++c) {
      const int given = prediction.classes[c].given[i];
      cells.push_back(given == kNoClass ? "-" : ShortName(report.model.classes[c].CellOf(given), kLongestName));
    }
    for (const Column& column : columns) cells.push_back(ShortNumber(column.values[i]));
    table.Row(std::move(cells));
  }
  std::string text = table.Text();
  if (rows > kRowsShown) text += fmt::format("  and {} more\n", Counted(rows - kRowsShown, "row"));
  if (hidden > 0) text += fmt::format("  and {} more\n", Counted(hidden, "column"));
  if (rows > kRowsShown || hidden > 0) text += "  --out writes them all\n";
  return text;
}

std::string ErrorLines(const PredictionReport& report) {
  TextTable table({report.predictsX ? "variable" : "response", "observed rows", "RMSEP"});
  std::size_t observed = 0;
  for (std::size_t m = 0; m < report.prediction.responses.size(); ++m) {
    const PredictedResponse& response = report.prediction.responses[m];
    if (!response.rmsep || ++observed > kRowsShown) continue;
    table.Row({ShortName(report.model.y.names[m], kLongestName), std::to_string(response.observed),
               ShortNumber(*response.rmsep)});
  }
  if (observed == 0) return {};
  std::string text = "\n" + table.Text();
  if (observed > kRowsShown) text += fmt::format("  and {} more\n", observed - kRowsShown);
  return text;
}

std::string ClassLines(const PredictionReport& report) {
  std::string text;
  for (std::size_t c = 0; c < report.prediction.classes.size(); ++c) {
    const PredictedClasses& classes = report.prediction.classes[c];
    const ClassResponses& column = report.model.classes[c];
    if (classes.own.empty()) continue;
    text += ClassText(column, {column, classes.own, classes.given}, "predicted");
    if (classes.unknown == 0) continue;
    text += fmt::format("  {} of a class that the model does not know {} not counted\n",
                        Counted(classes.unknown, "row"), classes.unknown == 1 ? "is" : "are");
  }
  return text;
}

Json ClassesJson(const PredictionReport& report) {
  Json json = Json::array();
  for (std::size_t c = 0; c < report.prediction.classes.size(); ++c) {
    const PredictedClasses& classes = report.prediction.classes[c];
    const ClassResponses& column = report.model.classes[c];
    const bool isKnown = !classes.own.empty();
    json.push_back({{"name", column.name},
                    {"classes", column.classes},
                    {"predicted", isKnown ? ClassJson({column, classes.own, classes.given}) : Json()},
                    {"unknown_rows", isKnown ? Json(classes.unknown) : Json()}});
  }
  return json;
}

void WriteClasses(std::ostream& out, const PredictionReport& report) {
  CsvWriter writer(out);
  writer.Text(report.table.idName);
  for (const ClassResponses& column : report.model.classes) writer.Text(column.name);
  writer.EndRow();
  for (std::size_t i = 0; i < report.table.rowIds.size(); ++i) {
    writer.Text(report.table.rowIds[i]);
    for (std::size_t c = 0; c < report.prediction.classes.size(); ++c) {
      writer.Text(report.model.classes[c].CellOf(report.prediction.classes[c].given[i]));
    }
    writer.EndRow();
  }
}

// "4 components and 401 columns", "1 + 2 orthogonal components and 401 columns".
std::string ModelText(const PredictionReport& report) {
  const std::size_t components = report.prediction.scores.size();
  const std::size_t orthogonal = report.prediction.orthoScores.size();
  const std::string count = orthogonal == 0
                                ? Counted(components, "component")
                                : fmt::format("{} + {}", components, Counted(orthogonal, "orthogonal component"));
  return fmt::format("{} and {}", count, Counted(report.model.x.names.size(), "column"));
}

Json RowJson(const PredictionReport& report, std::size_t i) {
  const Prediction& prediction = report.prediction;
  const auto scoresOf = [i](const std::vector<std::vector<double>>& components) {
    Json scores = Json::array();
    for (const auto& score : components) scores.push_back(NumberOrNull(AsWritten(score[i])));
    return scores;
  };
  Json row = {{"id", report.table.rowIds[i]}};
  if (!prediction.responses.empty()) {
    row["predicted"] = Json::array();
    for (const PredictedResponse& response : prediction.responses) {
      row["predicted"].push_back(NumberOrNull(AsWritten(response.values[i])));
    }
  }
  if (!prediction.classes.empty()) {
    row["classes"] = Json::array();
    for (std::size_t c = 0; c < prediction.classes.size(); ++c) {
      const int given = prediction.classes[c].given[i];
      row["classes"].push_back(given == kNoClass ? Json() : Json(report.model.classes[c].CellOf(given)));
    }
  }
  row["scores"] = scoresOf(prediction.scores);
  if (!prediction.orthoScores.empty()) row["ortho_scores"] = scoresOf(prediction.orthoScores);
  for (const Column& column : DistanceColumns(prediction)) {
    row[column.heading] = NumberOrNull(AsWritten(column.values[i]));
  }
  return row;
}

}  // namespace

std::string PredictionText(const PredictionReport& report) {
  const Prediction& prediction = report.prediction;
  std::string text = fmt::format("Prediction of {}{} by {} ({} of {}): {}, {}\n", report.predictsX ? "X from " : "",
                                 report.table.source, report.modelPath, KindOf(report.model).title, ModelText(report),
                                 Counted(report.table.rowIds.size(), "row"), GapText(prediction.gaps));
  if (!prediction.refused.empty()) {
    text += fmt::format("  rows that hold too little, which are not predicted ({}): {}\n",
                        LeastText(report.maxMissing, prediction.AllComponents()), Enumerated(prediction.refused));
  }
  return text + "\n" + RowLines(report) + ErrorLines(report) + ClassLines(report);
}

Json PredictionJson(const PredictionReport& report) {
  const Prediction& prediction = report.prediction;
  Json json = JsonHead("predict", report.table);
  json["model"] = report.modelPath;
  json["kind"] = report.model.kind;
  if (report.model.ySpread) json["predict"] = report.predictsX ? "x" : "y";
  json["columns"] = report.model.x.names.size();
  json["components"] = prediction.scores.size();
  if (!prediction.orthoScores.empty()) json["ortho_components"] = prediction.orthoScores.size();
  json["max_missing"] = report.maxMissing;
  json["missing"] = GapJson(prediction.gaps);
  json["refused_rows"] = prediction.refused;
  json["responses"] = Json::array();
  for (std::size_t m = 0; m < prediction.responses.size(); ++m) {
    const PredictedResponse& response = prediction.responses[m];
    json["responses"].push_back({{"name", report.model.y.names[m]},
                                 {"observed_rows", response.observed},
                                 {"rmsep", response.rmsep ? Json(*response.rmsep) : Json()}});
  }
  if (!prediction.classes.empty()) json["classes"] = ClassesJson(report);
  json["predictions"] = Json::array();
  for (std::size_t i = 0; i < report.table.rowIds.size(); ++i) json["predictions"].push_back(RowJson(report, i));
  return json;
}

void WritePredictionTables(const PredictionReport& report, OutputDirectory& folder) {
  const auto write = [&](const char* name, const std::vector<Column>& columns) {
    folder.Write(name, [&](std::ostream& out) { WriteColumns(out, report.table, columns); });
  };
  if (!report.model.y.names.empty()) write("predictions.csv", ResponseColumns(report));
  if (!report.model.classes.empty()) {
    folder.Write("classes.csv", [&](std::ostream& out) { WriteClasses(out, report); });
  }
  write("scores.csv", ScoreColumns(report.predictsX ? "u" : "t", report.prediction.scores));
  if (!report.prediction.orthoScores.empty()) {
    write("ortho_scores.csv", ScoreColumns(report.predictsX ? "uo" : "to", report.prediction.orthoScores));
  }
  write("distances.csv", DistanceColumns(report.prediction));
}

}  // namespace tool
