#include "tools/voran/smooth_report.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/number_text.h"
#include "tools/voran/table_writer.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

Json ExtremeJson(const SeriesExtreme& extreme) {
  const bool isThere = !std::isnan(extreme.value);
  return {{"value", AsWritten(extreme.value)}, {"at", isThere ? Json(extreme.place) : Json()}};
}

}  // namespace

std::string SmoothTitle(const SmoothSettings& settings) {
  constexpr const char* kTitles[] = {"Smoothing", "First derivative", "Second derivative", "Third derivative"};
  return kTitles[settings.derivative];
}

std::string PolynomialText(const SmoothSettings& settings) {
  std::string text = fmt::format("polynomials of order {} in windows of {}", settings.order, settings.window);
  if (settings.derivative > 0 && settings.step != 1.0) text += fmt::format(", step {}", ShortNumber(settings.step));
  return text;
}

std::string SmoothText(const SmoothReport& report) {
  const SeriesSet& series = report.series;
  std::string text =
      SeriesHeading(SmoothTitle(report.settings), report.table, series, "left out of the windows that they lie in");
  text += fmt::format("  {}{}\n\n", PolynomialText(report.settings),
                      report.settings.withEdges ? "" : ", without the edges");
  const bool isSmoothing = report.settings.derivative == 0;
  TextTable lines(
      {series.areRows ? "row" : "column", "gaps", "left", "min", "at", "max", "at", isSmoothing ? "residual" : ""});
  for (std::size_t s = 0; s < std::min(series.Size(), kSeriesShown); ++s) {
    const SmoothedSeries& one = report.result.series[s];
    lines.Row({ShortName(series.names[s]), std::to_string(one.gaps), std::to_string(one.left),
               ShortNumber(one.least.value), ShortName(one.least.place), ShortNumber(one.most.value),
               ShortName(one.most.place), isSmoothing ? ShortNumber(one.residual) : ""});
  }
  return text + lines.Text() + MoreSeriesText(series.Size());
}

Json SmoothJson(const SmoothReport& report) {
  const SmoothSettings& settings = report.settings;
  Json json = SeriesJsonHead("smooth", report.table, report.series);
  json["derivative"] = settings.derivative;
  json["window"] = settings.window;
  json["order"] = settings.order;
  json["step"] = settings.derivative > 0 ? Json(settings.step) : Json();
  json["edges"] = settings.withEdges;
  json["series"] = Json::array();
  for (std::size_t s = 0; s < report.series.Size(); ++s) {
    const SmoothedSeries& one = report.result.series[s];
    json["series"].push_back({{"name", report.series.names[s]},
                              {"missing", one.gaps},
                              {"missing_after", one.left},
                              {"minimum", ExtremeJson(one.least)},
                              {"maximum", ExtremeJson(one.most)},
                              {"residual", AsWritten(one.residual)}});
  }
  return json;
}

void WriteSmoothTables(const SmoothReport& report, OutputDirectory& folder) {
  NCDataMatrix<float> x = report.result.x;
  if (!report.series.areRows) x.Transpose();
  folder.Write("smooth.csv", [&](std::ostream& out) { WriteTable(out, report.table, report.table.variables, x); });
}

}  // namespace tool
