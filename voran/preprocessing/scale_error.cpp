#include "voran/preprocessing/scale_error.h"

inline namespace voran {

NCScaleError::NCScaleError(int column, Error code, const ExceptionMessage& message)
    : NCError(message, Level::kGeneral), column_(column), error_(code) {}

NCScaleError::~NCScaleError() = default;

NCScaleError* NCScaleError::Clone() const {
  return new NCScaleError(*this);
}

}  // namespace voran
