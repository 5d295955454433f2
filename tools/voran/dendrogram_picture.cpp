#include "tools/voran/dendrogram_picture.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "tools/voran/chart_axis.h"
#include "tools/voran/class_marks.h"
#include "tools/voran/common_options.h"
#include "tools/voran/number_text.h"
#include "tools/voran/picture_style.h"
#include "tools/voran/svg_writer.h"
#include "voran/cluster/dendrogram_drawer.h"

namespace tool {
namespace {

using DendroGram::DendroGramDrawer;
using DendroGram::DendroGramNode;

constexpr double kHeadHeight = 84.0;  // title, subtitle, what is cut, upper axis
constexpr double kLegendHeight = 17.0;
constexpr double kAxisTitleHeight = 14.0;  // where it is at the top too
constexpr double kFootHeight = 46.0;       // lower axis and its title
constexpr double kTallPage = 600.0;        // from here on the axis is there twice
constexpr double kNameGap = 4.0;           // between a leaf and its name
constexpr double kGroupWidth = 34.0;       // the bar behind the names, and the number of the group
constexpr std::size_t kLongestName = 32;
constexpr int kTicks = 6;

std::string ColourOf(std::size_t group) {
  return std::string(group == 0 ? kGrey : kColours[(group - 1) % kColours.size()]);
}

// How far apart the leaves are. Where there are very many, a picture that a viewer can open matters more than names
// that can be read without a glass.
double PitchOf(std::size_t leaves) {
  constexpr double kLongestPage = 30000.0;
  const auto count = static_cast<double>(leaves);
  return std::min(std::clamp(2200.0 / count, 11.0, 17.0), kLongestPage / count);
}

float Highest(const ClusterReport& report) {
  double highest = 0.0;
  for (const ClusterMerge& merge : report.result.merges) highest = std::max(highest, merge.height);
  return static_cast<float>(highest / report.result.unit);
}

// Turns the drawing on its side: the drawer's x runs down the page, and its y from left to right.
class TreeOutput final : public DendroGram::DendroGramDrawOutput {
 public:
  TreeOutput(SvgWriter& svg, const ClusterReport& report, double fontSize)
      : svg_(svg),
        report_(report),
        fontSize_(fontSize),
        isFlat_(report.result.tree->Height() == 0.0f),
        groups_(report.result.groups ? report.result.groups->nodes.size() + 1 : 1),
        rowPlaces_(report.table.rowIds.size()) {}

  void SetFoot(float foot) { foot_ = foot; }

  void DrawLine(float x1, float y1, float x2, float y2, const DendroGramNode* node) override {
    if (isFlat_) y1 = y2 = foot_;  // where heights have no place on the page
    if (!std::isfinite(x1 + x2 + y1 + y2)) return;
    std::string& path = groups_[GroupOf(*node)].path;
    path += fmt::format("M{} {}", SvgNumber(Double(y1)), SvgNumber(Double(x1)));
    path += y1 == y2 ? "V" + SvgNumber(Double(x2)) : "H" + SvgNumber(Double(y2));
  }

  void DrawLabel(const std::vector<int>* items, float x, float y) override {
    const std::size_t row = static_cast<std::size_t>(items->front()) - 1;
    const std::string& name = report_.table.rowIds[row];
    const bool isCut = Length(name) > kLongestName;
    rowPlaces_[row] = Double(x);
    svg_.Text(Double(y) + kNameGap, Double(x) + 0.35 * fontSize_, ShortName(name, kLongestName), {}, isCut ? name : "");
    Group& group = groups_[report_.result.groups ? report_.result.groups->ofRow[row] : 0];
    if (group.isEmpty) group.first = Double(x);
    group.isEmpty = false;
    group.last = Double(x);
  }

