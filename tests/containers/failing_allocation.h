#pragma once

#include <cstddef>

/// While one of these lives, the k-th allocation of the process throws std::bad_alloc, on whatever thread it is; k
/// counts from 1. One at a time.
///
/// A program that links failing_allocation.cpp allocates through it throughout.
class FailingAllocation {
 public:
  enum class Extent { kThatOne, kAllFromThere };

  explicit FailingAllocation(int k, Extent extent = Extent::kThatOne);
  ~FailingAllocation();
  /// False in a build with the thread sanitizer, where no allocation fails.
  static bool IsAvailable();
  /// How many allocations have failed since the program started.
  static long Failed();

  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
};

/// The largest piece of memory that was asked for since this object was made; 0 where no allocation fails.
class AllocationWatch {
 public:
  AllocationWatch();
  static std::size_t Largest();
};

/// How many allocations there were since the program started, failed ones included; 0 where none fails.
long Allocations();
/// How many pieces of memory were taken and not given back; 0 where no allocation fails.
long LiveAllocations();
