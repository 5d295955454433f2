#pragma once

#include "voran/export.h"

inline namespace voran {

/// A process-wide pool of single `int` cells, for a host that needs many that come and go.
///
/// Thread-safe. Memory is taken in blocks of 64 KiB and is kept for the life of the process.
class VORAN_EXPORT IntPool {
 public:
  IntPool() = delete;

  /// A cell of undefined content, the caller's until it is released. Throws std::bad_alloc.
  static int* GetInt();
  /// Gives back a cell that GetInt returned. Does not throw.
  static void ReleaseInt(int* p);
};

}  // namespace voran
