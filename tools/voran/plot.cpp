#include "tools/voran/plot.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include <fmt/format.h>

#include "tools/voran/picture_style.h"

namespace tool {
namespace {

// The points of a curve as the commands of an SVG path, where many share a pixel the extremes alone.
class CurvePath {
 public:
  void Break() {
    Flush();
    if (isOpen_ && isLone_) path_ += "m-1 0h2";  // or else nothing would be seen of it
    isOpen_ = false;
  }

  void Add(double x, double y) {
    if (count_ > 0 && std::floor(x) != pixel_) Flush();
    if (count_ == 0) {
      pixel_ = std::floor(x);
      first_ = low_ = high_ = {x, y};
    }
    last_ = {x, y};
    if (y < low_.y) low_ = last_;
    if (y > high_.y) high_ = last_;
    ++count_;
  }

  std::string Take() {
    Break();
    return std::move(path_);
  }

 private:
  struct Place {
    double x = 0.0;
    double y = 0.0;
  };

  void Flush() {
    if (count_ > 0) Write(first_);
    if (count_ > 2) Write(low_.x <= high_.x ? low_ : high_);
    if (count_ > 2) Write(low_.x <= high_.x ? high_ : low_);
    if (count_ > 1) Write(last_);
    count_ = 0;
  }

  void Write(const Place& place) {
    path_ += fmt::format("{}{} {}", isOpen_ ? "L" : "M", SvgNumber(place.x), SvgNumber(place.y));
    isLone_ = !isOpen_;
    isOpen_ = true;
  }

