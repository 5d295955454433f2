#pragma once

#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/nipals_pass.h"

inline namespace voran {
namespace detail {

/// Components taken out of the rows of a matrix, one after the other: the score t_a is the regression of what is left
/// of a row on the weights w_a, and t_a d_a' is then subtracted. With the weights themselves as d this is deflation by
/// weights, with the loadings the deflation of a prediction.
///
/// No row depends on another. So a row is taken through all components while it is in the cache, and no deflated copy
/// of the matrix is made. The numbers are those of SpecialNipalsRegressRowsFix and AddVprimV, called for one component
/// after the other on the whole: also a row without a score is missing from there on.
///
/// Points to both matrices. One thread calls; several work, with the same bits at any number of them.
class RowDeflation {
 public:
  /// Both: components x variables.
  RowDeflation(const NCDataMatrix<float>& weights, const NCDataMatrix<float>& subtracted);

  /// Components x observations.
  NCDataMatrix<float> Scores(const NCDataMatrix<float>& X) const;
  /// The scores, and what all components leave of X, with 0 in place of gaps. `rest` has the size of X, no counted gap,
  /// and shares nothing.
  NCDataMatrix<float> ScoresAndRest(const NCDataMatrix<float>& X, NCDataMatrix<float>& rest) const;
  /// The regression of what all components leave of each row on `weight`: one element per observation.
  NCDataVector<float> ScoresOnRest(const NCDataMatrix<float>& X, const NCDataVector<float>& weight) const;

 private:
  using Regression = NipalsPass<float>::RowRegression;
  struct Wanted;

  void Walk(const NCDataMatrix<float>& X, const Wanted& wanted) const;
  void WalkRow(const NCDataVector<float>& x, int position, float* cells, const Wanted& wanted) const;
  float Score(const Regression& regression, const float* row, int gaps) const;
  int Subtract(int component, float score, int gaps, float* row) const;

  const NCDataMatrix<float>& subtracted_;
  const NipalsKernels<float>& kernels_;
  std::vector<Regression> regressions_;
};

}  // namespace detail
}  // namespace voran
