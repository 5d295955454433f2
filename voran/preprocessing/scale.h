#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"
#include "voran/export.h"
#include "voran/platform/streamable.h"

inline namespace voran {

/// How the columns of a matrix are centred and scaled, learnt from one matrix and then applied to others of its kind:
///
///     NCScale scale(x.SizeColumns());
///     for (int j = 1; j <= scale.Size(); ++j) scale.SetType(j, NCScale::kUnitVariance);
///     scale.ScaleMatrix(&x, true);      // learns from x, and scales it
///     scale.ScaleMatrix(&fresh, false);
///
/// A value becomes (value - mean) * scale, each step rounded to float; a gap stays a gap, and a value that lies exactly
/// 99 below its mean does not become one: it counts as -99.00001. A mean or scale that is missing changes nothing:
/// until a column is learnt, it is left as it is. Results are turned back into the units of the data by the caller,
/// from GetMeans() and GetScales().
///
/// Assignment copies pointers: both objects then hold the same vectors, only one of them may be destroyed, and what the
/// target held before is not freed. This is deliberate; the copy constructor makes an independent object.
///
/// Columns are counted from 1 and not checked. A scaling is used by one thread; the kernels use several.
class VORAN_EXPORT NCScale : public StreamWalk<NCScale> {
 public:
  /// What is done to a column with mean m and standard deviation s (with n - 1, n its present values). A stream may
  /// bring other numbers: such a column counts as "None", but keeps the mean and scale that came with it.
  enum Scaling : std::int32_t {
    kNone = 1,
    kCenter = 2,        ///< x - m
    kPareto = 3,        ///< (x - m) / sqrt(s)
    kUnitVariance = 4,  ///< (x - m) / s
  };

  /// No columns.
  NCScale();
  /// Every column of type kNone.
  explicit NCScale(int columns);
  NCScale(const NCScale& other);
  NCScale& operator=(const NCScale& other) = default;
  ~NCScale() override;

  /// With `newModel`, learns means and scales from the matrix first, which may have further columns behind those of
  /// this scaling: they are left alone. Otherwise applies what is known.
  ///
  /// Throws NCScaleError if the matrix has another number of columns ("The matrix has the wrong number of columns.";
  /// only without `newModel`), and for a column of type kPareto or kUnitVariance with fewer than two values ("Too few
  /// non missing values."), without variation ("Too little variance.") or with a factor below 1e-35 ("The values are
  /// too large."). A column at fault leaves the matrix centred but not scaled, and the columns before it learnt: who
  /// wants the matrix back keeps a copy.
  ///
  /// Cost: a reading of the matrix for the means, one for the scales, and a pass for each of them to apply it; what no
  /// column asks for is left out.
  void ScaleMatrix(NCDataMatrix<float>* matrix, bool newModel);

  /// A change of type makes the mean and scale of the column missing; the type that it has already changes nothing.
  void SetType(int column, Scaling type);
  Scaling GetScaleType(int column) const { return types_[column]; }
  int Size() const { return size_; }
  /// What is subtracted from each column, and what it then is multiplied by; missing where nothing is.
  const NCDataVector<float>& GetMeans() const { return *means_; }
  const NCDataVector<float>& GetScales() const { return *scales_; }

  /// "None", "Center", "Pareto" or "Unit variance", in the user's language; "None" for any other number.
  static std::string GetScaleString(Scaling type);

  void RemoveValues(int first, int count);
  /// Removes the listed columns, in any order; Size() falls by the length of the list, so each is listed once.
  void Remove(const NCIntegralVector<int, -99>& columns);

  // Persistence. The walk is explained at VStreamBase, the bytes in docs/file_formats.md.

  /// The identity "NCS", version 2; readers accept no other version. After a failure there are no columns, unless the
  /// header had been refused.
  static DerivedStreamableData MyStreamableData;

 protected:
  friend class StreamWalk<NCScale>;

  bool VStreamableWrite(std::ostream& stream);
  bool VStreamableRead(std::istream& stream);

 private:
  NCScale(std::unique_ptr<NCDataVector<float>> means, std::unique_ptr<NCDataVector<float>> scales);

  void ScaleWithNewModel(NCDataMatrix<float>& matrix);
  void ScaleWithCurrentModel(NCDataMatrix<float>& matrix);
  void LearnMeans(const NCDataMatrix<float>& matrix);
  void LearnScales(const NCDataMatrix<float>& centred);
  void ReadStreamDirectory(std::istream& stream);

  NCDataVector<float>* means_;
  NCDataVector<float>* scales_;
  Scaling* types_;  ///< at least size_ + 1 elements, of which the first is not used
  std::int32_t size_;
};

}  // namespace voran
