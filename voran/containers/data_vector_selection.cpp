#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "voran/containers/data_vector.h"
#include "voran/containers/kernels/elementwise.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/position_list.h"

inline namespace voran {

using detail::kMissing;

template <typename T>
void NCDataVector<T>::Remove(const NCIntegralVector<int, -99>& positions) {
  const auto& kernels = detail::ElementwiseKernels<T>::Current();
  Unlink();
  size_ = detail::RemoveAt(positions, data_, size_);
  if (numMisVal_ != 0) numMisVal_ = kernels.countMissing(begin(), size_);
}

template <typename T>
void NCDataVector<T>::Reduce(const NCIntegralVector<int, -99>& positions) {
  const auto& kernels = detail::ElementwiseKernels<T>::Current();
  NCDataVector reduced(positions.Size(), T{0});
  std::transform(positions.begin(), positions.end(), reduced.First(), [this](int i) { return data_[i]; });
  if (numMisVal_ != 0) reduced.numMisVal_ = kernels.countMissing(reduced.begin(), reduced.size_);
  *this = reduced;
}

template <typename T>
void NCDataVector<T>::SafeReduce(const NCIntegralVector<int, -99>& positions) {
  const auto& kernels = detail::ElementwiseKernels<T>::Current();
  NCDataVector reduced(positions.Size(), T{0});
  std::transform(positions.begin(), positions.end(), reduced.First(),
                 [this](int i) { return i < 1 || i > size_ ? kMissing<T> : data_[i]; });
  reduced.numMisVal_ = kernels.countMissing(reduced.begin(), reduced.size_);
  *this = reduced;
}

namespace {

template <typename T>
struct SortStruct {
  std::int32_t index;  ///< the former position
  T value;
};

/// Sorts numbers, equal ones by position, either both ascending or both descending.
template <typename T, class Iterator>
void SortNumbers(Iterator first, Iterator last, bool descending) {
  const auto isBefore = [](const SortStruct<T>& a, const SortStruct<T>& b) {
    return a.value != b.value ? a.value < b.value : a.index < b.index;
  };
  if (descending) {
    std::sort(first, last, [&](const auto& a, const auto& b) { return isBefore(b, a); });
  } else {
    std::sort(first, last, isBefore);
  }
}

/// Numbers first, then NaNs, then missing elements: no order holds between a NaN and a number, so neither they nor the
/// missing ones take part in the sort.
template <typename T>
std::vector<SortStruct<T>> SortedPairs(const NCDataVector<T>& v, bool descending) {
  std::vector<SortStruct<T>> pairs;
  pairs.reserve(static_cast<std::size_t>(v.Size()));
  const auto take = [&](const auto& isWanted) {
    for (std::int32_t i = 1; i <= v.Size(); ++i) {
      if (isWanted(v[i])) pairs.push_back({i, v[i]});
    }
  };
  take([](T x) { return x != kMissing<T> && !std::isnan(x); });
  SortNumbers<T>(pairs.begin(), pairs.end(), descending);
  take([](T x) { return std::isnan(x); });
  take([](T x) { return x == kMissing<T>; });
  return pairs;
}

}  // namespace

template <typename T>
NCIntegralVector<int, -99> NCDataVector<T>::Sort(NCDataVector* result, bool descending) {
  if (size_ < 2 || (result != nullptr && result->size_ == size_)) return {};
  const std::vector<SortStruct<T>> pairs = SortedPairs(*this, descending);
  NCIntegralVector<int, -99> former(size_);
  int* const positions = former.UnlinkedPtr();
  NCDataVector& sorted = result == nullptr ? *this : *result;
  assert(sorted.size_ >= size_);
  for (int i = 1; i <= size_; ++i) {
    const SortStruct<T>& pair = pairs[static_cast<std::size_t>(i - 1)];
    sorted.SetAndReturn_dMisVal(i, pair.value);
    positions[i] = pair.index;
  }
  return former;
}

template class NCDataVector<float>;
template class NCDataVector<double>;

}  // namespace voran
