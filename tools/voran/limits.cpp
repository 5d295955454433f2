#include "tools/voran/limits.h"

#include <cmath>
#include <string_view>

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "tools/voran/table_roles.h"

namespace tool {
namespace {

constexpr const char* kOption = "--limits";

Failure NotLimits(const std::string& argument) {
  return WrongUse(
      fmt::format("{}: {} is not LOW,HIGH or COLUMN=LOW,HIGH with a decimal point, as in 4.5,5.5 or ph=4.5,", kOption,
                  Quoted(argument)));
}

// Nothing for an empty text.
std::optional<double> Limit(std::string_view text, const std::string& argument) {
  if (text.empty()) return std::nullopt;
  const auto number = WholeNumber<double>(text);
  if (!number || !std::isfinite(*number)) throw NotLimits(argument);
  return number;
}

}  // namespace

LimitsArgument::LimitsArgument(const std::string& argument) {
  std::string_view numbers = argument;
  const auto equals = numbers.rfind('=');
  if (equals != std::string_view::npos) {
    columns_ = argument.substr(0, equals);
    numbers.remove_prefix(equals + 1);
  }
  const auto comma = numbers.find(',');
  if (comma == std::string_view::npos || numbers.size() == 1) throw NotLimits(argument);
  limits_ = {Limit(numbers.substr(0, comma), argument), Limit(numbers.substr(comma + 1), argument)};
  if (limits_.low && limits_.high && *limits_.low >= *limits_.high) {
    throw WrongUse(fmt::format("{}: in {}, the lower limit is not below the upper one", kOption, Quoted(argument)));
  }
}

void LimitsArgument::Apply(const std::vector<std::string>& fileColumns, const std::vector<std::string>& variables,
                           std::vector<std::optional<Limits>>& limits) const {
  if (!columns_) {
    limits.assign(variables.size(), limits_);
    return;
  }
  for (const std::size_t c : SelectUsedColumns(fileColumns, variables, *columns_, kOption)) limits[c] = limits_;
}

}  // namespace tool
