#include "voran/containers/data_vector.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <new>
#include <type_traits>
#include <utility>

#include "voran/containers/growth_rule.h"
#include "voran/containers/kernels/elementwise.h"
#include "voran/containers/missing_value.h"
#include "voran/platform/large_array.h"

inline namespace voran {

using detail::VectorLink;

namespace {

/// The first element stands on a boundary of this many bytes.
constexpr std::size_t kAlignment = 16;

template <typename T>
void CopyElements(const T* from, T* to, int count) {
  if (count > 0) std::memcpy(to, from, static_cast<std::size_t>(count) * sizeof(T));
}

template <typename T>
void MoveElements(const T* from, T* to, int count) {
  if (count > 0) std::memmove(to, from, static_cast<std::size_t>(count) * sizeof(T));
}

}  // namespace

// Buffers.

static_assert(__STDCPP_DEFAULT_NEW_ALIGNMENT__ % kAlignment == 0, "OffsetOfEveryVec relies on it");
static_assert(sizeof(VectorLink) + sizeof(double) <= kAlignment,
              "the link of a buffer stands where alignment leaves room");
static_assert(std::is_trivially_destructible_v<VectorLink>, "it goes with its buffer");

template <typename T>
int NCDataVector<T>::OffsetOfEveryVec() {
  return static_cast<int>(kAlignment - sizeof(T));
}

template <typename T>
T* NCDataVector<T>::NewVec(int n, int& offset) {
  const std::size_t bytes = static_cast<std::size_t>(n) * sizeof(T) + kAlignment;
  auto* const raw = static_cast<char*>(::operator new(bytes));
  detail::PreferLargePages(raw, bytes);
  new (raw) VectorLink;
  offset = OffsetOfEveryVec();
  return reinterpret_cast<T*>(raw + offset);
}

template <typename T>
void NCDataVector<T>::DeleteVec(T* p, int offset) {
  if (p != nullptr) ::operator delete(reinterpret_cast<char*>(p) - offset);
  if (p == data_) TakeBuffer(nullptr, 0);
}

/// Of a buffer that NewVec has just made, or of none.
template <typename T>
void NCDataVector<T>::TakeBuffer(T* buffer, int offset) {
  data_ = buffer;
  alignOffset_ = offset;
  link_ = buffer == nullptr ? nullptr
                            : std::launder(reinterpret_cast<VectorLink*>(reinterpret_cast<char*>(buffer) - offset));
}

/// Puts `fresh` in the place of the buffer of an unshared vector.
template <typename T>
void NCDataVector<T>::ReplaceBuffer(T* fresh, int offset, int newCapacity) {
  DeleteVec(data_, alignOffset_);
  TakeBuffer(fresh, offset);
  capacity_ = newCapacity;
}

/// Gives up the share of the buffer, which goes with its last sharer. The members still point to it.
template <typename T>
void NCDataVector<T>::DropBuffer() {
  if (link_ == nullptr) return;
  bool wasLast;
  {
    const std::lock_guard<detail::SpinLock> guard(link_->lock);
    wasLast = link_->DropSharer();
  }
  if (wasLast) ::operator delete(link_);
}

// Construction and sharing.

template <typename T>
NCDataVector<T>::NCDataVector() = default;

template <typename T>
NCDataVector<T>::NCDataVector(int n) : NCDataVector(n, detail::kMissing<T>) {}

template <typename T>
NCDataVector<T>::NCDataVector(int n, T value) : NCDataVector() {
  if (n <= 0) return;
  int offset;
  T* const buffer = NewVec(n, offset);
  ReplaceBuffer(buffer, offset, n);
  size_ = n;
  std::fill_n(data_ + 1, n, value);
  numMisVal_ = value == detail::kMissing<T> ? n : 0;
}

template <typename T>
NCDataVector<T>::NCDataVector(std::initializer_list<T> values) : NCDataVector() {
  Reserve(static_cast<int>(values.size()));
  for (const T value : values) push_back(value);
}

template <typename T>
NCDataVector<T>::NCDataVector(const NCDataVector& other) {
  std::unique_lock<detail::SpinLock> guard;
  if (other.link_ != nullptr) guard = std::unique_lock(other.link_->lock);
  alignOffset_ = other.alignOffset_;
  size_ = other.size_;
  data_ = other.data_;
  numMisVal_ = other.numMisVal_;
  capacity_ = other.capacity_;
  link_ = other.link_;
  if (link_ != nullptr) link_->AddSharer();
}

template <typename T>
NCDataVector<T>& NCDataVector<T>::operator=(const NCDataVector& other) {
  if (link_ != nullptr && link_ == other.link_) return *this;
  NCDataVector copy(other);  // never two links locked at a time: crossing assignments cannot wait for each other
  std::swap(alignOffset_, copy.alignOffset_);
  std::swap(size_, copy.size_);
  std::swap(data_, copy.data_);
  std::swap(link_, copy.link_);
  std::swap(numMisVal_, copy.numMisVal_);
  std::swap(capacity_, copy.capacity_);
  return *this;
}

template <typename T>
NCDataVector<T>::~NCDataVector() {
  DropBuffer();
}

template <typename T>
void NCDataVector<T>::ForceUnlink() {
  if (link_ == nullptr || !link_->IsShared()) return;
  // While this object shares the buffer nobody writes into it: it is copied without holding the lock.
  T* fresh = nullptr;
  int offset = 0;
  if (size_ > 0) {
    fresh = NewVec(size_, offset);
    CopyElements(data_ + 1, fresh + 1, size_);
  }
  DropBuffer();
  TakeBuffer(fresh, offset);
  capacity_ = std::max(size_, 0);
}

template <typename T>
void NCDataVector<T>::Clear() {
  DropBuffer();
  TakeBuffer(nullptr, 0);
  numMisVal_ = 0;
  size_ = 0;
}

// Writing elements.

template <typename T>
int NCDataVector<T>::SetAndReturn_dMisVal(int i, T value) {
  assert(i >= 1 && i <= size_);
  Unlink();
  const int before = data_[i] == detail::kMissing<T> ? 1 : 0;
  const int after = value == detail::kMissing<T> ? 1 : 0;
  data_[i] = value;
  numMisVal_ += after - before;
  return after - before;
}

template <typename T>
NCDataVector<T>& NCDataVector<T>::SetRange(int start, const T* src, int count) {
  Unlink();
  for (int i = 0; i < count; ++i) SetAndReturn_dMisVal(start + i, src[i]);
  return *this;
}

template <typename T>
NCDataVector<T>& NCDataVector<T>::SetRange(int start, const NCDataVector& v, int from, int count) {
  Unlink();
  for (int i = 0; i < count; ++i) SetAndReturn_dMisVal(start + i, v[from + i]);
  return *this;
}

template <typename T>
void NCDataVector<T>::CopyZeroBasedVector(const T* src, int n) {
  const auto& kernels = detail::ElementwiseKernels<T>::Current();  // may throw, so before anything changes
  UnInitialisedResize(n);
  if (n <= 0) {
    numMisVal_ = 0;
    return;
  }
  assert(data_ != nullptr);
  MoveElements(src, data_ + 1, n);
  numMisVal_ = kernels.countMissing(data_ + 1, n);
}

template <typename T>
void NCDataVector<T>::CopyVector(const T* src, int n) {
  CopyZeroBasedVector(src == nullptr ? nullptr : src + 1, n);
}

template <typename T>
void NCDataVector<T>::CopyContent(const NCDataVector& v) {
  if (&v == this) {
    Unlink();
    return;
  }
  UnInitialisedResize(v.size_);
  CopyElements(v.begin(), First(), size_);
  numMisVal_ = v.numMisVal_;
}

template <typename T>
void NCDataVector<T>::SetAllValues(T value) {
  Unlink();
  const bool missing = value == detail::kMissing<T>;
  if (missing && numMisVal_ == size_) return;
  numMisVal_ = missing ? size_ : 0;
  std::fill_n(First(), size_, value);
}

// Size.

template <typename T>
void NCDataVector<T>::SetSize(int n) {
  if (n == size_) return;
  UnInitialisedResize(n);
  numMisVal_ = n;
  std::fill_n(First(), n, detail::kMissing<T>);
}

template <typename T>
void NCDataVector<T>::UnInitialisedResize(int n) {
  Unlink();
  const int wanted = detail::GrownCapacity(capacity_, n);
  if (wanted != capacity_) {
    int offset;
    T* const fresh = NewVec(wanted, offset);
    ReplaceBuffer(fresh, offset, wanted);
  }
  assert(data_ != nullptr || n <= 0);
  size_ = n;
}

template <typename T>
void NCDataVector<T>::Reserve(int n) {
  if (n <= capacity_) return;
  Unlink();
  int offset;
  T* const fresh = NewVec(n, offset);
  CopyElements(First(), fresh + 1, size_);
  ReplaceBuffer(fresh, offset, n);
}

template <typename T>
NCDataVector<T>& NCDataVector<T>::Resize(int n, T fill) {
  if (n < size_) {
    RemoveValues(n + 1, size_ - n);
  } else {
    InsertValues(size_ + 1, n - size_, fill);
  }
  return *this;
}

template <typename T>
void NCDataVector<T>::UnInitialisedInsert(int pos, int count) {
  const int wanted = detail::GrownCapacity(capacity_, size_ + count);
  const int tail = size_ - pos + 1;
  if (wanted != capacity_) {
    int offset;
    T* const fresh = NewVec(wanted, offset);
    if (data_ != nullptr) {
      CopyElements(data_ + 1, fresh + 1, pos - 1);
      CopyElements(data_ + pos, fresh + pos + count, tail);
    }
    ReplaceBuffer(fresh, offset, wanted);
  } else {
    assert(data_ != nullptr);
    MoveElements(data_ + pos, data_ + pos + count, tail);
  }
  size_ += count;
}

template <typename T>
void NCDataVector<T>::InsertValues(int pos, int count, T value) {
  if (count <= 0) return;
  Unlink();
  const int at = std::min(pos, size_ + 1);
  UnInitialisedInsert(at, count);
  std::fill_n(data_ + at, count, value);
  if (value == detail::kMissing<T>) numMisVal_ += count;
}

template <typename T>
void NCDataVector<T>::InsertValues(int pos, const NCDataVector& v) {
  if (v.size_ == 0) return;
  const NCDataVector source(v);  // keeps the elements alive and unmoved if v is this vector
  Unlink();
  const int at = std::min(pos, size_ + 1);
  UnInitialisedInsert(at, source.size_);
  CopyElements(source.data_ + 1, data_ + at, source.size_);
  numMisVal_ += source.numMisVal_;
}

template <typename T>
void NCDataVector<T>::push_back(T value) {
  InsertValues(size_ + 1, 1, detail::kMissing<T>);
  SetAndReturn_dMisVal(size_, value);
}

template <typename T>
void NCDataVector<T>::RemoveValues(int first, int count) {
  if (count <= 0) return;
  Unlink();
  for (int i = first; i < first + count; ++i) {
    if (data_[i] == detail::kMissing<T>) --numMisVal_;
  }
  MoveElements(data_ + first + count, data_ + first, size_ - (first + count) + 1);
  size_ -= count;
}

template <typename T>
void NCDataVector<T>::Remove(T value) {
  const bool missing = value == detail::kMissing<T>;
  if (missing && numMisVal_ == 0) return;
  Unlink();
  if (missing) numMisVal_ = 0;
  int kept = 0;
  for (int i = 1; i <= size_; ++i) {
    if (data_[i] != value) data_[++kept] = data_[i];
  }
  if (missing) {
    RemoveValues(kept + 1, size_ - kept);
  } else {
    size_ = kept;  // what was removed was present, so the count of gaps stays
  }
}

template <typename T>
bool NCDataVector<T>::operator==(const NCDataVector& v) const {
  if (link_ != nullptr && link_ == v.link_) return true;
  if (size_ != v.size_) return false;
  return size_ <= 0 || std::memcmp(data_ + 1, v.data_ + 1, static_cast<std::size_t>(size_) * sizeof(T)) == 0;
}

template class NCDataVector<float>;
template class NCDataVector<double>;

}  // namespace voran
