#pragma once

#include <cstddef>

/// While one of these lives, the k-th allocation of its thread throws std::bad_alloc; k counts from 1.
///
/// A program that links failing_allocation.cpp allocates through it throughout.
class FailingAllocation {
 public:
  explicit FailingAllocation(int k);
  ~FailingAllocation();
  /// False in a build with the thread sanitizer, where no allocation fails.
  static bool IsAvailable();

  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
};

/// The largest piece of memory that its thread has asked for since this object was made; 0 where no allocation fails.
class AllocationWatch {
 public:
  AllocationWatch();
  static std::size_t Largest();
};

/// How many pieces of memory its thread has taken and not given back; 0 where no allocation fails.
long LiveAllocations();
