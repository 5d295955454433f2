#pragma once

#include <cstdint>

#include "voran/export.h"
#include "voran/platform/exception_message.h"
#include "voran/platform/nc_error.h"

inline namespace voran {

/// Why a matrix could not be scaled, and which column is at fault. The level is always kGeneral.
class VORAN_EXPORT NCScaleError : public NCError {
 public:
  /// The gaps in the numbering belong to codes that are no longer in use.
  enum Error : std::int32_t {
    kTooFewValues = 2,
    kTooLittleVariance = 3,
    kValuesTooLarge = 4,
    kWrongNumberOfColumns = 6,
  };

  NCScaleError(int column, Error code, const ExceptionMessage& message);
  NCScaleError(const NCScaleError&) = default;
  NCScaleError& operator=(const NCScaleError&) = default;
  ~NCScaleError() override;

  /// A copy, which the caller owns.
  virtual NCScaleError* Clone() const;

  /// Counted from 1; 0 where no single column is meant.
  int GetColumn() const noexcept { return column_; }
  Error GetError() const noexcept { return error_; }

 private:
  std::int32_t column_;
  Error error_;
};

}  // namespace voran
