#include "voran/preprocessing/transform_struct.h"

#include <cmath>
#include <limits>
#include <memory>
#include <tuple>

#include "voran/containers/missing_value.h"
#include "voran/platform/configuration_section.h"

inline namespace voran {

using detail::kMissing;

bool TransformStruct::operator==(const TransformStruct& other) const {
  return transform_ == other.transform_ && constants_ == other.constants_;
}

bool TransformStruct::operator<(const TransformStruct& other) const {
  return std::tie(transform_, constants_) < std::tie(other.transform_, other.constants_);
}

// Values.

namespace {

/// Neither a NaN nor denormal, and no larger than `largest`. Comparisons, since a table has a value in every cell.
bool IsSound(double y, double largest = std::numeric_limits<double>::max()) {
  const double size = std::abs(y);
  return (size >= std::numeric_limits<double>::min() && size <= largest) || size == 0.0;
}

NCTransformError::Error Fail(float* value) {
  *value = kMissing<float>;
  return NCTransformError::kValueFailed;
}

/// Stores a sound number that a float can hold.
NCTransformError::Error Store(double y, float* value) {
  if (!IsSound(y, std::numeric_limits<float>::max())) return Fail(value);
  *value = static_cast<float>(y);
  return NCTransformError::kNoError;
}

}  // namespace

double TransformStruct::InverseLinearTerm(double y) const {
  return (y - static_cast<double>(constants_[2])) / static_cast<double>(constants_[1]);
}

NCTransformError::Error TransformStruct::TransformValue(float* value) const {
  if (*value == kMissing<float>) return NCTransformError::kNoError;
  const float linearTerm = LinearTerm(*value);
  const auto linear = static_cast<double>(linearTerm);
  switch (transform_) {
    case TransformE::kNone:
      break;
    case TransformE::kLinear:
      *value = linearTerm;
      break;
    case TransformE::kLog:
      return Store(std::log10(linear), value);
    case TransformE::kNegLog:
      return Store(-std::log10(linear), value);
    case TransformE::kLogit: {
      const auto below = static_cast<double>(constants_[2] - *value);
      const auto above = static_cast<double>(*value - constants_[1]);
      return below == 0.0 ? Fail(value) : Store(std::log10(above / below), value);
    }
    case TransformE::kExponential:
      return Store(std::exp(linear), value);
    case TransformE::kPower:
      return Store(std::pow(linear, static_cast<double>(constants_[3])), value);
  }
  return NCTransformError::kNoError;
}

NCTransformError::Error TransformStruct::BackTransformValue(float* value) const {
  if (*value == kMissing<float>) return NCTransformError::kNoError;
  const auto x = static_cast<double>(*value);
  switch (transform_) {
    case TransformE::kNone:
      break;
    case TransformE::kLinear:
      if (constants_[1] == 0.0f) return NCTransformError::kValueFailed;
      *value = (*value - constants_[2]) / constants_[1];
      break;
    case TransformE::kLog:
      return BackFromLinearTerm(std::pow(10.0, x), value);
    case TransformE::kNegLog:
      return BackFromLinearTerm(std::pow(10.0, -x), value);
    case TransformE::kLogit: {
      const double y = std::pow(10.0, x);
      const auto c1 = static_cast<double>(constants_[1]);
      const auto c2 = static_cast<double>(constants_[2]);
      return IsSound(y) ? Store((c2 * y + c1) / (y + 1.0), value) : Fail(value);
    }
    case TransformE::kExponential:
      return BackFromLinearTerm(static_cast<double>(std::log(*value)), value);
    case TransformE::kPower: {
      const double y = std::pow(x, 1.0 / static_cast<double>(constants_[3]));
      if (!IsSound(y) || constants_[1] == 0.0f) return Fail(value);
      *value = static_cast<float>(InverseLinearTerm(y));
      break;
    }
  }
  return NCTransformError::kNoError;
}

/// With C1 = 0 there is no sound inverse.
NCTransformError::Error TransformStruct::BackFromLinearTerm(double y, float* value) const {
  return IsSound(y) ? Store(InverseLinearTerm(y), value) : Fail(value);
}

// Columns.

namespace {

/// Puts every element of the column through change(&value), which leaves a gap as it is: so a count changes only where
/// there is a new gap.
template <class Change>
NCTransformErrors* ChangeColumn(NCDataMatrix<float>& matrix, int column, bool transform, const Change& change) {
  auto errors = std::make_unique<NCTransformErrors>();
  for (int i = 1; i <= matrix.SizeRows(); ++i) {
    float* const row = matrix(i).GetWritableVector();
    float value = row[column];
    const NCTransformError::Error error = change(&value);
    if (error != NCTransformError::kNoError) errors->AddError(i, column, error, transform);
    if (value == kMissing<float>) {
      matrix(i, column, value);
    } else {
      row[column] = value;
    }
  }
  return errors->size() == 0 ? nullptr : errors.release();
}

}  // namespace

NCTransformErrors* TransformStruct::TransformColumn(NCDataMatrix<float>* matrix, int column) const {
  if (!ChangesValues()) return nullptr;
  return ChangeColumn(*matrix, column, true, [this](float* value) { return TransformValue(value); });
}

NCTransformErrors* TransformStruct::BackTransformColumn(NCDataMatrix<float>* matrix, int column) const {
  if (!ChangesValues()) return nullptr;
  return ChangeColumn(*matrix, column, false, [this](float* value) { return BackTransformValue(value); });
}

// Settings.

namespace {

const char* const kTypeKey = "TransformType";
const char* const kConstantsKey = "Constants";

}  // namespace

void TransformStruct::Load(const ConfigurationSection* section) {
  int type = 0;
  std::array<float, 4> constants{};
  if (!section->GetInt(kTypeKey, type)) return;
  if (!section->GetFloats(kConstantsKey, constants.data(), static_cast<int>(constants.size()))) return;
  transform_ = static_cast<TransformE::Transform>(type);
  constants_ = constants;
}

void TransformStruct::Save(ConfigurationSection* section) const {
  section->SetInt(kTypeKey, transform_);
  section->SetFloats(kConstantsKey, constants_.data(), static_cast<int>(constants_.size()));
}

}  // namespace voran
