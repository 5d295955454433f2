#pragma once

#include "voran/export.h"
#include "voran/platform/nc_error.h"

inline namespace voran {

/// Thrown when NCO2PLS is asked for more components than the data have dimensions for. The message tells how many
/// orthogonal components there are on the side that ran out.
class VORAN_EXPORT NCO2PLSDimensionalityException : public NCError {
 public:
  /// The side that ran out; bits, so that both can be told together.
  enum Dimensionality : int { kXSide = 1, kYSide = 2 };

  /// `predictiveComps` is what was asked for, the other two what was found so far.
  NCO2PLSDimensionalityException(Dimensionality dimensionality, int predictiveComps, int xOrtho, int yOrtho);
  NCO2PLSDimensionalityException(const NCO2PLSDimensionalityException&) = default;
  NCO2PLSDimensionalityException& operator=(const NCO2PLSDimensionalityException&) = default;
  ~NCO2PLSDimensionalityException() override;
  /// A copy, which the caller owns.
  virtual NCO2PLSDimensionalityException* Clone() const;

  /// One sentence for each side of `dimensionality`, and that no more can be calculated.
  static ExceptionMessageList FormatException(Dimensionality dimensionality, int xOrtho, int yOrtho);

  Dimensionality GetDimensionality() const { return dimensionality_; }
  int GetPredictiveComps() const { return predictiveComps_; }
  int GetXSideOrthoComps() const { return xOrtho_; }
  int GetYSideOrthoComps() const { return yOrtho_; }

 private:
  Dimensionality dimensionality_;
  int predictiveComps_;
  int xOrtho_;
  int yOrtho_;
};

}  // namespace voran
