#include "tools/voran/cluster_heights.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <optional>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/number_text.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

constexpr int kFewestDigits = 4;
constexpr int kFloatDigits = 9;  // that tell any two floats apart

// `value` in so many digits, moved by `steps` units of the last one.
std::string InDigits(double value, int digits, int steps) {
  constexpr int kSmallestPlain = -3;
  constexpr int kLargestPlain = 6;
  const int exponent = value > 0.0 ? static_cast<int>(std::floor(std::log10(value))) : 0;
  const bool isPlain = exponent >= kSmallestPlain && exponent <= kLargestPlain;
  const int decimals = isPlain ? std::max(digits - 1 - exponent, 0) : digits - 1 - exponent;
  const double moved = value + steps * std::pow(10.0, -decimals);
  if (moved == 0.0) return "0";
  return isPlain ? fmt::format("{:.{}f}", moved, decimals) : fmt::format("{:.{}e}", moved, digits - 1);
}

std::optional<std::string> TextWithin(const HeightRange& range, double unit, double value, int digits, int step) {
  for (const int steps : {0, step}) {
    std::string text = InDigits(value, digits, steps);
    const double height = AsHeight(WholeNumber<double>(text).value_or(-1.0), unit) * unit;
    if (height >= range.from && height < range.below) return text;
  }
  return std::nullopt;
}

// In as few digits as show two heights of the range.
std::pair<std::string, std::string> TextsWithin(const HeightRange& range, double unit) {
  for (int digits = kFewestDigits; digits <= kFloatDigits; ++digits) {
    auto lowest = TextWithin(range, unit, range.from, digits, 1);
    auto highest = TextWithin(range, unit, range.below, digits, -1);
    if (lowest && highest) return {*lowest, *highest};
  }
  std::string only;
  AppendNumber(only, range.from);
  return {only, only};
}

}  // namespace

std::vector<HeightRange> HeightRanges(const std::vector<ClusterMerge>& merges, std::size_t most) {
  std::vector<double> highest = {0.0};  // of the first merges
  for (const ClusterMerge& merge : merges) highest.push_back(std::max(highest.back(), merge.height));
  std::vector<HeightRange> ranges;
  double lowest = std::numeric_limits<double>::infinity();  // of the last ones
  for (std::size_t undone = 1; undone <= std::min(merges.size(), most); ++undone) {
    const std::size_t kept = merges.size() - undone;
    lowest = std::min(lowest, merges[kept].height);
    ranges.push_back({undone + 1, highest[kept], lowest});
  }
  return ranges;
}

std::string HeightLines(const std::vector<HeightRange>& ranges, double unit) {
  if (ranges.empty()) return {};
  TextTable lines({"groups", "from", "up to", "range"});
  for (const HeightRange& range : ranges) {
    if (range.IsEmpty()) {
      lines.Row({std::to_string(range.groups), "-", "-", "-"});
      continue;
    }
    const auto [lowest, highest] = TextsWithin(range, unit);
    lines.Row({std::to_string(range.groups), lowest, highest, ShortNumber(range.below - range.from)});
  }
  return lines.Text();
}

nlohmann::ordered_json HeightsJson(const std::vector<HeightRange>& ranges) {
  using Json = nlohmann::ordered_json;
  Json json = Json::array();
  for (const HeightRange& range : ranges) {
    json.push_back({{"groups", range.groups},
                    {"from", range.IsEmpty() ? Json() : Json(AsWritten(range.from))},
                    {"below", range.IsEmpty() ? Json() : Json(AsWritten(range.below))}});
  }
  return json;
}

}  // namespace tool
