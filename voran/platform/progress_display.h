#pragma once

#include <array>
#include <chrono>
#include <string>

#include "voran/export.h"

inline namespace voran {

/// What a display has to know of one piece of work. Texts are UTF-8.
struct ProgressView {
  std::string title;
  std::string text;
  double fraction = 0.0;        ///< how much is done, 0 to 1, over all nested ranges; it may go back
  bool isLengthKnown = true;    ///< false if nobody can tell how long the work is; `fraction` then says nothing
  int depth = 0;                ///< 0 for the outermost work under way, 1 for work inside it, ...
  std::array<bool, 3> flags{};  ///< the flags given to NCProgress; they mean what the display takes them to mean
};

/// Shows progress to the user: a terminal's bar, a host's window, a recorder. Installed by NCProgress::SetDisplay.
///
/// The callbacks come from the driving thread only, the one that installed the display. Work may be nested: Begin and
/// End of the inner come between those of the outer, each told by its depth, and after an inner End the next outer one
/// is shown again. Callbacks are paced by UpdateInterval, and work that is over before its turn never shows. They
/// should be quick. Exceptions are swallowed, and a display that throws is called no more.
class VORAN_EXPORT ProgressDisplay {
 public:
  ProgressDisplay() = default;
  ProgressDisplay(const ProgressDisplay&) = delete;
  ProgressDisplay& operator=(const ProgressDisplay&) = delete;
  virtual ~ProgressDisplay();

  virtual void Begin(const ProgressView& view) = 0;
  /// The position or a text has changed, or spinning has ended.
  virtual void ShowPosition(const ProgressView& view) = 0;
  /// Work of unknown length is alive.
  virtual void ShowSpin(const ProgressView& view) = 0;
  virtual void End(const ProgressView& view) = 0;

  /// Whether the user wants to stop. Called from any thread that works, often, and without pacing: it should be no
  /// more than the read of an atomic.
  virtual bool IsCancelRequested() const noexcept { return false; }

  /// Least time between two calls, on average; a new text may come a little sooner. Asked once, when installed.
  virtual std::chrono::milliseconds UpdateInterval() const noexcept { return std::chrono::milliseconds(50); }
};

}  // namespace voran
