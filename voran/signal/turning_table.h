#pragma once

#include <cstddef>
#include <memory>
#include <vector>

inline namespace voran {
namespace detail {

/// cos(pi k / h) and sin(pi k / h) for k < h, for every stage that joins transforms of h elements, h a power of 2: at h
/// to 2h - 1. They come in double from one recurrence for each stage, on the sines of its angle and of its half.
///
/// 16 bytes for each element of the greatest length. Read-only.
class TurningTable {
 public:
  /// For transforms up to a length that is a power of 2. The longest table so far, of at most 32 MiB, is kept for later
  /// callers: making it takes as long as a fifth of a transform. Any thread.
  static std::shared_ptr<const TurningTable> UpTo(std::size_t greatestLength);

  explicit TurningTable(std::size_t greatestLength);

  const double* Cosines() const { return cosines_.data(); }
  const double* Sines() const { return sines_.data(); }
  std::size_t GreatestLength() const { return cosines_.size() - 1; }

 private:
  std::vector<double> cosines_;
  std::vector<double> sines_;
};

}  // namespace detail
}  // namespace voran
