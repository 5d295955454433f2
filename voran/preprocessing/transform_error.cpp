#include "voran/preprocessing/transform_error.h"

inline namespace voran {

NCTransformError::NCTransformError(int row, int column, Error error, const ExceptionMessage& message)
    : NCError(message, Level::kGeneral), column_(column), row_(row), error_(error) {}

NCTransformError::~NCTransformError() = default;

NCTransformError* NCTransformError::Clone() const {
  return new NCTransformError(*this);
}

}  // namespace voran
