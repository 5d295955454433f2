#include "voran/models/significance.h"

inline namespace voran {

const char* const SignificanceE::mSigNames[] = {"R1", "R2", "R5", "NS", "N3", "N4", "U", "NA", "RB1", "RB2", "NB1"};

bool SignificanceE::IsSignificant(Significance value) {
  return value == kR1 || value == kR2 || value == kR5 || value == kRB1 || value == kRB2;
}

}  // namespace voran
