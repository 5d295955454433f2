#pragma once

#include "voran/export.h"

inline namespace voran {
namespace NCMultiThreading {

/// The process-wide switch for parallel work inside the library, and the number of processors it may use.
///
/// At start: on if there is more than one processor, with all of them, and OpenMP's dynamic adjustment on. Results are
/// the same at every setting. To be changed between runs, not during one.
class VORAN_EXPORT ThreadingControl {
 public:
  ThreadingControl() = delete;

  static bool IsThreadingOn();
  /// Stores the flag and sets OpenMP's thread count: the stored number of processors if on, else 1.
  static void SetThreadingIsOn(bool on);

  static int GetNumberOfProcessors();
  /// Stores the number. OpenMP learns of it at the next SetThreadingIsOn(true).
  static void SetNumberOfProcessors(int n);

  /// Back to the state at start.
  static void Reset();
};

}  // namespace NCMultiThreading

namespace detail {

/// What every parallel region of the library names in num_threads: the thread count last given to OpenMP, or 1 inside
/// of a region, where no second team is to start on top of the first.
///
/// OpenMP keeps its own count per calling thread. Without naming it, a region entered from a thread of the host's would
/// not know of a setting made on another.
VORAN_EXPORT int ParallelWidth();

}  // namespace detail
}  // namespace voran
