#pragma once

#include <cstdint>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/export.h"

inline namespace voran {

/// The scores of one observation on given loadings.
///
/// A complete row is projected on one loading after the other, and deflated in between. A row with gaps is regressed on
/// the loadings by a small PLS model, variables as samples and only as many components as the row supports, which needs
/// no inverse. A value type; GetT may be called from several threads.
class VORAN_EXPORT ScoreEstimator {
 public:
  /// Pprim: components x variables. The limit is that of the PLS models.
  ScoreEstimator(const NCDataMatrix<float>& Pprim, int iterationLimit);

  /// Fills t (one element per component, its size set by the caller) for the row x (one element per variable). Without
  /// components t stays as it is. A row of which nothing can be said gets zeros.
  void GetT(NCDataVector<float>& t, const NCDataVector<float>& x) const;

 private:
  // Deliberately spelt so.
  void EstimateWhitoutMisVal(NCDataVector<float>& t, const NCDataVector<float>& x) const;
  void EstimateWhitMisVal(NCDataVector<float>& t, const NCDataVector<float>& x) const;

  NCDataMatrix<float> P_;
  NCDataMatrix<float> Pprim_;
  std::int32_t iterationLimit_;
};

}  // namespace voran
