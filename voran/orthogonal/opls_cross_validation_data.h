#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <ostream>
#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/export.h"

inline namespace voran {

/// What an OPLS cross-validation needs to go on later: the weights and loadings of every round's model. Together with
/// X, Y and the groups it restores the models.
///
/// A value. The streams are binary and must be able to seek; docs/file_formats.md tells the bytes.
class VORAN_EXPORT OPLSCrossvalidationData {
 public:
  /// Nothing.
  OPLSCrossvalidationData() = default;
  /// Room for so many rounds, and the sums of squares of the columns of Y.
  OPLSCrossvalidationData(int rounds, const NCDataMatrix<float>& Y);

  /// Empties everything; the vectors keep their capacity.
  void clear();

  /// False if the stream fails.
  bool WriteObject(std::ostream& stream) const;
  /// False if the stream fails, holds something else or another version, or is damaged: ReadVersion apart, the object
  /// is then as it was. Matrices that do not fit together count as damage.
  bool ReadObject(std::istream& stream);

  // One entry per round.

  /// The weights, X loadings and Y loadings of each stage, as NCOPLS::GetWMatrices and so on.
  std::vector<std::vector<NCDataMatrix<float>>> WSets;
  std::vector<std::vector<NCDataMatrix<float>>> PSets;
  std::vector<std::vector<NCDataMatrix<float>>> CSets;
  /// Those of the orthogonal components, one matrix each.
  std::vector<NCDataMatrix<float>> WOSets;
  std::vector<NCDataMatrix<float>> POSets;
  std::vector<NCDataMatrix<float>> COSets;

  /// The sum of squares about 0 of each column of the whole Y; missing for one without data.
  NCDataVector<float> SSYColumnSS;
  /// The version in the header that ReadObject met.
  std::uint16_t ReadVersion = 0;

  static constexpr std::uint16_t Version = 1;
  static constexpr const char* Magic = "OPLSCVD";

 private:
  bool UnLoad(std::ostream& stream) const;
  bool ReLoad(std::istream& stream);
  bool FitsTogether() const;
  bool StagesFitTogether(std::size_t round, int variables) const;
  bool OrthogonalFitTogether(std::size_t round, int variables) const;
};

}  // namespace voran
