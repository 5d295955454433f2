#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/voran/chart_axis.h"
#include "tools/voran/svg_writer.h"

namespace tool {

/// The numbers that an axis has to show. A NaN changes nothing.
class PlotRange {
 public:
  PlotRange() = default;
  PlotRange(double low, double high) : low_(low), high_(high) {}

  void Include(double value);
  void Include(std::span<const double> values);

  /// The axis between two places of the page, longer by `share` of the range at either end; of some length even where
  /// all numbers are equal, or there are none.
  ChartAxis Axis(double from, double to, double share = 0.0) const;

 private:
  double low_ = std::numeric_limits<double>::infinity();
  double high_ = -std::numeric_limits<double>::infinity();
};

/// A rectangle of the page.
struct PlotBox {
  double left;
  double top;
  double right;
  double bottom;
};

enum class PlotMark { kDot, kDiamond };

/// A diagram in a box: axes outside of it, and inside curves, marks, bars and levels, each over what was drawn before.
/// What has a NaN for a coordinate is left out.
class Plot {
 public:
  /// The axes run over the whole box, the y axis upwards.
  Plot(SvgWriter& svg, const PlotBox& box, const ChartAxis& x, const ChartAxis& y);

  /// A line at every tick, its label, and the title of the axis. `label` gives other labels than the numbers.
  void DrawXAxis(const std::string& title, int ticks, const std::function<std::string(double tick)>& label = nullptr);
  void DrawYAxis(const std::string& title, int ticks);

  /// A line through the points, with ascending x; broken at a NaN. Where many points share a pixel, only the extremes
  /// are drawn.
  void DrawCurve(std::span<const double> x, std::span<const double> y, std::string_view colour, double width = 1.4);
  void DrawLine(double x1, double y1, double x2, double y2, const SvgAttributes& style);
  void DrawMark(double x, double y, PlotMark mark, std::string_view colour, std::string_view hint = {});
  /// From 0 up to `height`.
  void DrawBar(double x1, double x2, double height, std::string_view colour, std::string_view hint = {});
  /// A line across the box, with a label on its right unless that would stand on an earlier one.
  void DrawLevel(double y, std::string_view label, std::string_view colour, bool isDashed);
  /// An entry of the legend above the box: the last drawn stands furthest to the left.
  void DrawLegend(std::string_view text, PlotMark mark, std::string_view colour);

  const ChartAxis& X() const { return x_; }
  const ChartAxis& Y() const { return y_; }

 private:
  SvgWriter& svg_;
  PlotBox box_;
  ChartAxis x_;
  ChartAxis y_;
  std::vector<double> labels_;  // where the levels have theirs
  double legend_;               // where the next entry ends
};

/// How wide the marks are drawn, in pixels.
inline constexpr double kMarkSize = 6.0;

/// The axes of `plot` hold this many marks without hiding one another.
bool HasRoomForMarks(const Plot& plot, std::size_t marks);

}  // namespace tool
