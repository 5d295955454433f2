#include <fmt/format.h>

#include "tools/voran/component_numbers.h"
#include "tools/voran/number_text.h"
#include "tools/voran/picture_style.h"
#include "tools/voran/series_plot.h"
#include "tools/voran/smooth_report.h"

namespace tool {
namespace {

constexpr double kRangeShare = 0.05;

struct Curve {
  std::vector<double> values;
  std::string_view colour;
  std::string legend;
};

void DrawPlot(PlotPage& page, const SeriesAxis& axis, const std::string& title, const std::vector<Curve>& curves) {
  PlotRange range;
  for (const Curve& curve : curves) range.Include(curve.values);
  Plot plot(page.Svg(), page.Next(), axis.Range(), range.Axis(0.0, 0.0, kRangeShare));
  plot.DrawYAxis(ShortName(title, kLongestTitle), kPageYTicks);
  axis.Draw(plot);
  for (const Curve& curve : curves) {
    plot.DrawCurve(axis.Positions(), curve.values, curve.colour);
    if (!curve.legend.empty()) plot.DrawLegend(curve.legend, PlotMark::kDot, curve.colour);
  }
}

}  // namespace

std::string SmoothPicture(const SmoothReport& report) {
  const SeriesSet& series = report.series;
  const bool isSmoothing = report.settings.derivative == 0;
  const std::size_t plotsEach = isSmoothing ? 1 : 2;
  const std::vector<std::size_t> drawn = SeriesToDraw(series, kMostPlots / plotsEach);
  PlotPage page(SmoothTitle(report.settings) + " of " + PictureName(report.table), PictureName(report.table),
                fmt::format("{}, {}, {}", SmoothTitle(report.settings), DrawnText(series, drawn.size()),
                            PolynomialText(report.settings)),
                drawn.size() * plotsEach);
  const SeriesAxis axis(series);
  for (const std::size_t s : drawn) {
    const std::vector<double> before = Values(series[s], 1.0);
    const std::vector<double> after = Values(report.result.x[static_cast<int>(s) + 1], 1.0);
    if (isSmoothing) {
      DrawPlot(page, axis, series.names[s], {{before, kPale, "values"}, {after, kColours[0], "smoothed"}});
    } else {
      DrawPlot(page, axis, series.names[s], {{before, kGrey, ""}});
      DrawPlot(page, axis, SmoothTitle(report.settings), {{after, kColours[0], ""}});
    }
  }
  return page.Finish();
}

}  // namespace tool
