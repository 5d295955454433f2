#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "voran/containers/data_matrix.h"
#include "voran/export.h"
#include "voran/platform/streamable.h"
#include "voran/preprocessing/transform_error.h"
#include "voran/preprocessing/transform_errors.h"
#include "voran/preprocessing/transform_type.h"

inline namespace voran {

class ConfigurationSection;

/// The transform of one column: its type and constants. By default a value stays as it is.
///
/// A plain value; the functions are those of TransformE. C1 x + C2 is formed in float, the function in double, and the
/// result rounded to float. A gap passes unchanged and is no error.
class VORAN_EXPORT TransformStruct : public StreamWalk<TransformStruct> {
 public:
  /// Type kNone, all constants -99.
  TransformStruct() = default;
  explicit TransformStruct(const TransformStruct* other) : TransformStruct(*other) {}

  /// Compares the type and all four constants.
  bool operator==(const TransformStruct& other) const;
  bool operator!=(const TransformStruct& other) const { return !(*this == other); }
  /// By the type, then by the constants from 0 on.
  bool operator<(const TransformStruct& other) const;

  TransformE::Transform GetTransform() const { return transform_; }
  void SetTransform(TransformE::Transform transform) { transform_ = transform; }
  /// False for kNone, and for a number that is no transform.
  bool ChangesValues() const { return transform_ >= TransformE::kLinear && transform_ <= TransformE::kPower; }
  std::string GetTransformName() const { return TransformE::GetTransformName(transform_); }
  /// Constants 1 to 3 are C1 to C3. Constant 0 is kept, stored and compared, and no formula uses it.
  float GetConstant(int i) const { return constants_[static_cast<std::size_t>(i)]; }
  void SetConstant(int i, float value) { constants_[static_cast<std::size_t>(i)] = value; }
  /// The four of them, entry i for constant i.
  float* GetConstants() { return constants_.data(); }
  const float* GetConstants() const { return constants_.data(); }

  /// kValueFailed, with the value then missing, where the function gives a NaN or nothing that a float could hold; the
  /// linear transform does not test for that.
  NCTransformError::Error TransformValue(float* value) const;
  /// The inverse function, with the same outcomes. Deliberately, a linear one with C1 = 0 fails and leaves the value as
  /// it is, and a power is not tested for what a float can hold.
  NCTransformError::Error BackTransformValue(float* value) const;

  /// Null if all went well; otherwise what failed, in the order of the rows, which the caller owns.
  NCTransformErrors* TransformColumn(NCDataMatrix<float>* matrix, int column) const;
  NCTransformErrors* BackTransformColumn(NCDataMatrix<float>* matrix, int column) const;

  /// The function with its constants, in plain text or in HTML; empty for kNone. Two oddities are deliberate: a
  /// negative C2 takes the place of the whole linear term ("10log( - 5)"), and the plain text of kLogit ends in
  /// boost::io::too_many_args.
  std::string ToString(bool html) const;

  /// Reads "TransformType" and "Constants"; changes nothing unless both are there.
  void Load(const ConfigurationSection* section);
  void Save(ConfigurationSection* section) const;

  /// Reads a record of the older form: the type, C1, C2, C3, four bytes each. On failure nothing is changed.
  std::istream& OldRead(std::istream& stream);

  // Persistence. The walk is explained at VStreamBase, the bytes in docs/file_formats.md.

  /// The identity "TS", version 1; readers accept no other version. On failure nothing is changed.
  static DerivedStreamableData MyStreamableData;

 protected:
  friend class StreamWalk<TransformStruct>;

  bool VStreamableWrite(std::ostream& stream);
  bool VStreamableRead(std::istream& stream);

 private:
  bool ReadStreamDirectory(std::istream& stream);
  /// C1 x + C2, and the x that gives y.
  float LinearTerm(float x) const { return x * constants_[1] + constants_[2]; }
  double InverseLinearTerm(double y) const;
  NCTransformError::Error BackFromLinearTerm(double y, float* value) const;
  /// "x" with C1 and C2, as in "2*x + 3".
  std::string LinearText() const;
  std::string LogitText(bool html) const;
  std::string PowerText(bool html) const;

  std::array<float, 4> constants_ = {-99.0f, -99.0f, -99.0f, -99.0f};
  TransformE::Transform transform_ = TransformE::kNone;
};

}  // namespace voran
