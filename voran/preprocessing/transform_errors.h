#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "voran/export.h"
#include "voran/platform/exception_message.h"
#include "voran/preprocessing/transform_error.h"

inline namespace voran {

/// The cells of a matrix that could not be transformed, in the order in which they were met.
class VORAN_EXPORT NCTransformErrors {
 public:
  struct Error {
    std::int32_t row;
    std::int32_t column;
    NCTransformError::Error error;
    bool transform;  ///< false for a transformation back
  };
  using value_type = Error;
  using const_iterator = std::vector<Error>::const_iterator;
  using iterator = const_iterator;

  void AddError(int row, int column, NCTransformError::Error error, bool transform);
  void AppendErrors(const NCTransformErrors& other);

  const_iterator begin() const noexcept { return errors_.begin(); }
  const_iterator end() const noexcept { return errors_.end(); }
  std::size_t size() const noexcept { return errors_.size(); }

  /// The exception that tells of this one cell.
  static NCTransformError GetTransformError(const Error& error);

  /// All of them for the user: a line each for the first hundred, and the number of the others.
  ExceptionMessageList GetErrorMessage() const;

 private:
  std::vector<Error> errors_;
};

}  // namespace voran
