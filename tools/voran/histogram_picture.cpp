#include "tools/voran/histogram_picture.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include <fmt/format.h>

#include "tools/voran/number_text.h"
#include "tools/voran/picture_style.h"
#include "tools/voran/plot.h"

namespace tool {
namespace {

constexpr std::size_t kMostDrawn = 30;
constexpr double kHeadHeight = 78.0;
constexpr double kFootHeight = 24.0;
constexpr double kLeft = 44.0;  // for the counts, in each plot

// How the plots lie on the page.
struct Grid {
  std::size_t across;
  double width;
  double height;
  int xTicks;
  int yTicks;
};

Grid GridOf(std::size_t plots) {
  if (plots == 1) return {1, 760.0, 340.0, 10, 5};
  const std::size_t across = plots == 2 || plots == 4 ? 2 : 3;
  const double width = (kPageWidth - 2.0 * kPageMargin) / static_cast<double>(across);
  return {across, width, across == 2 ? 260.0 : 190.0, across == 2 ? 6 : 4, 4};
}

PlotBox BoxOf(const Grid& grid, std::size_t place) {
  constexpr double kBelow = 44.0;  // for the axis
  const double left = kPageMargin + static_cast<double>(place % grid.across) * grid.width;
  const std::size_t line = place / grid.across;
  const double top = kHeadHeight + static_cast<double>(line) * grid.height;
  return {left + kLeft, top, left + grid.width - 12.0, top + grid.height - kBelow};
}

void DrawDots(Plot& plot, const HistogramReport& report, const ColumnHistogram& column) {
  for (const HistogramBin& bin : column.bins) {
    for (std::size_t i = 0; i < bin.rows.size(); ++i) {
      plot.DrawMark(bin.centre, static_cast<double>(i) + 0.5, PlotMark::kDot, kColours[0],
                    report.table.rowIds[bin.rows[i]]);
    }
  }
}

void DrawBars(Plot& plot, const ColumnHistogram& column) {
  for (const HistogramBin& bin : column.bins) {
    plot.DrawBar(
        bin.lower, bin.upper, static_cast<double>(bin.rows.size()), kColours[0],
        fmt::format("{} to {}: {}", EdgeText(column, bin.lower), EdgeText(column, bin.upper), bin.rows.size()));
  }
}

void DrawColumn(SvgWriter& svg, const HistogramReport& report, const ColumnHistogram& column, const Grid& grid,
                const PlotBox& box) {
  constexpr std::size_t kLongestName = 36;
  PlotRange x;
  if (!column.bins.empty()) x = PlotRange(column.bins.front().lower, column.bins.back().upper);
  const PlotRange y(0.0, 1.05 * static_cast<double>(std::max<std::size_t>(column.Highest(), 1)));
  Plot plot(svg, box, x.Axis(0.0, 0.0, 0.02), y.Axis(0.0, 0.0));
  const std::string gaps = column.missing == 0 ? "" : fmt::format(" ({} missing)", column.missing);
  plot.DrawYAxis(ShortName(column.name, kLongestName) + gaps, grid.yTicks);
  plot.DrawXAxis(column.bins.empty() ? "no value" : "", grid.xTicks);
  // Dots that share a pixel would tell nothing, and make a file that no viewer opens.
  constexpr int kMostDots = 5000;
  const bool hasRoom = column.present <= kMostDots && static_cast<double>(column.Highest()) <= box.bottom - box.top;
  if (report.withDots && hasRoom) {
    DrawDots(plot, report, column);
  } else {
    DrawBars(plot, column);
  }
  svg.Line(box.left, box.bottom, box.right, box.bottom, {{"stroke", std::string(kGrey)}});
}

}  // namespace

std::string HistogramPicture(const HistogramReport& report) {
  const std::size_t drawn = std::min(report.columns.size(), kMostDrawn);
  const Grid grid = GridOf(drawn);
  const std::size_t lines = (drawn + grid.across - 1) / grid.across;
  SvgWriter svg(drawn == 1 ? grid.width + 2.0 * kPageMargin : kPageWidth,
                kHeadHeight + static_cast<double>(lines) * grid.height + kFootHeight,
                "Histogram of " + PictureName(report.table));
  const std::string columns = drawn == report.columns.size()
                                  ? Counted(drawn, "column")
                                  : fmt::format("the first {} of {} columns", drawn, report.columns.size());
  WriteHead(svg, PictureName(report.table),
            fmt::format("{}, {}, counts of rows", Counted(report.table.rowIds.size(), "row"), columns));
  for (std::size_t c = 0; c < drawn; ++c) DrawColumn(svg, report, report.columns[c], grid, BoxOf(grid, c));
  return svg.Finish();
}

}  // namespace tool
