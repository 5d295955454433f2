#include "benchmarks/growth_picture.h"

#include <cmath>
#include <cstddef>
#include <functional>

#include <fmt/format.h>

#include "tools/voran/picture_style.h"
#include "tools/voran/plot.h"
#include "tools/voran/series_plot.h"

namespace growth {
namespace {

constexpr double kMargin = 0.06;
constexpr int kDecades = 4;  // about how many an axis shows

std::vector<double> Logarithms(const std::vector<double>& values) {
  std::vector<double> logarithms;
  logarithms.reserve(values.size());
  for (const double value : values) logarithms.push_back(value > 0.0 ? std::log10(value) : std::nan(""));
  return logarithms;
}

void DrawCurves(tool::PlotPage& page, const std::vector<Curve>& curves, const std::string& size,
                const std::string& title, const std::function<std::vector<double>(const Curve&)>& values) {
  tool::PlotRange x;
  tool::PlotRange y;
  for (const Curve& curve : curves) {
    x.Include(Logarithms(curve.sizes));
    y.Include(Logarithms(values(curve)));
  }
  tool::Plot plot(page.Svg(), page.Next(), x.Axis(0.0, 0.0, kMargin), y.Axis(0.0, 0.0, kMargin));
  plot.DrawXAxis(size, kDecades, [](double decade) { return fmt::format("{:.3g}", std::pow(10.0, decade)); });
  plot.DrawYAxis("log10 of " + title, kDecades);
  for (std::size_t c = curves.size(); c-- > 0;) {
    const std::string_view colour = tool::kColours[c % tool::kColours.size()];
    const auto mark = c < tool::kColours.size() ? tool::PlotMark::kDot : tool::PlotMark::kDiamond;
    const std::vector<double> at = Logarithms(curves[c].sizes);
    const std::vector<double> height = Logarithms(values(curves[c]));
    plot.DrawCurve(at, height, colour);
    for (std::size_t i = 0; i < at.size(); ++i) plot.DrawMark(at[i], height[i], mark, colour, curves[c].name);
    plot.DrawLegend(curves[c].name, mark, colour);
  }
}

}  // namespace

std::string Picture(const std::vector<Curve>& byRows, const std::vector<Curve>& byColumns) {
  const auto time = [](const Curve& curve) { return curve.milliseconds; };
  const auto memory = [](const Curve& curve) { return curve.mebibytes; };
  tool::PlotPage page("How cost grows", "How cost grows",
                      "time, and memory beyond the data, as tables get more rows and more columns", 4);
  DrawCurves(page, byRows, "rows", "milliseconds", time);
  DrawCurves(page, byColumns, "columns", "milliseconds", time);
  DrawCurves(page, byRows, "rows", "MiB", memory);
  DrawCurves(page, byColumns, "columns", "MiB", memory);
  return page.Finish();
}

}  // namespace growth
