#pragma once

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
