#include <cmath>

#include <fmt/format.h>

#include "tools/voran/correlate_report.h"
#include "tools/voran/number_text.h"
#include "tools/voran/picture_style.h"
#include "tools/voran/series_plot.h"

namespace tool {
namespace {

constexpr std::size_t kMostPlots = 6;
constexpr std::size_t kLongestName = 40;

// Bars where there is room for them, or else a curve.
void DrawSeries(PlotPage& page, const CorrelateReport& report, const Correlations& series) {
  const CorrelateResult& result = report.result;
  const std::vector<double> lags(result.lags.begin(), result.lags.end());
  PlotRange range(-0.2, 0.2);
  range.Include(series.values);
  Plot plot(page.Svg(), page.Next(), {lags.front() - 0.5, lags.back() + 0.5, 0.0, 0.0}, range.Axis(0.0, 0.0, 0.04));
  plot.DrawYAxis(ShortName(series.name, kLongestName), kPageYTicks);
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
  if (const auto highest = HighestOf(result, series)) {
    const double r = series.values[*highest];
    plot.DrawMark(lags[*highest], r, PlotMark::kDiamond, kColours[2], ShortNumber(r));
    page.Svg().Text(plot.X().At(lags[*highest]) + 9.0, plot.Y().At(r) - 5.0, fmt::format("lag {}", lags[*highest]),
                    TextStyle(kSmallText, kColours[2]));
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
