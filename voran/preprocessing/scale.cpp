#include "voran/preprocessing/scale.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "voran/containers/column_sums.h"
#include "voran/containers/kernels/elementwise.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/parallel.h"
#include "voran/containers/position_list.h"
#include "voran/containers/writable_elements.h"
#include "voran/platform/exception_message.h"
#include "voran/preprocessing/scale_error.h"

inline namespace voran {

using detail::kMissing;

NCScale::NCScale() : NCScale(0) {}

NCScale::NCScale(int columns)
    : NCScale(std::make_unique<NCDataVector<float>>(columns), std::make_unique<NCDataVector<float>>(columns)) {
  std::fill_n(types_ + 1, size_, kNone);
}

NCScale::NCScale(const NCScale& other)
    : NCScale(std::make_unique<NCDataVector<float>>(*other.means_),
              std::make_unique<NCDataVector<float>>(*other.scales_)) {
  std::copy_n(other.types_ + 1, size_, types_ + 1);
}

/// The types are for the caller to fill in.
NCScale::NCScale(std::unique_ptr<NCDataVector<float>> means, std::unique_ptr<NCDataVector<float>> scales)
    : types_(new Scaling[static_cast<std::size_t>(scales->Size()) + 1]), size_(scales->Size()) {
  means_ = means.release();
  scales_ = scales.release();
}

NCScale::~NCScale() {
  delete means_;
  delete scales_;
  delete[] types_;
}

// Columns.

void NCScale::SetType(int column, Scaling type) {
  if (types_[column] == type) return;
  (*means_)(column, kMissing<float>);
  (*scales_)(column, kMissing<float>);
  types_[column] = type;
}

std::string NCScale::GetScaleString(Scaling type) {
  const auto translated = [](const char* text) { return detail::TranslateText(text, "Scale type"); };
  switch (type) {
    case kCenter:
      return translated("Center");
    case kPareto:
      return translated("Pareto");
    case kUnitVariance:
      return translated("Unit variance");
    case kNone:
      break;
  }
  return translated("None");
}

void NCScale::RemoveValues(int first, int count) {
  means_->RemoveValues(first, count);
  scales_->RemoveValues(first, count);
  std::copy(types_ + first + count, types_ + size_ + 1, types_ + first);
  size_ -= count;
}

void NCScale::Remove(const NCIntegralVector<int, -99>& columns) {
  detail::RemoveAt(columns, types_, scales_->Size());
  means_->Remove(columns);
  scales_->Remove(columns);
  size_ -= columns.Size();
}

// Scaling.

namespace {

bool IsScaledByDeviation(NCScale::Scaling type) {
  return type == NCScale::kPareto || type == NCScale::kUnitVariance;
}

bool IsCentred(NCScale::Scaling type) {
  return type == NCScale::kCenter || IsScaledByDeviation(type);
}

NCScaleError TooLittleVariance(int column) {
  return {column, NCScaleError::kTooLittleVariance,
          ExceptionMessage::translate("Could not scale matrix. Too little variance.")};
}

/// The factor of a column with `present` values, whose squared differences from the mean add up to `squares`.
float FactorOf(NCScale::Scaling type, int column, int present, double squares) {
  constexpr double kLargestFactor = 1e35;
  constexpr double kSmallestFactor = 1e-35;
  if (squares == 0.0) throw TooLittleVariance(column);
  const double deviation = std::sqrt(squares / (present - 1));
  const double factor = 1.0 / (type == NCScale::kPareto ? std::sqrt(deviation) : deviation);
  if (factor > kLargestFactor) throw TooLittleVariance(column);
  if (factor < kSmallestFactor) {
    throw NCScaleError(column, NCScaleError::kValuesTooLarge,
                       ExceptionMessage::translate("Could not scale matrix. The values are too large."));
  }
  return static_cast<float>(factor);
}

bool HasValues(const NCDataVector<float>& v) {
  return std::any_of(v.begin(), v.end(), [](float x) { return x != kMissing<float>; });
}

/// `v` for a matrix of so many columns, with `neutral` where it has nothing, or is null.
NCDataVector<float> Filled(int columns, const NCDataVector<float>* v, float neutral) {
  NCDataVector<float> filled(columns, neutral);
  for (int j = 1; v != nullptr && j <= v->Size(); ++j) {
    if ((*v)[j] != kMissing<float>) filled(j, (*v)[j]);
  }
  return filled;
}

/// Subtracts the means and multiplies by the scales, row by row, on several threads. What is null, or has no values, is
/// not asked for; if nothing is, no pass is made. A gap stays one, and nothing becomes one.
void CenterAndMultiply(NCDataMatrix<float>& matrix, const NCDataVector<float>* means,
                       const NCDataVector<float>* scales) {
  const auto isAsked = [](const NCDataVector<float>* v) { return v != nullptr && HasValues(*v); };
  if (!isAsked(means) && !isAsked(scales)) return;
  const int columns = matrix.SizeColumns();
  const NCDataVector<float> terms = Filled(columns, means, 0.0f);
  const NCDataVector<float> factors = Filled(columns, scales, 1.0f);
  const auto& kernels = detail::ElementwiseKernels<float>::Current();
  matrix.ForceUnlink();
  std::vector<float*> rows;
  for (int i = 1; i <= matrix.SizeRows(); ++i) rows.push_back(detail::WritableElements(matrix(i)));
  detail::ParallelFor(
      matrix.SizeRows(), detail::ThreadsForMatrix(matrix.SizeRows(), columns, detail::kOneReading), [&](int i) {
        kernels.centreAndScale(rows[static_cast<std::size_t>(i)], terms.begin(), factors.begin(), columns);
      });
}

}  // namespace

void NCScale::ScaleMatrix(NCDataMatrix<float>* matrix, bool newModel) {
  if (newModel) {
    ScaleWithNewModel(*matrix);
  } else {
    ScaleWithCurrentModel(*matrix);
  }
}

void NCScale::ScaleWithNewModel(NCDataMatrix<float>& matrix) {
  assert(size_ <= matrix.SizeColumns());
  LearnMeans(matrix);
  CenterAndMultiply(matrix, means_, nullptr);
  LearnScales(matrix);
  CenterAndMultiply(matrix, nullptr, scales_);
}

void NCScale::ScaleWithCurrentModel(NCDataMatrix<float>& matrix) {
  if (size_ != matrix.SizeColumns()) {
    throw NCScaleError(
        0, NCScaleError::kWrongNumberOfColumns,
        ExceptionMessage::translate("Could not scale matrix. The matrix has the wrong number of columns."));
  }
  CenterAndMultiply(matrix, means_, scales_);
}

void NCScale::LearnMeans(const NCDataMatrix<float>& matrix) {
  NCDataVector<double> means;
  if (std::any_of(types_ + 1, types_ + size_ + 1, IsCentred)) means = matrix.GetColumnMeans();
  for (int j = 1; j <= size_; ++j) {
    if (types_[j] == kNone) {
      (*means_)(j, kMissing<float>);
    } else if (IsCentred(types_[j])) {
      (*means_)(j, static_cast<float>(means[j]));
    }
  }
}

/// Takes the sums of squares from the values as they were rounded when they were centred.
void NCScale::LearnScales(const NCDataMatrix<float>& centred) {
  std::vector<double> squares;
  if (std::any_of(types_ + 1, types_ + size_ + 1, IsScaledByDeviation)) {
    squares = detail::ColumnSquaresAbout(centred, std::vector<double>(static_cast<std::size_t>(centred.SizeColumns())));
  }
  for (int j = 1; j <= size_; ++j) {
    if (types_[j] == kNone || types_[j] == kCenter) {
      (*scales_)(j, kMissing<float>);
    } else if (IsScaledByDeviation(types_[j])) {
      const int present = centred.SizeRows() - centred.GetColumnMisVal(j);
      if (present < 2) {
        throw NCScaleError(j, NCScaleError::kTooFewValues,
                           ExceptionMessage::translate("Could not scale matrix. Too few non missing values."));
      }
      (*scales_)(j, FactorOf(types_[j], j, present, squares[static_cast<std::size_t>(j - 1)]));
    }
  }
}

}  // namespace voran
