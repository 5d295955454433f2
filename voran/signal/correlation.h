#pragma once

#include <cstddef>
#include <memory>

inline namespace voran {
namespace detail {

/// The circular correlation of two real series of n elements each, n a power of 2, by way of one transform for both
/// and one back: element k is the sum over l of a(l + k) b(l), negative k counted from the end. The spectrum is
/// rounded to float, its products are formed and divided by n/2 in float.
std::unique_ptr<float[]> Correlation(const float* a, const float* b, std::size_t n);

}  // namespace detail
}  // namespace voran
