#include <cmath>

#include <fmt/format.h>

#include "tools/voran/correlate_report.h"
#include "tools/voran/number_text.h"
#include "tools/voran/picture_style.h"
#include "tools/voran/series_plot.h"

namespace tool {
namespace {

constexpr double kLeastRange = 0.2;
constexpr double kRangeShare = 0.1;  // room for the label of the mark

// What is worth a mark: the highest peak of an autocorrelation, or what is farthest from 0.
std::optional<std::size_t> PlaceToMark(const CorrelateResult& result, const Correlations& series) {
  const std::optional<std::size_t> highest = HighestOf(result, series);
  const std::optional<std::size_t> lowest = LowestOf(result, series);
  if (result.with.empty() || !highest || !lowest) return highest;
  return series.values[*highest] < -series.values[*lowest] ? lowest : highest;
}

// Bars where there is room for them, or else a curve.
void DrawSeries(PlotPage& page, const CorrelateReport& report, const Correlations& series) {
  const CorrelateResult& result = report.result;
  const std::vector<double> lags(result.lags.begin(), result.lags.end());
  PlotRange range(-kLeastRange, kLeastRange);
  range.Include(series.values);
  Plot plot(page.Svg(), page.Next(), {lags.front() - 0.5, lags.back() + 0.5, 0.0, 0.0},
            range.Axis(0.0, 0.0, kRangeShare));
  plot.DrawYAxis(ShortName(series.name, kLongestTitle), kPageYTicks);
  plot.DrawXAxis("lag", kPageXTicks);
  const SvgAttributes zero = {{"stroke", std::string(kGrey)}};
  plot.DrawLine(lags.front() - 0.5, 0.0, lags.back() + 0.5, 0.0, zero);
  if (HasRoomForMarks(plot, lags.size())) {
    const SvgAttributes bar = {{"stroke", std::string(kColours[0])}, {"stroke-width", "2"}};
    for (std::size_t k = 0; k < lags.size(); ++k) plot.DrawLine(lags[k], 0.0, lags[k], series.values[k], bar);
  } else {
    plot.DrawCurve(lags, series.values, kColours[0]);
  }
  for (const double sign : {1.0, -1.0}) {
    plot.DrawLevel(sign * NoiseLimit(report.series.Length()), "", kColours[1], true);
  }
  if (const auto place = PlaceToMark(result, series)) {
    const double r = series.values[*place];
    plot.DrawMark(lags[*place], r, PlotMark::kDiamond, kColours[2], ShortNumber(r));
    const bool isLeft = 2 * *place < lags.size();
    page.Svg().Text(plot.X().At(lags[*place]) + (isLeft ? 9.0 : -9.0), plot.Y().At(r) + (r < 0.0 ? 13.0 : -5.0),
                    fmt::format("lag {}", lags[*place]), TextStyle(kSmallText, kColours[2], isLeft ? "start" : "end"));
  }
  plot.DrawLegend("noise stays between the dashed lines in 95 % of the lags", PlotMark::kDot, kColours[1]);
}

}  // namespace

std::string CorrelatePicture(const CorrelateReport& report) {
  std::vector<const Correlations*> drawn;
  for (const Correlations& series : report.result.series) {
    if (drawn.size() < kMostPlots && !std::isnan(series.values.front())) drawn.push_back(&series);
  }
  PlotPage page(CorrelateTitle(report) + ", " + PictureName(report.table), PictureName(report.table),
                fmt::format("{}, {}, detrend {}", CorrelateTitle(report), DrawnText(report.series, drawn.size()),
                            DetrendingName(report.settings.detrending)),
                drawn.size());
  for (const Correlations* series : drawn) DrawSeries(page, report, *series);
  return page.Finish();
}

}  // namespace tool
