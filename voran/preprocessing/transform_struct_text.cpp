#include <cmath>
#include <locale>

#include <boost/format.hpp>

#include "voran/preprocessing/transform_struct.h"

inline namespace voran {

namespace {

/// Numbers look the same whatever the process's locale is.
template <class... Values>
std::string Format(const char* format, const Values&... values) {
  boost::format formatter(format, std::locale::classic());
  return (formatter % ... % values).str();
}

}  // namespace

std::string TransformStruct::ToString(bool html) const {
  switch (transform_) {
    case TransformE::kNone:
      break;
    case TransformE::kLinear:
      return LinearText();
    case TransformE::kLog:
      return Format(html ? "log<sub>10</sub>(%1%)" : "10log(%1%)", LinearText());
    case TransformE::kNegLog:
      return Format(html ? "-log<sub>10</sub>(%1%)" : "-10log(%1%)", LinearText());
    case TransformE::kLogit:
      return LogitText(html);
    case TransformE::kExponential:
      return Format(html ? "e<sup>%1%</sup>" : "e^(%1%)", LinearText());
    case TransformE::kPower:
      return PowerText(html);
  }
  return {};
}

std::string TransformStruct::LinearText() const {
  const float c1 = constants_[1];
  const float c2 = constants_[2];
  if (c2 < 0.0f) return Format(" - %1%", std::abs(c2));  // deliberately all that there is
  std::string text = "x";
  if (c1 == 0.0f) {
    text = "0";
  } else if (c1 != 1.0f) {
    text = Format("%1%*x", c1);
  }
  if (c2 > 0.0f) text += Format(" + %1%", c2);
  return text;
}

/// In plain text the second value is deliberately one too many for the format, which throws.
std::string TransformStruct::LogitText(bool html) const {
  const char* const fraction =
      "<table style='display: inline; margin-top: 0pt; margin-bottom: 0pt; text-align: center; vertical-align: "
      "middle;' "
      "cellpadding='0' cellspacing='0'>"
      "<tr><td rowspan='2' nowrap='nowrap'>log<sub>10</sub></td><td nowrap='nowrap'>%1% - x</td></tr>"
      "<tr><td style='border-top: 1px solid black;' nowrap='nowrap'>x - %2%</td></tr></table>";
  return Format(html ? fraction : "10log((%1% - x)/(x - %1%))", constants_[2], constants_[1]);
}

std::string TransformStruct::PowerText(bool html) const {
  const float c3 = constants_[3];
  if (c3 == 1.0f) return LinearText();
  const bool isPlainX = constants_[1] == 1.0f && constants_[2] == 0.0f;
  const char* const raised = isPlainX ? "%1%<sup>%2%</sup>" : "(%1%)<sup>%2%</sup>";
  return Format(html ? raised : "(%1%)^%2%", LinearText(), c3);
}

}  // namespace voran
