#pragma once

#include <cstdint>
#include <string>

#include "voran/export.h"

inline namespace voran {

/// The functions that a variable can be put through, with their names and formulas. C1, C2 and C3 are constants of the
/// column; all logarithms but that of kExponential's inverse are to base 10.
class VORAN_EXPORT TransformE {
 public:
  enum Transform : std::int32_t {
    kNone = 1,
    kLinear = 2,       ///< C1 x + C2
    kLog = 3,          ///< log(C1 x + C2)
    kNegLog = 4,       ///< -log(C1 x + C2)
    kLogit = 5,        ///< log((x - C1) / (C2 - x))
    kExponential = 6,  ///< exp(C1 x + C2)
    kPower = 7,        ///< (C1 x + C2)^C3
  };

  TransformE() = delete;

  /// "None", "Linear", "Log", "NegLog", "Logit", "Exponential" or "Power", in the user's language; "None" for any
  /// other number.
  static std::string GetTransformName(Transform transform);
  /// The formula as text, such as "10LOG(C1*X+C2)", and empty for kNone. There is no range test.
  static const char* GetFormula(Transform transform) { return FormulaStrings[transform]; }

  /// By the number of the transform; entry 0 is null.
  static const char* const FormulaStrings[8];
};

}  // namespace voran
