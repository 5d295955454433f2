#pragma once

#include <chrono>
#include <memory>
#include <thread>

#include "voran/platform/progress_display.h"

inline namespace voran {
namespace detail {

class ProgressEntry;

/// One installation of a display: the thread that drives it, the work that is under way on it, and its pace.
///
/// All but the const members belong to the driving thread.
class DisplaySession {
 public:
  explicit DisplaySession(std::shared_ptr<ProgressDisplay> display);

  const std::shared_ptr<ProgressDisplay>& Display() const { return display_; }
  bool IsDrivenFromThisThread() const { return driver_ == std::this_thread::get_id(); }

 private:
  friend class ProgressEntry;
  using Clock = std::chrono::steady_clock;
  using Callback = void (ProgressDisplay::*)(const ProgressView&);

  // Whether it is time for a callback. Up to `advance` callbacks may be drawn before their time.
  bool Admits(int advance);
  void Call(Callback callback, const ProgressView& view) noexcept;

  const std::shared_ptr<ProgressDisplay> display_;
  const std::thread::id driver_ = std::this_thread::get_id();
  const Clock::duration interval_;
  Clock::time_point nextCall_{};
  ProgressEntry* innermost_ = nullptr;
  bool isCalling_ = false;  // inside a callback: what the display itself sets in motion is not shown
  bool isBroken_ = false;   // the display has thrown
};

/// What one NCProgress has on the display. Driving thread only.
class ProgressEntry {
 public:
  /// `view` gives texts and flags; the depth is found here.
  ProgressEntry(std::shared_ptr<DisplaySession> session, ProgressView view);
  ProgressEntry(const ProgressEntry&) = delete;
  ProgressEntry& operator=(const ProgressEntry&) = delete;
  ~ProgressEntry();

  void SetText(const char* text);
  void MoveTo(double fraction, bool isLengthKnown);
  void Spin();
  void SpinDone();

 private:
  void BeginOnce() noexcept;
  void Show(DisplaySession::Callback callback) noexcept;
  void Unlink();

  const std::shared_ptr<DisplaySession> session_;
  ProgressEntry* outer_;
  ProgressView view_;
  bool hasBegun_ = false;
  bool isSpinning_ = false;
};

}  // namespace detail
}  // namespace voran
