#include "tools/voran/correlate_report.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/csv_writer.h"
#include "tools/voran/number_text.h"
#include "tools/voran/terminal.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

std::string LagLines(const CorrelateReport& report) {
  const CorrelateResult& result = report.result;
  const bool isAuto = result.with.empty();
  const std::size_t first = isAuto ? 1 : result.lags.size() / 2;
  TextTable lines({report.series.areRows ? "row" : "column", isAuto ? "at lag 1" : "at lag 0",
                   isAuto ? "highest peak" : "highest", "lag", "lowest", "lag"});
  for (std::size_t s = 0; s < std::min(result.series.size(), kSeriesShown); ++s) {
    const Correlations& series = result.series[s];
    std::vector<std::string> cells = {ShortName(series.name)};
    cells.push_back(first < series.values.size() ? ShortNumber(series.values[first]) : "-");
    for (const auto& place : {HighestOf(result, series), LowestOf(result, series)}) {
      cells.push_back(place ? ShortNumber(series.values[*place]) : "-");
      cells.push_back(place ? std::to_string(result.lags[*place]) : "-");
    }
    lines.Row(cells);
  }
  return lines.Text() + MoreSeriesText(result.series.size());
}

Json PlaceJson(const CorrelateResult& result, const Correlations& series, const std::optional<std::size_t>& place) {
  if (!place) return nullptr;
  return {{"lag", result.lags[*place]}, {"correlation", AsWritten(series.values[*place])}};
}

}  // namespace

std::string CorrelateTitle(const CorrelateReport& report) {
  if (report.result.with.empty()) return "Autocorrelation";
  return "Correlation with " + ShortName(report.result.with);
}

std::string CorrelateText(const CorrelateReport& report) {
  return SeriesHeading(CorrelateTitle(report), report.table, report.series, kInterpolated) +
         fmt::format("  lags {} to {}, detrend {}, unrelated noise within {:.4f}\n\n", report.result.lags.front(),
                     report.result.lags.back(), DetrendingName(report.settings.detrending),
                     NoiseLimit(report.series.Length())) +
         LagLines(report);
}

Json CorrelateJson(const CorrelateReport& report) {
  const CorrelateResult& result = report.result;
  Json json = SeriesJsonHead("correlate", report.table, report.series);
  json["with"] = result.with.empty() ? Json() : Json(result.with);
  json["lags"] = result.lags.back();
  json["detrend"] = DetrendingName(report.settings.detrending);
  json["noise_limit"] = AsWritten(NoiseLimit(report.series.Length()));
  json["series"] = Json::array();
  for (const Correlations& series : result.series) {
    json["series"].push_back({{"name", series.name},
                              {"highest", PlaceJson(result, series, HighestOf(result, series))},
                              {"lowest", PlaceJson(result, series, LowestOf(result, series))}});
  }
  return json;
}

void WriteCorrelateTables(const CorrelateReport& report, OutputDirectory& folder) {
  folder.Write("correlate.csv", [&](std::ostream& out) {
    CsvWriter csv(out);
    csv.Text("lag");
    for (const Correlations& series : report.result.series) csv.Text(series.name);
    csv.EndRow();
    for (std::size_t k = 0; k < report.result.lags.size(); ++k) {
      StopIfInterrupted();
      csv.Number(report.result.lags[k]);
      for (const Correlations& series : report.result.series) csv.Number(series.values[k]);
      csv.EndRow();
    }
  });
}

}  // namespace tool
