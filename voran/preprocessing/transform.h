#pragma once

#include <cstddef>
#include <istream>
#include <string>
#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/integral_vector.h"
#include "voran/export.h"
#include "voran/platform/streamable.h"
#include "voran/preprocessing/transform_errors.h"
#include "voran/preprocessing/transform_struct.h"
#include "voran/preprocessing/transform_type.h"

inline namespace voran {

/// The transforms of the columns of a matrix, to be applied before it is scaled:
///
///     NCTransform transform(x.SizeColumns());
///     transform[3].SetTransform(TransformE::kLog);
///     transform[3].SetConstant(1, 1.0f);
///     transform[3].SetConstant(2, 0.0f);
///     transform.TransformMatrix(&x);
///
/// A value type. Columns are counted from 1 and not checked.
class VORAN_EXPORT NCTransform : public StreamWalk<NCTransform> {
 public:
  /// No columns.
  NCTransform() = default;
  /// Nothing is done to any column.
  explicit NCTransform(int columns);

  int Size() const { return transforms_.empty() ? 0 : static_cast<int>(transforms_.size()) - 1; }
  TransformStruct& operator[](int column) { return transforms_[static_cast<std::size_t>(column)]; }
  const TransformStruct& operator[](int column) const { return transforms_[static_cast<std::size_t>(column)]; }

  /// Throws NCTransformError for the first value that fails, in the first column that has one, or for a matrix of
  /// another width. That column is transformed then, what failed in it is missing, and the columns behind it are left
  /// alone.
  void TransformMatrix(NCDataMatrix<float>* matrix) const;
  /// Transforms every column, and tells all that failed, column by column; null if nothing did. A matrix of another
  /// width is left alone, and told as row 0 and column 0. The caller owns the result.
  NCTransformErrors* TransformMatrixNoBreak(NCDataMatrix<float>* matrix) const;

  void RemoveValues(int first, int count);
  /// Removes the listed columns, in any order; one that does not exist is ignored.
  void Remove(const NCIntegralVector<int, -99>& columns);

  static std::string GetTransformString(TransformE::Transform transform) {
    return TransformE::GetTransformName(transform);
  }

  /// Reads the older flat form: the number of columns, then type and four constants of each, four bytes every one. On
  /// failure there are no columns.
  bool ReadTransforms(std::istream& stream);

  // Persistence. The walk is explained at VStreamBase, the bytes in docs/file_formats.md.

  /// The identity "NCT", version 2; readers accept no other version. After a failure there are no columns, unless the
  /// header had been refused.
  static DerivedStreamableData MyStreamableData;

 protected:
  friend class StreamWalk<NCTransform>;

  bool VStreamableWrite(std::ostream& stream);
  bool VStreamableRead(std::istream& stream);

 private:
  bool ReadStreamDirectory(std::istream& stream);

  std::vector<TransformStruct> transforms_;  ///< of which the first, if there is one, is not used
};

}  // namespace voran
