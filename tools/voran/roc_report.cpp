#include "tools/voran/roc_report.h"

#include <cmath>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_run.h"
#include "tools/voran/csv_writer.h"
#include "tools/voran/number_text.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kLongestName = 32;

// Rows told right and wrong at a point.
struct Counts {
  std::size_t truePositives;
  std::size_t falsePositives;
};

std::size_t Part(double share, std::size_t whole) {
  return static_cast<std::size_t>(std::lround(share * static_cast<double>(whole)));
}

Counts CountsAt(const RocResult& result, const RocPoint& point) {
  return {Part(point.truePositive, result.positives), Part(point.falsePositive, result.negatives)};
}

std::string LeftOutLine(const RocResult& result) {
  if (result.withoutScore + result.withoutClass == 0) return {};
  return fmt::format("  left out: {} without a score, {} without a class\n", Counted(result.withoutScore, "row"),
                     result.withoutClass);
}

std::string BestLines(const RocReport& report) {
  const RocResult& result = report.result;
  if (!result.best) return "\n  no threshold does better than chance\n";
  const RocPoint& best = result.points[*result.best];
  const Counts counts = CountsAt(result, best);
  const std::string name = ShortName(report.settings.positive, kLongestName);
  std::string text =
      fmt::format("\n  best threshold {} {}: sensitivity {:.4f}, specificity {:.4f}, Youden index {:.4f}\n\n",
                  report.settings.isAscending ? "<=" : ">=", ShortNumber(best.threshold), best.truePositive,
                  1.0 - best.falsePositive, best.truePositive - best.falsePositive);
  TextTable table({"rows", "told as " + name, "told as other"});
  table.Row(
      {"of " + name, std::to_string(counts.truePositives), std::to_string(result.positives - counts.truePositives)});
  table.Row(
      {"of others", std::to_string(counts.falsePositives), std::to_string(result.negatives - counts.falsePositives)});
  return text + table.Text();
}

Json PointJson(const RocPoint& point) {
  return {{"threshold", AsWritten(point.threshold)},
          {"false_positive_rate", AsWritten(point.falsePositive)},
          {"true_positive_rate", AsWritten(point.truePositive)}};
}

Json BestJson(const RocResult& result) {
  if (!result.best) return {};
  const RocPoint& best = result.points[*result.best];
  const Counts counts = CountsAt(result, best);
  Json json = PointJson(best);
  json["youden"] = AsWritten(best.truePositive - best.falsePositive);
  json["true_positives"] = counts.truePositives;
  json["false_negatives"] = result.positives - counts.truePositives;
  json["false_positives"] = counts.falsePositives;
  json["true_negatives"] = result.negatives - counts.falsePositives;
  return json;
}

}  // namespace

std::string RocText(const RocReport& report) {
  const RocSettings& settings = report.settings;
  const RocResult& result = report.result;
  std::string text =
      fmt::format("ROC of {}: {} as a sign of {}, {} of the class and {} of others\n  {} scores speak for it\n",
                  SourceText(report.table), ShortName(report.table.variables.front(), kLongestName),
                  ShortName(settings.positive, kLongestName), Counted(result.positives, "row"), result.negatives,
                  settings.isAscending ? "small" : "large");
  text += LeftOutLine(result);
  text += fmt::format("\n  area under the curve {:.4f}, of {}\n", result.area, Counted(result.points.size(), "point"));
  if (result.area < 0.5) {
    text += fmt::format("  an area below 0.5: {} scores speak for it, see --ascending\n",
                        settings.isAscending ? "large" : "small");
  }
  return text + BestLines(report);
}

Json RocJson(const RocReport& report) {
  const RocSettings& settings = report.settings;
  const RocResult& result = report.result;
  Json json = JsonHead("roc", report.table);
  json["score"] = report.table.variables.front();
  json["class"] = TextOf(report.table, settings.classes).name;
  json["positive"] = settings.positive;
  json["ascending"] = settings.isAscending;
  json["positives"] = result.positives;
  json["negatives"] = result.negatives;
  json["without_score"] = result.withoutScore;
  json["without_class"] = result.withoutClass;
  json["area"] = AsWritten(result.area);
  json["best"] = BestJson(result);
  json["points"] = Json::array();
  for (const RocPoint& point : result.points) json["points"].push_back(PointJson(point));
  return json;
}

void WriteRocTables(const RocReport& report, OutputDirectory& folder) {
  folder.Write("roc.csv", [&](std::ostream& out) {
    CsvWriter csv(out);
    for (const char* heading : {"threshold", "false_positive_rate", "true_positive_rate"}) csv.Text(heading);
    csv.EndRow();
    for (const RocPoint& point : report.result.points) {
      for (const double number : {point.threshold, point.falsePositive, point.truePositive}) csv.Number(number);
      csv.EndRow();
    }
  });
}

}  // namespace tool
