#include "voran/preprocessing/transform.h"

#include <memory>

#include "voran/containers/position_list.h"
#include "voran/platform/exception_message.h"

inline namespace voran {

NCTransform::NCTransform(int columns) : transforms_(static_cast<std::size_t>(columns) + 1) {}

void NCTransform::TransformMatrix(NCDataMatrix<float>* matrix) const {
  if (matrix->SizeColumns() != Size()) {
    throw NCTransformError(0, 0, NCTransformError::kWrongSize, ExceptionMessage::translate("Matrix is of wrong size."));
  }
  for (int j = 1; j <= Size(); ++j) {
    const std::unique_ptr<NCTransformErrors> errors((*this)[j].TransformColumn(matrix, j));
    if (errors) throw NCTransformErrors::GetTransformError(*errors->begin());
  }
}

NCTransformErrors* NCTransform::TransformMatrixNoBreak(NCDataMatrix<float>* matrix) const {
  auto all = std::make_unique<NCTransformErrors>();
  if (matrix->SizeColumns() != Size()) {
    all->AddError(0, 0, NCTransformError::kWrongSize, true);
    return all.release();
  }
  for (int j = 1; j <= Size(); ++j) {
    const std::unique_ptr<NCTransformErrors> errors((*this)[j].TransformColumn(matrix, j));
    if (errors) all->AppendErrors(*errors);
  }
  return all->size() == 0 ? nullptr : all.release();
}

void NCTransform::RemoveValues(int first, int count) {
  const auto begin = transforms_.begin() + first;
  transforms_.erase(begin, begin + count);
}

void NCTransform::Remove(const NCIntegralVector<int, -99>& columns) {
  if (transforms_.empty()) return;
  const int kept = detail::RemoveAt(columns, transforms_.data(), Size());
  transforms_.resize(static_cast<std::size_t>(kept) + 1);
}

}  // namespace voran
