#pragma once

#include <cstdint>

#include "voran/export.h"
#include "voran/platform/exception_message.h"
#include "voran/platform/nc_error.h"

inline namespace voran {

/// Why a matrix could not be transformed, and which cell is at fault. The level is always kGeneral.
class VORAN_EXPORT NCTransformError : public NCError {
 public:
  enum Error : std::int32_t {
    kNoError = 1,
    kValueFailed = 2,  ///< the function has no finite value there that a float could hold
    kWrongSize = 3,    ///< the matrix has another number of columns
  };

  NCTransformError() = default;
  NCTransformError(int row, int column, Error error, const ExceptionMessage& message);
  NCTransformError(const NCTransformError&) = default;
  NCTransformError& operator=(const NCTransformError&) = default;
  ~NCTransformError() override;

  /// A copy, which the caller owns.
  virtual NCTransformError* Clone() const;

  /// Counted from 1; 0 where no single cell is meant.
  int GetRow() const noexcept { return row_; }
  int GetColumn() const noexcept { return column_; }
  Error GetError() const noexcept { return error_; }

 private:
  std::int32_t column_ = 0;
  std::int32_t row_ = 0;
  Error error_ = kNoError;
};

}  // namespace voran
