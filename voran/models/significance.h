#pragma once

#include "voran/export.h"

inline namespace voran {

/// The verdicts on a component, with their short names.
class VORAN_EXPORT SignificanceE {
 public:
  /// A host may hold it as a 32-bit integer. PLSCrossValidation::GetSignificance gives kR1, kR2, kNS, kN3 and kN4; the
  /// others belong to the application.
  enum Significance : int {
    kR1 = 0,  ///< the Q2 of the whole of Y is above the limit
    kR2 = 1,  ///< enough single responses are above it
    kR5 = 2,
    kNS = 3,  ///< no rule makes it significant
    kN3 = 4,  ///< no further component is possible
    kN4 = 5,  ///< it explains too little
    kU = 6,
    kNA = 7,
    kRB1 = 8,
    kRB2 = 9,
    kNB1 = 10
  };

  /// "R1", "R2", "R5", "NS", "N3", "N4", "U", "NA", "RB1", "RB2" or "NB1".
  static const char* GetSignificance(Significance value) { return mSigNames[value]; }
  static bool IsSignificant(Significance value);

 private:
  static const char* const mSigNames[];
};

}  // namespace voran
