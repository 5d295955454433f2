#include "tools/voran/transform_text.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include <fmt/format.h>

namespace tool {
namespace {

constexpr std::pair<TransformE::Transform, std::string_view> kNames[] = {
    {TransformE::kLinear, "linear"},           {TransformE::kLog, "log"},
    {TransformE::kNegLog, "neglog"},           {TransformE::kLogit, "logit"},
    {TransformE::kExponential, "exponential"}, {TransformE::kPower, "power"},
};

// "x + 2", "x - 2", or "x" alone.
std::string Plus(const std::string& text, float constant) {
  if (constant == 0.0f) return text;
  return fmt::format("{} {} {}", text, constant < 0.0f ? '-' : '+', std::abs(constant));
}

// C1 x + C2.
std::string LinearTerm(const TransformStruct& transform) {
  const float c1 = transform.GetConstant(1);
  const std::string x = c1 == 1.0f ? "x" : c1 == -1.0f ? "-x" : fmt::format("{} x", c1);
  return Plus(x, transform.GetConstant(2));
}

std::string Power(const std::string& base, float exponent) {
  return fmt::format("{}^{}", base == "x" ? base : "(" + base + ")", exponent);
}

std::string Logit(float lower, float upper) {
  const std::string above = Plus("x", -lower);
  return fmt::format("log10({} / ({} - x))", above == "x" ? above : "(" + above + ")", upper);
}

}  // namespace

std::string_view TransformName(TransformE::Transform transform) {
  const auto found = std::find_if(std::begin(kNames), std::end(kNames), [&](auto& n) { return n.first == transform; });
  return found == std::end(kNames) ? std::string_view() : found->second;
}

std::optional<TransformE::Transform> TransformNamed(std::string_view name) {
  const auto found = std::find_if(std::begin(kNames), std::end(kNames), [&](auto& n) { return n.second == name; });
  return found == std::end(kNames) ? std::nullopt : std::optional(found->first);
}

std::string TransformNames() {
  std::string list;
  for (const auto& [transform, name] : kNames) list += fmt::format("{}{}", list.empty() ? "" : ", ", name);
  return list;
}

std::string Formula(const TransformStruct& transform) {
  switch (transform.GetTransform()) {
    case TransformE::kNone:
      break;
    case TransformE::kLinear:
      return LinearTerm(transform);
    case TransformE::kLog:
      return fmt::format("log10({})", LinearTerm(transform));
    case TransformE::kNegLog:
      return fmt::format("-log10({})", LinearTerm(transform));
    case TransformE::kLogit:
      return Logit(transform.GetConstant(1), transform.GetConstant(2));
    case TransformE::kExponential:
      return fmt::format("exp({})", LinearTerm(transform));
    case TransformE::kPower:
      return Power(LinearTerm(transform), transform.GetConstant(3));
  }
  return "x";
}

}  // namespace tool
