#include "tools/voran/nearest_name.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include <fmt/format.h>

#include "tools/voran/number_text.h"

namespace tool {
namespace {

// Of letters of ASCII: what else names hold is compared byte by byte.
char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Characters to change, to add, to leave out, or to exchange with their neighbour.
std::size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<std::vector<std::size_t>> table(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  const auto isSame = [&](std::size_t i, std::size_t j) { return Lower(a[i - 1]) == Lower(b[j - 1]); };
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t j = 0; j <= b.size(); ++j) {
      std::size_t& least = table[i][j];
      least = i + j;
      if (i == 0 || j == 0) continue;
      least = std::min({table[i - 1][j] + 1, table[i][j - 1] + 1, table[i - 1][j - 1] + (isSame(i, j) ? 0 : 1)});
      if (i > 1 && j > 1 && isSame(i, j - 1) && isSame(i - 1, j)) least = std::min(least, table[i - 2][j - 2] + 1);
    }
  }
  return table.back().back();
}

}  // namespace

std::string DidYouMean(std::string_view typed, std::span<const std::string> names, bool isQuoted) {
  constexpr std::size_t kMostTyped = 200;
  if (typed.size() > kMostTyped) return {};
  std::size_t least = typed.size() / 3 + 1;
  const std::string* nearest = nullptr;
  for (const std::string& name : names) {
    const std::size_t longer = std::max(name.size(), typed.size());
    if (longer - std::min(name.size(), typed.size()) > least) continue;
    const std::size_t distance = EditDistance(typed, name);
    if (distance < least) nearest = &name;
    if (distance == least) nearest = nullptr;
    least = std::min(least, distance);
  }
  if (nearest == nullptr) return {};
  return fmt::format(" (did you mean {}?)", isQuoted ? Quoted(*nearest) : *nearest);
}

}  // namespace tool
