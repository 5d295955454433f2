#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tools/voran/plot.h"
#include "tools/voran/series_set.h"
#include "tools/voran/svg_writer.h"

namespace tool {

/// The x axis of pictures of series: the numbers in the names of the elements, such as wavelengths, or else their
/// positions, labelled by their names.
class SeriesAxis {
 public:
  explicit SeriesAxis(const SeriesSet& series);

  const std::vector<double>& Positions() const { return x_; }
  ChartAxis Range() const;
  void Draw(Plot& plot, const std::string& title = {}) const;

 private:
  const SeriesSet& series_;
  bool isNumeric_;
  std::vector<double> x_;
};

/// A page with a heading and plots of one size, one below the other.
class PlotPage {
 public:
  PlotPage(const std::string& name, const std::string& title, const std::string& subtitle, std::size_t plots);

  SvgWriter& Svg() { return svg_; }
  /// The place of the next plot, below the one before.
  PlotBox Next();
  std::string Finish() { return svg_.Finish(); }

 private:
  SvgWriter svg_;
  std::size_t drawn_ = 0;
};

/// As many plots a page has at most; a scalogram counts twice.
inline constexpr std::size_t kMostPlots = 6;
/// Of the name of a series above its plot.
inline constexpr std::size_t kLongestTitle = 40;

/// About how many ticks the axes of such plots have.
inline constexpr int kPageXTicks = 10;
inline constexpr int kPageYTicks = 5;

/// The name of the element at a position counted from 1; empty if there is none, or `position` is no whole number.
std::string PlaceName(const SeriesSet& series, double position);

/// "4 of 60 rows of 401 columns", or how many there are if all are drawn.
std::string DrawnText(const SeriesSet& series, std::size_t drawn);

/// The series that hold values, as many as `most`.
std::vector<std::size_t> SeriesToDraw(const SeriesSet& series, std::size_t most);

}  // namespace tool
