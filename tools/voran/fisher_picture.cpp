#include <cstddef>
#include <numeric>

#include <fmt/format.h>

#include "tools/voran/fisher_report.h"
#include "tools/voran/number_text.h"
#include "tools/voran/picture_style.h"

namespace tool {
namespace {

constexpr double kWidth = 620.0;
constexpr double kHeight = 380.0;
constexpr double kTop = 66.0;
constexpr double kLegendWidth = 200.0;
constexpr double kSpace = 3.0;  // between columns
constexpr std::size_t kLongestName = 24;
constexpr std::size_t kMostNames = 24;  // in the legend

std::string ColourOf(std::size_t row) {
  return std::string(kColours[row % kColours.size()]);
}

// One column of the mosaic, the first row of the table on top.
void DrawColumn(SvgWriter& svg, const CountTable& counts, std::size_t column, long long sum, double left,
                double width) {
  double top = kTop;
  for (std::size_t i = 0; i < counts.rows.size(); ++i) {
    const double height = kHeight * counts.At(i, column) / static_cast<double>(sum);
    if (height == 0.0) continue;
    svg.Element("rect",
                {{"x", SvgNumber(left)},
                 {"y", SvgNumber(top)},
                 {"width", SvgNumber(width)},
                 {"height", SvgNumber(height)},
                 {"fill", ColourOf(i)},
                 {"stroke", "#ffffff"}},
                fmt::format("{}, {}: {}", counts.rows[i], counts.columns[column], counts.At(i, column)));
    const std::string label = std::to_string(counts.At(i, column));
    if (height > 14.0 && width > TextWidth(label, kSmallText)) {
      svg.Text(left + 0.5 * width, top + 0.5 * height + 4.0, label, TextStyle(kSmallText, "#ffffff", "middle"));
    }
    top += height;
  }
}

// Names are shortened to what fits under a column. Where nothing does, a viewer shows them where it is pointed at.
void DrawName(SvgWriter& svg, const std::string& name, double left, double width) {
  constexpr std::size_t kShortestName = 5;
  std::size_t most = kLongestName;
  std::string label = ShortName(name, most);
  while (TextWidth(label, kSmallText) > width + 2.0 * kSpace) {
    if (most == kShortestName) return;
    label = ShortName(name, --most);
  }
  svg.Text(left + 0.5 * width, kTop + kHeight + 16.0, label, TextStyle(kSmallText, kGrey, "middle"));
}

void DrawLegend(SvgWriter& svg, const CountTable& counts) {
  const double left = kPageMargin + kWidth + 16.0;
  for (std::size_t i = 0; i < counts.rows.size() && i < kMostNames; ++i) {
    const double top = kTop + 16.0 * static_cast<double>(i);
    svg.Element(
        "rect",
        {{"x", SvgNumber(left)}, {"y", SvgNumber(top)}, {"width", "10"}, {"height", "10"}, {"fill", ColourOf(i)}});
    svg.Text(left + 16.0, top + 9.0, ShortName(counts.rows[i], kLongestName), TextStyle(kSmallText, kGrey));
  }
}

}  // namespace

std::string FisherPicture(const FisherReport& report) {
  const CountTable& counts = report.counts;
  SvgWriter svg(kPageMargin + kWidth + kLegendWidth, kTop + kHeight + kPageMargin,
                "Counts of " + PictureName(report.table));
  WriteHead(svg, PictureName(report.table),
            fmt::format("shares of the rows in each column, p {:.4g} ({})", report.p, MethodName(report)));
  const auto sums = counts.ColumnSums();
  const double total = static_cast<double>(std::accumulate(sums.begin(), sums.end(), 0LL));
  const double room = kWidth - kSpace * static_cast<double>(sums.size() - 1);
  double left = kPageMargin;
  for (std::size_t j = 0; j < sums.size(); ++j) {
    const double width = room * static_cast<double>(sums[j]) / total;
    if (sums[j] > 0) DrawColumn(svg, counts, j, sums[j], left, width);
    DrawName(svg, counts.columns[j], left, width);
    left += width + kSpace;
  }
  DrawLegend(svg, counts);
  return svg.Finish();
}

}  // namespace tool
