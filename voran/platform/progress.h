#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "voran/export.h"
#include "voran/platform/progress_display.h"

inline namespace voran {
namespace detail {
class ProgressEntry;
}

/// Tells how far a long operation has come, and learns whether the user wants it stopped.
///
/// It is passed down by pointer; null means neither progress nor cancel. Its own range of values maps to 0..1. A range
/// without a length has no position: -1 to 0 by convention, equal ends, or ends that are not finite.
///
/// Threads: one object is used by one thread, except IsBreakPressed, RequestCancel and ClearCancel, which any may call.
/// Only objects made on the thread that installed the display appear on it; one made elsewhere shows nothing, and still
/// sees a cancel. Where nothing is shown a call costs a few nanoseconds and allocates nothing, but for the first
/// PushSubRange of a depth.
class VORAN_EXPORT NCProgress {
 public:
  /// Begins to show `text` under `title` (null is empty). The flags go to the display as they are.
  NCProgress(const char* text, float min, float max, bool flag1, bool flag2, bool flag3, const char* title);
  NCProgress(const NCProgress&) = delete;
  NCProgress& operator=(const NCProgress&) = delete;
  /// Ends the showing. On the same thread as the constructor, and never throws.
  ~NCProgress();

  /// New ends of the current range, with the position at `min`. `max` may be below `min`.
  void SetRange(float min, float max);
  /// The position in the current range; what lies outside counts as the nearer end, a NaN changes nothing.
  /// False once a cancel was asked.
  bool SetValue(float value);
  /// A null pointer is an empty text.
  void SetText(const char* text);

  /// Makes `from`..`to` of the current range the whole of a new one, which runs over 0..1 until SetRange says
  /// otherwise. False once a cancel was asked; the range is pushed all the same.
  bool PushSubRange(float from, float to);
  /// Back to the enclosing range, with the position at the end of the stretch that is left. False once a cancel was
  /// asked (the range is popped all the same), or if nothing was pushed.
  bool PopSubRange();

  /// A sign of life from work of unknown length. False once a cancel was asked.
  bool NextSpin();
  void SpinDone();

  /// Whether a cancel was asked: of this object, of everything, or through the display. True stays until cleared.
  bool IsBreakPressed();

  /// Asks this object to stop. From any thread, or from a signal handler.
  void RequestCancel() noexcept { isCancelled_.store(true, std::memory_order_relaxed); }
  /// Withdraws it, before the object is used for another job.
  void ClearCancel() noexcept { isCancelled_.store(false, std::memory_order_relaxed); }

  /// Asks everything under way, and whatever begins before ClearCancelAll, to stop. From any thread or signal handler.
  static void RequestCancelAll() noexcept;
  /// For the next job, when the cancelled one has returned.
  static void ClearCancelAll() noexcept;

  /// Installs the process's display, driven from the calling thread, and returns the one before; null is none.
  /// Objects that exist keep the display they began on, and share its ownership.
  static std::shared_ptr<ProgressDisplay> SetDisplay(std::shared_ptr<ProgressDisplay> display);

 private:
  // A range of values, and the stretch of the whole (0..1) that it maps to.
  struct Range {
    float min;
    float max;
    double start;
    double span;

    bool HasLength() const;
    double FractionOf(float value) const;
  };

  void MoveTo(double fraction);

  std::atomic<bool> isCancelled_{false};
  Range range_;
  std::vector<Range> enclosing_;
  std::shared_ptr<ProgressDisplay> display_;      // to ask for a cancel; null if none is installed
  std::unique_ptr<detail::ProgressEntry> entry_;  // null if nothing of this object is shown
};

}  // namespace voran
