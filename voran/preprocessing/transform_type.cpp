#include "voran/preprocessing/transform_type.h"

#include "voran/platform/exception_message.h"

inline namespace voran {

const char* const TransformE::FormulaStrings[8] = {
    nullptr, "", "C1*X+C2", "10LOG(C1*X+C2)", "-10LOG(C1*X+C2)", "10LOG((X-C1)/(C2-X))", "e^(C1*X+C2)", "(C1*X+C2)^C3",
};

std::string TransformE::GetTransformName(Transform transform) {
  switch (transform) {
    case kLinear:
      return detail::TranslateText("Linear", "Linear transform");
    case kLog:
      return detail::TranslateText("Log", "Logarithmic transform");
    case kNegLog:
      return detail::TranslateText("NegLog", "Negative Logarithmic transform");
    case kLogit:
      return detail::TranslateText("Logit", "Logit transform");
    case kExponential:
      return detail::TranslateText("Exponential", "Exponential transform");
    case kPower:
      return detail::TranslateText("Power", "Power transform");
    case kNone:
      break;
  }
  return detail::TranslateText("None", "No transform");
}

}  // namespace voran