  bool MeasureLabel(const std::vector<int>* items, float x, float y, float& left, float& top, float& width,
                    float& height) override {
    const std::string& name = report_.table.rowIds[static_cast<std::size_t>(items->front()) - 1];
    left = x - static_cast<float>(0.5 * fontSize_);
    top = y;
    width = static_cast<float>(fontSize_);
    height = static_cast<float>(kNameGap + TextWidth(ShortName(name, kLongestName), fontSize_));
    return true;
  }

  void WriteLines() {
    svg_.BeginGroup(
        {{"fill", "none"}, {"stroke-width", fontSize_ < 10.0 ? "1.1" : "1.4"}, {"stroke-linecap", "square"}});
    for (std::size_t g = 0; g < groups_.size(); ++g) {
      if (!groups_[g].path.empty()) svg_.Element("path", {{"stroke", ColourOf(g)}, {"d", groups_[g].path}});
    }
    svg_.EndGroup();
  }

  // The bars behind the names, from `x` on.
  void WriteGroupBars(double x) {
    const double reach = 0.4 * fontSize_;
    for (std::size_t g = 1; g < groups_.size(); ++g) {
      const Group& group = groups_[g];
      svg_.Line(x, group.first - reach, x, group.last + reach, {{"stroke", ColourOf(g)}, {"stroke-width", "4"}});
      WriteGroupNumbers(x + 6.0, g);
    }
  }

  /// Where each row has come to be down the page.
  const std::vector<double>& RowPlaces() const { return rowPlaces_; }

 private:
  struct Group {
    std::string path;
    double first = 0.0;  // its uppermost leaf
    double last = 0.0;
    bool isEmpty = true;
  };

  // Wherever one is on the screen.
  void WriteGroupNumbers(double x, std::size_t g) {
    constexpr double kScreen = 600.0;
    const Group& group = groups_[g];
    const double length = group.last - group.first;
    const auto count = static_cast<int>(std::max(1.0, std::round(length / kScreen)));
    for (int i = 0; i < count; ++i) {
      svg_.Text(x, group.first + length * (i + 0.5) / count + 0.35 * fontSize_, std::to_string(g),
                {{"font-size", SvgNumber(fontSize_)}, {"font-weight", "bold"}, {"fill", std::string(kInk)}});
    }
  }

  static double Double(float value) { return static_cast<double>(value); }
  std::size_t GroupOf(const DendroGramNode& node) const {
    return groups_.size() == 1 ? 0 : static_cast<std::size_t>(node.GetModel());
  }

