#include "tools/voran/class_marks.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "tools/voran/number_text.h"

namespace tool {
namespace {

constexpr double kTextSize = 11.0;
constexpr double kSmallestLetter = 5.0;
constexpr std::string_view kInk = "#222222";
constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

// Steps of the map viridis (Smith and van der Walt, 2015), whose lightness rises evenly.
constexpr std::array<std::string_view, 6> kColours = {"#440154", "#414487", "#2a788e", "#22a884", "#7ad151", "#fde725"};
constexpr std::size_t kDarkColours = 3;

// As far apart as so many classes allow.
std::size_t ColourOf(std::size_t index, std::size_t classes) {
  constexpr std::size_t kLast = kColours.size() - 1;
  if (classes > kColours.size()) return index % kColours.size();
  return classes == 1 ? 0 : (index * kLast + (classes - 1) / 2) / (classes - 1);
}

}  // namespace

ClassMarks::ClassMarks(const std::vector<ClassColumn>& columns) {
  const auto found = std::find_if(columns.begin(), columns.end(), [](const auto& c) { return !c.classes.empty(); });
  if (found != columns.end()) column_ = &*found;
}

void ClassMarks::WriteMark(SvgWriter& svg, std::size_t index, double x, double y, double width, double height) const {
  const std::size_t colour = ColourOf(index, column_->classes.size());
  svg.Element("rect", {{"x", SvgNumber(x)},
                       {"y", SvgNumber(y - 0.5 * height)},
                       {"width", SvgNumber(width)},
                       {"height", SvgNumber(height)},
                       {"fill", std::string(kColours[colour])}});
  const double size = 0.8 * std::min(width, height);
  if (size < kSmallestLetter || index >= kLetters.size()) return;
  svg.Text(x + 0.5 * width, y + 0.36 * size, kLetters.substr(index, 1),
           {{"font-size", SvgNumber(size)},
            {"text-anchor", "middle"},
            {"fill", std::string(colour < kDarkColours ? "#ffffff" : kInk)}});
}

void ClassMarks::WriteLegend(SvgWriter& svg, double left, double right, double y) const {
  constexpr double kSide = 11.0;
  constexpr double kGap = 4.0;
  constexpr double kForRest = 70.0;
  constexpr std::size_t kLongestName = 24;
  const SvgAttributes style = {{"font-size", SvgNumber(kTextSize)}, {"fill", std::string(kInk)}};
  double x = left;
  const auto write = [&](const std::string& text) {
    svg.Text(x, y, text, style);
    x += TextWidth(text, kTextSize) + 2.0 * kGap;
  };
  write(ShortName(column_->name, kLongestName) + ":");
  for (std::size_t k = 0; k < column_->classes.size(); ++k) {
    const std::string name = ShortName(column_->classes[k], kLongestName);
    if (x + kSide + kGap + TextWidth(name, kTextSize) > right - kForRest) {
      write(fmt::format("and {} more", column_->classes.size() - k));
      return;
    }
    WriteMark(svg, k, x, y - 0.36 * kTextSize, kSide, kSide);
    x += kSide + kGap;
    write(name);
  }
}

void ClassMarks::WriteRows(SvgWriter& svg, double x, double width, double pitch,
                           const std::vector<double>& places) const {
  constexpr double kShare = 0.94;
  for (std::size_t row = 0; row < places.size(); ++row) {
    const int own = column_->ofRow[row];
    if (own != kNoClass) WriteMark(svg, static_cast<std::size_t>(own), x, places[row], width, kShare * pitch);
  }
}

}  // namespace tool
