#pragma once

#include "voran/platform/nc_error.h"

inline namespace voran {
namespace Sta {
namespace detail {

// The reasons that more than one place has.
inline constexpr const char* kTooManyNodes =
    "LDKEY is too small for this problem.\nTry increasing the size of the workspace.";
inline constexpr const char* kKeyTooLarge =
    "The hash table key cannot be computed because the largest key\nis larger than the largest representable int.\n"
    "The algorithm cannot proceed.\nReduce the workspace size or use another algorithm.";

/// Raises the error of the exact test with `text` as its reason.
[[noreturn]] inline void FailExactTest(const char* text) {
  throw NCError(ExceptionMessage::translate("Error in fexact.\n{1}") % text, NCError::Level::kGeneral);
}

}  // namespace detail
}  // namespace Sta
}  // namespace voran
