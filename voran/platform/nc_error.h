#pragma once

#include <cstdint>
#include <string>

#include "voran/export.h"
#include "voran/platform/exception.h"
#include "voran/platform/exception_message.h"

inline namespace voran {

/// What the user can act on: unsuitable data, a model that cannot be computed, in a few places a cancelled run.
///
/// what() is the message, in the user's language.
class VORAN_EXPORT NCError : public Exception {
 public:
  /// How far the trouble reaches. A host may hold it as a 32-bit integer.
  enum class Level : std::int32_t {
    kCancel = 0,           ///< the user broke off, seen at the end of a PLS iteration
    kZeroCorrelation = 1,  ///< X and Y have nothing in common that PLS could use; the components so far stand
    kGeneral = 2,          ///< everything else
  };

  NCError() = default;
  NCError(const ExceptionMessage& message, Level level);
  NCError(const ExceptionMessageList& messages, Level level);
  NCError(const NCError&) = default;
  NCError& operator=(const NCError&) = default;
  ~NCError() override;

  Level GetLevel() const noexcept { return level_; }

 private:
  Level level_ = Level::kGeneral;
};

/// Misuse by the calling program: a fault to be mended there, not one for the user.
class VORAN_EXPORT NCInternalError : public Exception {
 public:
  /// `location` is the function that noticed, as in "NCDataMatrix<FloatType>::ConcatRows". what() is the location,
  /// followed by ": " and the message if there is one.
  explicit NCInternalError(const std::string& location);
  NCInternalError(const std::string& location, const ExceptionMessage& message);
  ~NCInternalError() override;
};

}  // namespace voran