  SvgWriter& svg_;
  const ClusterReport& report_;
  double fontSize_;
  bool isFlat_;
  float foot_ = 0.0f;
  std::vector<Group> groups_;  // behind what is in none
  std::vector<double> rowPlaces_;
};

// The axis of heights with its lines down the page, below the tree and, if that is tall, above it too. A label above
// that would stand on the line at `cut` is left out.
void WriteAxis(SvgWriter& svg, const ChartAxis& axis, double top, double bottom, std::optional<double> cut,
               const std::string& title) {
  const bool isTwice = bottom - top > kTallPage;
  constexpr double kLabelReach = 18.0;
  const std::vector<double> ticks = RoundTicks(axis.low, axis.high, kTicks);
  const std::vector<std::string> labels = TickLabels(ticks);
  svg.BeginGroup(TextStyle(kSmallText, kGrey, "middle"));
  for (std::size_t i = 0; i < ticks.size(); ++i) {
    const double x = axis.At(ticks[i]);
    svg.Line(x, top, x, bottom, {{"stroke", std::string(kGrid)}});
    svg.Text(x, bottom + 15.0, labels[i]);
    const bool isFree = !cut || std::abs(x - axis.At(*cut)) > kLabelReach;
    if (isTwice && isFree) svg.Text(x, top - 6.0, labels[i]);
  }
  const double middle = 0.5 * (axis.from + axis.to);
  svg.Text(middle, bottom + 34.0, title);
  if (isTwice) svg.Text(middle, top - 38.0, title);
  svg.EndGroup();
}

void WriteTreeHead(SvgWriter& svg, const ClusterReport& report) {
  const std::string groups = report.result.groups ? ", " + Counted(report.result.groups->nodes.size(), "group") : "";
  WriteHead(svg, PictureName(report.table),
            fmt::format("{}, {}, {}, scaling {}{}", Counted(report.table.rowIds.size(), "row"),
                        Counted(report.result.columns.names.size(), "column"), MethodText(report.settings),
                        ScalingName(report.settings.scaling), groups));
}

// The height of the line that cuts the tree, if it is one to draw.
std::optional<double> CutHeight(const ClusterResult& result, double highest) {
  if (!result.groups || !result.groups->line) return std::nullopt;
  const double height = *result.groups->line * result.unit;
  return height < highest ? std::optional(height) : std::nullopt;
}

void WriteCut(SvgWriter& svg, const ChartAxis& axis, double height, double top, double bottom) {
  constexpr double kHalfText = 40.0;
  const double x = axis.At(height);
  svg.Line(x, top - 20.0, x, bottom, {{"stroke", std::string(kInk)}, {"stroke-dasharray", "6 4"}});
  svg.Text(std::max(x, kPageMargin + kHalfText), top - 24.0, "cut at " + ShortNumber(height),
           TextStyle(kSmallText, kInk, "middle"));
}

}  // namespace

std::string DendrogramPicture(const ClusterReport& report) {
  const DendroGramNode& tree = *report.result.tree;
  const std::size_t leaves = report.result.order.size();
  const double pitch = PitchOf(leaves);
  const double fontSize = std::min(12.0, 0.85 * pitch);
  const ClassMarks marks(report.result.classes);
  const double treeHeight = pitch * static_cast<double>(leaves);
  const double head =
      kHeadHeight + (marks.IsEmpty() ? 0.0 : kLegendHeight) + (treeHeight > kTallPage ? kAxisTitleHeight : 0.0);
  const double end = head + treeHeight;
  SvgWriter svg(kPageWidth, end + kFootHeight, "Cluster tree of " + PictureName(report.table));
  TreeOutput output(svg, report, fontSize);

  const DendroGramDrawer drawer(tree);
  auto left = static_cast<float>(head);
  auto right = static_cast<float>(end);
  auto top = static_cast<float>(kPageMargin);
  const double marksWidth = marks.IsEmpty() ? 0.0 : kNameGap + fontSize;
  auto foot = static_cast<float>(kPageWidth - (report.result.groups ? kGroupWidth : 0.5 * kPageMargin) - marksWidth);
  const float limit = foot;
  drawer.AdjustForLabels(output, left, right, top, foot);
  output.SetFoot(foot);

  const float highest = Highest(report);
  const ChartAxis axis = {0.0, static_cast<double>(highest) * report.result.unit, static_cast<double>(foot),
                          kPageMargin};
  WriteTreeHead(svg, report);
  const std::optional<double> cut = CutHeight(report.result, axis.high);
  if (!marks.IsEmpty()) marks.WriteLegend(svg, kPageMargin, kPageWidth - kPageMargin, 60.0);
  WriteAxis(svg, axis, head, end, cut, highest > 0.0f ? HeightText(report.settings) : "every height is 0");
  svg.BeginGroup(TextStyle(fontSize, kInk));
  // A root that is lower than a cluster below it leaves room for that.
  const float rootPlace = highest > 0.0f ? foot - (foot - top) * (tree.Height() / highest) : top;
  drawer.Draw(output, left, right, rootPlace, foot);
  svg.EndGroup();
  output.WriteLines();
  const double namesEnd = static_cast<double>(limit);
  if (!marks.IsEmpty()) marks.WriteRows(svg, namesEnd + kNameGap, fontSize, pitch, output.RowPlaces());
  if (report.result.groups) output.WriteGroupBars(namesEnd + marksWidth + 6.0);
  if (cut) WriteCut(svg, axis, *cut, head, end);
  return svg.Finish();
}

}  // namespace tool
