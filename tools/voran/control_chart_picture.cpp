#include "tools/voran/control_chart_picture.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <set>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "tools/voran/number_text.h"
#include "tools/voran/picture_style.h"
#include "tools/voran/plot.h"

namespace tool {
namespace {

constexpr double kHeadHeight = 84.0;
constexpr double kPanelHeight = 230.0;
constexpr double kPanelPitch = kPanelHeight + 76.0;
constexpr double kLeft = 74.0;
constexpr double kRight = 100.0;  // for the labels of the limits
constexpr double kRangeShare = 0.08;
constexpr int kXTicks = 9;
constexpr int kYTicks = 5;

std::string Heading(const std::string& panel, int subgroup) {
  if (panel == "mean") return subgroup == 1 ? "value" : "mean";
  if (panel == "std_dev") return "standard deviation";
  if (panel == "cusum") return "cumulative sum, upwards and downwards";
  return panel == "ewma" ? "moving average" : panel;
}

// One panel, with its series as they are drawn.
class Panel {
 public:
  Panel(const ControlChartReport& report, const ChartPanel& panel, SvgWriter& svg, double top)
      : report_(report),
        panel_(panel),
        lower_(IsCuSum() ? -panel.upper : panel.lower),
        x_(Positions()),
        plot_(svg, Box(top), {0.5, static_cast<double>(x_.size()) + 0.5, 0.0, 0.0}, YAxis()) {}

  void Draw() {
    plot_.DrawYAxis(Heading(panel_.name, report_.settings.subgroup), kYTicks);
    const int size = report_.settings.subgroup;
    const int ticks = std::min(kXTicks, std::max(1, static_cast<int>(x_.size()) - 1));  // none between two subgroups
    plot_.DrawXAxis(size == 1 ? report_.table.idName : fmt::format("subgroup of {} rows", size), ticks,
                    [this](double tick) { return Label(tick); });
    if (panel_.name == "ewma") DrawMeans();
    DrawLevels();
    for (const std::size_t s : panel_.series) plot_.DrawCurve(x_, Drawn(s), kColours[0]);
    DrawMarks();
  }

 private:
  static PlotBox Box(double top) { return {kLeft, top, kPageWidth - kRight, top + kPanelHeight}; }

  bool IsCuSum() const { return panel_.name == "cusum"; }

  std::vector<double> Positions() const {
    std::vector<double> positions;
    for (std::size_t k = 1; k <= report_.result.Subgroups(); ++k) positions.push_back(static_cast<double>(k));
    return positions;
  }

  // The lower cumulative sum, which is stored as a magnitude, hangs down.
  double Drawn(std::size_t series, double value) const {
    return IsCuSum() && series == panel_.series.back() ? -value : value;
  }

  std::vector<double> Drawn(std::size_t series) const {
    std::vector<double> values = report_.result.series[series].values;
    for (double& value : values) value = Drawn(series, value);
    return values;
  }

  ChartAxis YAxis() const {
    PlotRange range;
    for (const double level : {panel_.centre, lower_, panel_.upper}) range.Include(level);
    for (const std::size_t s : panel_.series) range.Include(Drawn(s));
    if (panel_.name == "ewma") range.Include(report_.result.series.front().values);
    return range.Axis(0.0, 0.0, kRangeShare);
  }

  // A subgroup by its number, and one of a single row by its id.
  std::string Label(double tick) const {
    constexpr std::size_t kLongestLabel = 12;
    const double rounded = std::round(tick);
    const bool isOne = rounded >= 1.0 && rounded <= static_cast<double>(x_.size()) && std::abs(tick - rounded) < 1e-6;
    if (!isOne) return {};
    if (report_.settings.subgroup > 1) return fmt::format("{:.0f}", rounded);
    return ShortName(FirstRow(report_, static_cast<std::size_t>(rounded) - 1), kLongestLabel);
  }

  void DrawLevels() {
    const auto label = [](const char* name, double value) { return fmt::format("{} {}", name, ShortNumber(value)); };
    plot_.DrawLevel(panel_.centre, IsCuSum() ? "0" : label("centre", panel_.centre), kColours[2], false);
    plot_.DrawLevel(panel_.upper, label(IsCuSum() ? "action" : "upper", panel_.upper), kColours[1], true);
    plot_.DrawLevel(lower_, IsCuSum() ? label("action", panel_.upper) : label("lower", lower_), kColours[1], true);
  }

  // What the average smooths stands pale behind it.
  void DrawMeans() {
    const std::vector<double>& means = report_.result.series.front().values;
    if (HasRoomForMarks(plot_, x_.size())) {
      for (std::size_t k = 0; k < means.size(); ++k) plot_.DrawMark(x_[k], means[k], PlotMark::kDot, kPale);
    } else {
      plot_.DrawCurve(x_, means, kPale, 1.0);
    }
    plot_.DrawLegend(report_.settings.subgroup == 1 ? "values" : "means", PlotMark::kDot, kPale);
  }

  void DrawMarks() {
    std::set<std::pair<std::size_t, std::size_t>> beyond;
    for (const ChartExcess& point : PointsBeyond(report_.result, panel_)) beyond.insert({point.series, point.subgroup});
    if (!beyond.empty()) plot_.DrawLegend("beyond a limit", PlotMark::kDiamond, kColours[1]);
    const bool hasRoom = HasRoomForMarks(plot_, x_.size());
    for (const std::size_t s : panel_.series) {
      double lastPixel = -1.0;
      for (std::size_t k = 0; k < x_.size(); ++k) {
        const bool isBeyond = beyond.count({s, k}) > 0;
        const double pixel = std::floor(plot_.X().At(x_[k]));
        if (!hasRoom && (!isBeyond || pixel == lastPixel)) continue;
        lastPixel = pixel;
        const double value = report_.result.series[s].values[k];
        plot_.DrawMark(x_[k], Drawn(s, value), isBeyond ? PlotMark::kDiamond : PlotMark::kDot,
                       kColours[isBeyond ? 1 : 0], fmt::format("{}: {}", FirstRow(report_, k), ShortNumber(value)));
      }
    }
  }

  const ControlChartReport& report_;
  const ChartPanel& panel_;
  double lower_;
  std::vector<double> x_;
  Plot plot_;
};

}  // namespace

std::string ControlChartPicture(const ControlChartReport& report) {
  const auto panels = static_cast<double>(report.result.panels.size());
  SvgWriter svg(kPageWidth, kHeadHeight + kPanelPitch * panels - 18.0, "Control chart of " + PictureName(report.table));
  WriteHead(svg, PictureName(report.table), ChartTitle(report));
  double top = kHeadHeight;
  for (const ChartPanel& panel : report.result.panels) {
    Panel(report, panel, svg, top).Draw();
    top += kPanelPitch;
  }
  return svg.Finish();
}

}  // namespace tool
