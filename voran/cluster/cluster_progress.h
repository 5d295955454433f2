#pragma once

#include <string>

#include "voran/platform/progress.h"

inline namespace voran {
namespace DendroGram {
namespace detail {

// All of it does nothing where there is no progress, that is, where the pointer is null.

/// Throws NCError if the user wants to stop.
void ThrowOnBreak(NCProgress* progress);

void SetText(NCProgress* progress, const std::string& text);
void SetValue(NCProgress* progress, float value);

/// A stretch of a progress, given back at the end and after an error.
class SubRange {
 public:
  SubRange(NCProgress* progress, float from, float to) : progress_(progress) {
    if (progress_ != nullptr) progress_->PushSubRange(from, to);
  }
  ~SubRange() {
    if (progress_ != nullptr) progress_->PopSubRange();
  }

  SubRange(const SubRange&) = delete;
  SubRange& operator=(const SubRange&) = delete;

 private:
  NCProgress* progress_;
};

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