  std::string path_;
  bool isOpen_ = false;
  bool isLone_ = false;  ///< whether the open part of the path has one point yet
  double pixel_ = 0.0;
  std::size_t count_ = 0;
  Place first_;
  Place last_;
  Place low_;
  Place high_;
};

}  // namespace

void PlotRange::Include(double value) {
  if (!std::isfinite(value)) return;
  low_ = std::min(low_, value);
  high_ = std::max(high_, value);
}

void PlotRange::Include(std::span<const double> values) {
  for (const double value : values) Include(value);
}

ChartAxis PlotRange::Axis(double from, double to, double share) const {
  if (low_ > high_) return {0.0, 1.0, from, to};
  const double flat = low_ == 0.0 ? 1.0 : 0.1 * std::abs(low_);
  const double margin = low_ == high_ ? flat : share * (high_ - low_);
  return {low_ - margin, high_ + margin, from, to};
}

Plot::Plot(SvgWriter& svg, const PlotBox& box, const ChartAxis& x, const ChartAxis& y)
    : svg_(svg), box_(box), x_(x), y_(y), legend_(box.right) {
  x_.from = box.left;
  x_.to = box.right;
  y_.from = box.bottom;
  y_.to = box.top;
}

void Plot::DrawXAxis(const std::string& title, int ticks, const std::function<std::string(double tick)>& label) {
  const std::vector<double> places = RoundTicks(x_.low, x_.high, ticks);
  const std::vector<std::string> numbers = TickLabels(places);
  svg_.BeginGroup(TextStyle(kSmallText, kGrey, "middle"));
  for (std::size_t i = 0; i < places.size(); ++i) {
    const double at = x_.At(places[i]);
    svg_.Line(at, box_.top, at, box_.bottom, {{"stroke", std::string(kGrid)}});
    svg_.Text(at, box_.bottom + 15.0, label ? label(places[i]) : numbers[i]);
  }
  svg_.Text(0.5 * (box_.left + box_.right), box_.bottom + 32.0, title);
  svg_.EndGroup();
}

void Plot::DrawYAxis(const std::string& title, int ticks) {
  const std::vector<double> places = RoundTicks(y_.low, y_.high, ticks);
  const std::vector<std::string> numbers = TickLabels(places);
  svg_.BeginGroup(TextStyle(kSmallText, kGrey, "end"));
  for (std::size_t i = 0; i < places.size(); ++i) {
    const double at = y_.At(places[i]);
    svg_.Line(box_.left, at, box_.right, at, {{"stroke", std::string(kGrid)}});
    svg_.Text(box_.left - 6.0, at + 4.0, numbers[i]);
  }
  svg_.EndGroup();
  svg_.Text(box_.left, box_.top - 8.0, title, TextStyle(kSmallText, kGrey, "start"));
}

void Plot::DrawCurve(std::span<const double> x, std::span<const double> y, std::string_view colour, double width) {
  CurvePath path;
  for (std::size_t i = 0; i < y.size(); ++i) {
    if (std::isnan(x[i]) || std::isnan(y[i])) {
      path.Break();
    } else {
      path.Add(x_.At(x[i]), y_.At(y[i]));
    }
  }
  const std::string commands = path.Take();
  if (commands.empty()) return;
  svg_.Element("path", {{"fill", "none"},
                        {"stroke", std::string(colour)},
                        {"stroke-width", SvgNumber(width)},
                        {"stroke-linejoin", "round"},
                        {"stroke-linecap", "round"},
                        {"d", commands}});
}

void Plot::DrawLine(double x1, double y1, double x2, double y2, const SvgAttributes& style) {
  if (std::isnan(x1 + y1 + x2 + y2)) return;
  svg_.Line(x_.At(x1), y_.At(y1), x_.At(x2), y_.At(y2), style);
}

namespace {

void DrawMarkAt(SvgWriter& svg, double x, double y, PlotMark mark, std::string_view colour, std::string_view hint) {
  const SvgAttributes fill = {{"fill", std::string(colour)}};
  if (mark == PlotMark::kDot) {
    SvgAttributes dot = {{"cx", SvgNumber(x)}, {"cy", SvgNumber(y)}, {"r", SvgNumber(0.5 * kMarkSize)}};
    dot.insert(dot.end(), fill.begin(), fill.end());
    svg.Element("circle", dot, hint);
    return;
  }
  constexpr double kReach = kMarkSize;  // a diamond is to stand out
  const std::string path =
      fmt::format("M{} {}L{} {}L{} {}L{} {}Z", SvgNumber(x), SvgNumber(y - kReach), SvgNumber(x + kReach), SvgNumber(y),
                  SvgNumber(x), SvgNumber(y + kReach), SvgNumber(x - kReach), SvgNumber(y));
  svg.Element("path", {fill.front(), {"d", path}}, hint);
}

}  // namespace

void Plot::DrawMark(double x, double y, PlotMark mark, std::string_view colour, std::string_view hint) {
  if (!std::isnan(x) && !std::isnan(y)) DrawMarkAt(svg_, x_.At(x), y_.At(y), mark, colour, hint);
}

void Plot::DrawBar(double x1, double x2, double height, std::string_view colour, std::string_view hint) {
  if (std::isnan(x1 + x2 + height) || height == 0.0) return;
  const double left = x_.At(x1);
  const double top = y_.At(height);
  svg_.Element("rect",
               {{"x", SvgNumber(left)},
                {"y", SvgNumber(top)},
                {"width", SvgNumber(x_.At(x2) - left)},
                {"height", SvgNumber(y_.At(0.0) - top)},
                {"fill", std::string(colour)},
                {"stroke", "#ffffff"}},
               hint);
}

void Plot::DrawLevel(double y, std::string_view label, std::string_view colour, bool isDashed) {
  constexpr double kLabelHeight = 12.0;
  if (std::isnan(y)) return;
  const double at = y_.At(y);
  SvgAttributes style = {{"stroke", std::string(colour)}};
  if (isDashed) style.emplace_back("stroke-dasharray", "6 4");
  svg_.Line(box_.left, at, box_.right, at, style);
  const auto hides = [&](double other) { return std::abs(at - other) < kLabelHeight; };
  if (std::any_of(labels_.begin(), labels_.end(), hides)) return;
  labels_.push_back(at);
  svg_.Text(box_.right + 6.0, at + 4.0, label, TextStyle(kSmallText, colour));
}

void Plot::DrawLegend(std::string_view text, PlotMark mark, std::string_view colour) {
  const double at = box_.top - 8.0;
  legend_ -= TextWidth(text, kSmallText);
  svg_.Text(legend_, at, text, TextStyle(kSmallText, kGrey));
  legend_ -= 10.0;
  DrawMarkAt(svg_, legend_, at - 4.0, mark, colour, {});
  legend_ -= 18.0;
}

bool HasRoomForMarks(const Plot& plot, std::size_t marks) {
  constexpr double kLeastPitch = 0.5 * kMarkSize;
  return static_cast<double>(marks) * kLeastPitch <= std::abs(plot.X().to - plot.X().from);
}

}  // namespace tool
