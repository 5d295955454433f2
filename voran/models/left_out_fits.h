#pragma once

#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"

inline namespace voran {
namespace detail {

/// A PLS component of one response, fitted without a group of the observations.
struct LeftOutFit {
  NCDataVector<float> w;
  NCDataVector<float> t;  ///< of all observations: those left out are predicted
  NCDataVector<float> p;
  float c = 0.0f;
};

/// The components of several sub-models of a cross-validation, of one response and data without gaps, in two readings
/// of X for all of them: one for w = X'y, one for t = Xw and p = X't. A row that a sub-model leaves out plays no part
/// in its sums. The numbers are those of NCPLS, to the rounding of sums of doubles; the same bits at any number of
/// threads.
class LeftOutFits {
 public:
  /// How many sub-models are worth fitting together; scratch memory is a few rows and columns of X for each.
  static constexpr int kMostTogether = 16;

  /// Whether Y is one column, and neither has gaps.
  static bool CanFit(const NCDataMatrix<float>& X, const NCDataMatrix<float>& Y);

  /// X and Y, of one column, stay the caller's, with `rowGroups`, the group of each row.
  LeftOutFits(const NCDataMatrix<float>& X, const NCDataMatrix<float>& Y, const NCIntegralVector<int, -99>& rowGroups);

  /// One component for each of the groups first..first+count-1; count is at most kMostTogether. Nothing if one of the
  /// sub-models has nothing to fit, or comes upon a value that stands for a gap,
  /// or an infinity: NCPLS then has to fit them one by one. May throw std::bad_alloc.
  std::vector<LeftOutFit> Fit(int first, int count) const;

 private:
  struct Rows;
  struct Work;

  std::vector<Rows> Parts(const std::vector<Work>& works) const;
  void FitWeights(std::vector<Work>& works, int threads) const;
  void FitScoresAndLoadings(Work* first, Work* last) const;

  const NCDataMatrix<float>& X_;
  const NCIntegralVector<int, -99>& rowGroups_;
  std::vector<const float*> rows_;
  std::vector<float> y_;
};

}  // namespace detail
}  // namespace voran
