#include "tools/voran/memory_size.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"

namespace tool {
namespace {

constexpr std::string_view kUnits = "KMGT";
constexpr double kStep = 1024.0;
constexpr double kMost = 9.2e18;

// What the letters behind the number multiply it by; nothing for other letters.
std::optional<double> FactorOf(std::string unit) {
  std::transform(unit.begin(), unit.end(), unit.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
  if (unit.empty() || unit == "B") return 1.0;
  const std::size_t power = kUnits.find(unit.front());
  const std::string_view rest = std::string_view(unit).substr(1);
  if (power == std::string_view::npos || !(rest.empty() || rest == "B" || rest == "IB")) return std::nullopt;
  return std::pow(kStep, static_cast<double>(power) + 1.0);
}

}  // namespace

std::uint64_t ReadMemorySize(const std::string& option, const std::string& text) {
  const std::size_t digits = std::min(text.find_first_not_of("0123456789."), text.size());
  const std::size_t unit = std::min(text.find_first_not_of(' ', digits), text.size());
  const auto number = WholeNumber<double>(text.substr(0, digits));
  const auto factor = FactorOf(text.substr(unit));
  if (!number || !factor) {
    throw WrongUse(fmt::format("{}: {} is no amount of memory such as 256M or 1.5GiB", option, Quoted(text)));
  }
  const double bytes = *number * *factor;
  if (!(bytes >= 1.0)) throw WrongUse(fmt::format("{}: {} leaves no memory at all", option, Quoted(text)));
  if (bytes > kMost) throw WrongUse(fmt::format("{}: {} is more than any machine has", option, Quoted(text)));
  return static_cast<std::uint64_t>(bytes);
}

std::string MemorySizeText(std::uint64_t bytes) {
  auto size = static_cast<double>(bytes);
  std::size_t power = 0;
  for (; size >= kStep && power < kUnits.size(); ++power) size /= kStep;
  return power == 0 ? Counted(bytes, "byte") : fmt::format("{:.1f} {}iB", size, kUnits[power - 1]);
}

}  // namespace tool
