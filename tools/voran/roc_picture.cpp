#include <vector>

#include <fmt/format.h>

#include "tools/voran/number_text.h"
#include "tools/voran/picture_style.h"
#include "tools/voran/plot.h"
#include "tools/voran/roc_report.h"

namespace tool {
namespace {

constexpr double kSide = 440.0;
constexpr double kLeft = 64.0;
constexpr double kTop = 86.0;
constexpr std::size_t kLongestName = 32;

void DrawCurve(Plot& plot, const RocResult& result) {
  std::vector<double> x;
  std::vector<double> y;
  for (const RocPoint& point : result.points) {
    x.push_back(point.falsePositive);
    y.push_back(point.truePositive);
  }
  plot.DrawCurve(x, y, kColours[0], 2.0);
}

void DrawBest(SvgWriter& svg, Plot& plot, const RocReport& report) {
  if (!report.result.best) return;
  const RocPoint& best = report.result.points[*report.result.best];
  plot.DrawMark(best.falsePositive, best.truePositive, PlotMark::kDiamond, kColours[1]);
  // Beside the point where the curve, which is above the diagonal there, leaves room: below and to the right.
  const bool isFarRight = best.falsePositive > 0.6;
  svg.Text(
      plot.X().At(best.falsePositive) + (isFarRight ? -4.0 : 12.0), plot.Y().At(best.truePositive) + 20.0,
      fmt::format("{} {}", report.settings.isAscending ? "\xe2\x89\xa4" : "\xe2\x89\xa5", ShortNumber(best.threshold)),
      TextStyle(kSmallText, kColours[1], isFarRight ? "end" : "start"));
  plot.DrawLegend("largest Youden index", PlotMark::kDiamond, kColours[1]);
}

}  // namespace

std::string RocPicture(const RocReport& report) {
  const RocResult& result = report.result;
  SvgWriter svg(kLeft + kSide + kPageMargin, kTop + kSide + 50.0, "ROC of " + PictureName(report.table));
  WriteHead(svg, PictureName(report.table),
            fmt::format("{} as a sign of {}, {} of the class and {} of others, area {:.4f}",
                        ShortName(report.table.variables.front(), kLongestName),
                        ShortName(report.settings.positive, kLongestName), Counted(result.positives, "row"),
                        result.negatives, result.area));
  const ChartAxis axis = {0.0, 1.0, 0.0, 0.0};
  Plot plot(svg, {kLeft, kTop, kLeft + kSide, kTop + kSide}, axis, axis);
  plot.DrawYAxis("true positive rate", 5);
  plot.DrawXAxis("false positive rate", 5);
  plot.DrawLine(0.0, 0.0, 1.0, 1.0, {{"stroke", std::string(kPale)}, {"stroke-dasharray", "6 4"}});
  DrawCurve(plot, result);
  DrawBest(svg, plot, report);
  return svg.Finish();
}

}  // namespace tool
