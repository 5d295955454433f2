#include "voran/containers/integral_vector.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <random>
#include <utility>

#include "voran/containers/growth_rule.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/position_list.h"

inline namespace voran {

template <typename T, int M>
NCIntegralVector<T, M>::NCIntegralVector(int n, T value) {
  SetNumValues(n, value);
}

template <typename T, int M>
NCIntegralVector<T, M>::NCIntegralVector(const T* values, int n) : size_(n), capacity_(n), data_(NewBuffer(n)) {
  std::transform(values, values + n, data_.get() + 1, Stored);
}

template <typename T, int M>
NCIntegralVector<T, M>& NCIntegralVector<T, M>::operator=(const NCIntegralVector& other) noexcept {
  if (data_ != other.data_) {
    data_ = other.data_;
    size_ = other.size_;
    capacity_ = other.capacity_;
  }
  return *this;
}

template <typename T, int M>
bool NCIntegralVector<T, M>::operator==(const NCIntegralVector& other) const {
  return data_ == other.data_ || std::equal(begin(), end(), other.begin(), other.end());
}

template <typename T, int M>
std::strong_ordering NCIntegralVector<T, M>::operator<=>(const NCIntegralVector& other) const {
  if (size_ != other.size_) return size_ <=> other.size_;
  return std::lexicographical_compare_three_way(begin(), end(), other.begin(), other.end());
}

template <typename T, int M>
NCIntegralVector<T, M>& NCIntegralVector<T, M>::operator+=(int /*ignored*/) {
  Unlink();
  return *this;
}

// Size

template <typename T, int M>
boost::shared_array<T> NCIntegralVector<T, M>::NewBuffer(int capacity) {
  assert(capacity >= 0);
  return boost::shared_array<T>(new T[static_cast<std::size_t>(capacity) + 1]);
}

template <typename T, int M>
boost::shared_array<T> NCIntegralVector<T, M>::CopyBuffer(const boost::shared_array<T>& data, int count, int capacity) {
  boost::shared_array<T> copy = NewBuffer(capacity);
  if (data) std::copy_n(data.get() + 1, count, copy.get() + 1);
  return copy;
}

template <typename T, int M>
void NCIntegralVector<T, M>::UnlinkWithRoom(int size) {
  const int capacity = detail::GrownCapacity(capacity_, size);
  if (capacity == capacity_) {
    Unlink();
  } else {
    data_ = CopyBuffer(data_, size_, capacity);
    capacity_ = capacity;
  }
}

template <typename T, int M>
void NCIntegralVector<T, M>::SetSize(int n) {
  if (n == size_) return;
  const int capacity = detail::GrownCapacity(capacity_, n);
  if (capacity == capacity_) {
    Unlink();
  } else {
    data_ = NewBuffer(capacity);
    capacity_ = capacity;
  }
  size_ = n;
}

template <typename T, int M>
void NCIntegralVector<T, M>::resize(int n, T fill) {
  if (n <= size_) {
    RemoveValues(n + 1, size_ - n);
  } else {
    InsertValues(size_ + 1, n - size_, fill);
  }
}

template <typename T, int M>
void NCIntegralVector<T, M>::SetNumValues(int n, T value) {
  data_ = NewBuffer(n);
  size_ = n;
  capacity_ = n;
  SetAllValues(value);
}

template <typename T, int M>
void NCIntegralVector<T, M>::Reserve(int capacity) {
  if (capacity <= capacity_) return;
  data_ = CopyBuffer(data_, size_, capacity);
  capacity_ = capacity;
}

template <typename T, int M>
void NCIntegralVector<T, M>::Clear() noexcept {
  data_.reset();
  size_ = 0;
  capacity_ = 0;
}

// Editing

template <typename T, int M>
void NCIntegralVector<T, M>::Insert(int position, int count) {
  assert(position >= 1 && position <= size_ + 1 && count >= 0);
  UnlinkWithRoom(size_ + count);
  T* const gap = data_.get() + position;
  T* const oldEnd = data_.get() + 1 + size_;
  std::copy_backward(gap, oldEnd, oldEnd + count);
  size_ += count;
}

template <typename T, int M>
void NCIntegralVector<T, M>::InsertValues(int position, int count, T value) {
  if (count == 0) return;
  position = std::min(position, size_ + 1);
  Insert(position, count);
  std::fill_n(data_.get() + position, count, Stored(value));
}

template <typename T, int M>
void NCIntegralVector<T, M>::InsertValues(int position, const NCIntegralVector& values) {
  if (values.empty()) return;
  const NCIntegralVector source = values;  // may be this vector: its elements stay as they are while the gap opens
  position = std::min(position, size_ + 1);
  Insert(position, source.size_);
  std::copy(source.begin(), source.end(), data_.get() + position);
}

template <typename T, int M>
void NCIntegralVector<T, M>::Concat(const NCIntegralVector& tail) {
  InsertValues(size_ + 1, tail);
}

template <typename T, int M>
void NCIntegralVector<T, M>::CopyContent(const NCIntegralVector& other) {
  SetSize(other.size_);
  Unlink();
  if (data_ != other.data_) std::copy(other.begin(), other.end(), data_.get() + 1);
}

template <typename T, int M>
void NCIntegralVector<T, M>::RemoveValues(int first, int count) {
  if (count == 0) return;
  assert(first >= 1 && count > 0 && first - 1 + count <= size_);
  Unlink();
  T* const gap = data_.get() + first;
  std::copy(gap + count, data_.get() + 1 + size_, gap);
  size_ -= count;
}

template <typename T, int M>
void NCIntegralVector<T, M>::Remove(const NCIntegralVector<int, -99>& positions) {
  Unlink();
  size_ = detail::RemoveAt(positions, data_.get(), size_);
}

template <typename T, int M>
void NCIntegralVector<T, M>::Reduce(const NCIntegralVector<int, -99>& positions) {
  const int count = positions.Size();
  const boost::shared_array<T> reduced = NewBuffer(count);
  std::transform(positions.begin(), positions.end(), reduced.get() + 1, [this](int i) { return (*this)[i]; });
  data_ = reduced;
  size_ = count;
  capacity_ = count;
}

template <typename T, int M>
void NCIntegralVector<T, M>::push_back(T value) {
  UnlinkWithRoom(size_ + 1);
  data_.get()[++size_] = Stored(value);
}

template <typename T, int M>
auto NCIntegralVector<T, M>::insert(const_iterator where, T value) -> const_iterator {
  const auto offset = static_cast<int>(where - begin());
  InsertValues(offset + 1, 1, value);
  return begin() + offset;
}

template <typename T, int M>
auto NCIntegralVector<T, M>::insert(const_iterator where, const T* first, const T* last) -> const_iterator {
  const auto offset = static_cast<int>(where - begin());
  Insert(offset + 1, static_cast<int>(last - first));
  std::transform(first, last, data_.get() + 1 + offset, Stored);
  return begin() + offset;
}

template <typename T, int M>
auto NCIntegralVector<T, M>::erase(const_iterator first, const_iterator last) -> const_iterator {
  const auto offset = static_cast<int>(first - begin());
  RemoveValues(offset + 1, static_cast<int>(last - first));
  return begin() + offset;
}

// Filling

template <typename T, int M>
void NCIntegralVector<T, M>::SetAllValues(T value) {
  SetRange(1, size_, value);
}

template <typename T, int M>
void NCIntegralVector<T, M>::SetRange(int first, int count, T value) {
  Unlink();
  std::fill_n(data_.get() + first, count, Stored(value));
}

template <typename T, int M>
void NCIntegralVector<T, M>::GenerateIndex(T start, T step) {
  Unlink();
  auto value = static_cast<std::uint32_t>(start);
  for (int i = 1; i <= size_; ++i, value += static_cast<std::uint32_t>(step)) {
    data_.get()[i] = Stored(static_cast<T>(value));
  }
}

// Statistics

namespace {

template <typename T>
double Mean(const T* first, const T* last) {
  if (first == last) return detail::kNoValue;
  std::int64_t sum = 0;
  for (const T* p = first; p != last; ++p) sum += static_cast<std::int64_t>(*p);
  return static_cast<double>(sum) / static_cast<double>(last - first);
}

template <typename T>
double Variance(const T* first, const T* last) {
  if (last - first < 2) return detail::kNoValue;
  const double mean = Mean(first, last);
  double squares = 0.0;
  for (const T* p = first; p != last; ++p) {
    const double deviation = static_cast<double>(*p) - mean;
    squares += deviation * deviation;
  }
  return squares / static_cast<double>(last - first - 1);
}

}  // namespace

template <typename T, int M>
long NCIntegralVector<T, M>::GetSum() const requires std::same_as<T, int> {
  std::uint32_t sum = 0;
  for (const T value : *this) sum += static_cast<std::uint32_t>(value);
  return static_cast<std::int32_t>(sum);
}

template <typename T, int M>
double NCIntegralVector<T, M>::GetMean() const requires std::same_as<T, int> {
  return Mean(begin(), end());
}

template <typename T, int M>
double NCIntegralVector<T, M>::GetVariance() const requires std::same_as<T, int> {
  return Variance(begin(), end());
}

template <typename T, int M>
double NCIntegralVector<T, M>::GetStdDev() const requires std::same_as<T, int> {
  return size_ < 2 ? detail::kNoValue : std::sqrt(Variance(begin(), end()));
}

// Search

template <typename T, int M>
int NCIntegralVector<T, M>::Find(T value, SortType type, int first, int last) const {
  constexpr int kNotFound = -1;
  if (empty() || first > size_) return kNotFound;
  value = Stored(value);
  if (type == SortType::kUnsorted) {
    const T* const stop = last == -1 ? end() : begin() + last;
    const T* const found = std::find(begin() + (first - 1), stop, value);
    return found == stop ? kNotFound : static_cast<int>(found - begin()) + 1;
  }
  const int position = LowerBound(value, type == SortType::kAscending);
  return position <= size_ && (*this)[position] == value ? position : kNotFound;
}

template <typename T, int M>
int NCIntegralVector<T, M>::LowerBound(T value, bool ascending) const {
  value = Stored(value);
  const T* const found = ascending ? std::lower_bound(begin(), end(), value, std::less<T>())
                                   : std::lower_bound(begin(), end(), value, std::greater<T>());
  return static_cast<int>(found - begin()) + 1;
}

template <typename T, int M>
bool NCIntegralVector<T, M>::IsSorted(bool ascending) const {
  return ascending ? std::is_sorted(begin(), end(), std::less<T>()) : std::is_sorted(begin(), end(), std::greater<T>());
}

// Order

template <typename T, int M>
void NCIntegralVector<T, M>::Sort(bool ascending, bool missingLast) {
  Unlink();
  T* const first = data_.get() + 1;
  T* last = first + size_;
  if (missingLast) last = std::partition(first, last, [](T value) { return value != kMissing; });
  if (ascending) {
    std::sort(first, last, std::less<T>());
  } else {
    std::sort(first, last, std::greater<T>());
  }
}

template <typename T, int M>
void NCIntegralVector<T, M>::SortWithOriginalIndex(bool ascending, std::vector<int>& index) {
  std::vector<int> order(static_cast<std::size_t>(size_));
  std::iota(order.begin(), order.end(), 1);
  const T* const values = GetPtr();
  std::stable_sort(order.begin(), order.end(),
                   [=](int a, int b) { return ascending ? values[a] < values[b] : values[b] < values[a]; });
  const boost::shared_array<T> sorted = NewBuffer(capacity_);
  std::transform(order.begin(), order.end(), sorted.get() + 1, [=](int i) { return values[i]; });
  data_ = sorted;
  index.swap(order);
}

namespace {

/// The C runtime's generator in the form that the standard library's shuffle asks for.
struct CRuntimeGenerator {
  using result_type = unsigned;
  static constexpr result_type min() { return 0; }
  static constexpr result_type max() { return RAND_MAX; }
  result_type operator()() const { return static_cast<result_type>(std::rand()); }  // NOLINT(concurrency-mt-unsafe)
};

}  // namespace

template <typename T, int M>
void NCIntegralVector<T, M>::Scramble() {
  Unlink();
  std::shuffle(data_.get() + 1, data_.get() + 1 + size_, CRuntimeGenerator());
}

template class NCIntegralVector<int, -99>;
template class NCIntegralVector<unsigned long, 0>;
template class NCIntegralVector<bool, 0>;

}  // namespace voran
