#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "tools/voran/component_numbers.h"
#include "tools/voran/number_text.h"
#include "tools/voran/picture_style.h"
#include "tools/voran/series_plot.h"
#include "tools/voran/spectrum_report.h"

namespace tool {
namespace {

constexpr std::size_t kPeaksMarked = 3;
constexpr double kRangeShare = 0.06;

// In decades: powers differ too much for anything else. A power of 0 has no place.
std::vector<double> Logarithms(const std::vector<double>& powers) {
  std::vector<double> logarithms;
  logarithms.reserve(powers.size());
  for (const double power : powers) logarithms.push_back(power > 0.0 ? std::log10(power) : kNoValue);
  return logarithms;
}

void DrawSeries(PlotPage& page, const SpectrumReport& report, std::size_t s) {
  const std::vector<double>& frequencies = report.result.frequencies;
  const std::vector<double> curve = Logarithms(report.result.powers[s]);
  PlotRange range;
  range.Include(curve);
  Plot plot(page.Svg(), page.Next(), PlotRange(0.0, frequencies.back()).Axis(0.0, 0.0),
            range.Axis(0.0, 0.0, kRangeShare));
  const bool hasPower = std::any_of(curve.begin(), curve.end(), [](double power) { return std::isfinite(power); });
  plot.DrawYAxis(ShortName(report.series.names[s], kLongestTitle) +
                     (hasPower ? ", log10 of power" : " has no power at any frequency"),
                 kPageYTicks);
  plot.DrawXAxis(
      report.settings.step == 1.0 ? "frequency: cycles per element" : "frequency: cycles per unit of the step",
      kPageXTicks);
  plot.DrawCurve(frequencies, curve, kColours[0]);
  const std::vector<SpectrumPeak> peaks = PeaksOf(report.result.powers[s], kPeaksMarked);
  for (const SpectrumPeak& peak : peaks) {
    const double frequency = frequencies[peak.place];
    const std::string period = ShortNumber(PeriodOf(frequency));
    plot.DrawMark(frequency, curve[peak.place], PlotMark::kDiamond, kColours[1], "period " + period);
    if (&peak != &peaks.front()) continue;
    const bool isLeft = 2.0 * frequency < frequencies.back();
    SvgAttributes style = TextStyle(kSmallText, kColours[1], isLeft ? "start" : "end");
    style.insert(style.end(), {{"stroke", "#ffffff"}, {"stroke-width", "3"}, {"paint-order", "stroke"}});
    page.Svg().Text(plot.X().At(frequency) + (isLeft ? 9.0 : -9.0), plot.Y().At(curve[peak.place]) + 4.0, period,
                    style);
  }
  if (!peaks.empty()) plot.DrawLegend("highest peaks, the first with its period", PlotMark::kDiamond, kColours[1]);
}

}  // namespace

std::string SpectrumPicture(const SpectrumReport& report) {
  const std::vector<std::size_t> drawn = SeriesToDraw(report.series, kMostPlots);
  PlotPage page("Power spectrum of " + PictureName(report.table), PictureName(report.table),
                fmt::format("Power spectrum, {}, {}", DrawnText(report.series, drawn.size()), SegmentText(report)),
                drawn.size());
  for (const std::size_t s : drawn) DrawSeries(page, report, s);
  return page.Finish();
}

}  // namespace tool
