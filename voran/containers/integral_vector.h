#pragma once

#include <compare>
#include <concepts>
#include <type_traits>
#include <vector>

#include <boost/smart_ptr/shared_array.hpp>

#include "voran/export.h"
#include "voran/platform/streamable.h"

inline namespace voran {

/// How the vector that is searched is ordered.
enum class SortType : int { kAscending = 0, kDescending = 1, kUnsorted = 2 };

/// A 1-based vector of integers or flags: index lists, cross-validation groups, counts, permutations.
///
/// There are three: `NCIntegralVector<int, -99>`, `NCIntegralVector<unsigned long, 0>`, whose values are 32-bit (a
/// wider one is reduced modulo 2^32 when it is stored), and `NCIntegralVector<bool, 0>`. `M` is the value that marks a
/// missing element. The constructor fills with it and `Sort` can put it last; arithmetic and statistics treat it as any
/// value.
///
/// Copying shares the buffer and costs no element; every mutator first gives this vector a buffer of its own, so a
/// write never shows in another vector, and every mutator invalidates pointers and iterators. Positions and counts are
/// not range-checked. Copies that share a buffer may be used in different threads; one vector may be mutated by one
/// only. If memory runs out, std::bad_alloc leaves the vector as it was.
template <typename T, int M>
class VORAN_EXPORT NCIntegralVector : public StreamWalk<NCIntegralVector<T, M>, detail::VirtualStreamBase> {
 public:
  using value_type = T;
  using size_type = int;
  using const_reference = const T&;
  using const_iterator = const T*;
  using iterator = const_iterator;  ///< elements are written through members only, which unlink

  static constexpr T kMissing = static_cast<T>(M);

  NCIntegralVector() noexcept = default;
  explicit NCIntegralVector(int n, T value = kMissing);
  /// Takes a copy of the `n` elements from `values[0]` on.
  NCIntegralVector(const T* values, int n);
  NCIntegralVector(const NCIntegralVector&) noexcept = default;
  NCIntegralVector& operator=(const NCIntegralVector& other) noexcept;
  ~NCIntegralVector() override = default;

  bool operator==(const NCIntegralVector& other) const;
  /// The shorter vector is the smaller one; vectors of one size compare element by element.
  std::strong_ordering operator<=>(const NCIntegralVector& other) const;

  int Size() const noexcept { return size_; }
  int size() const noexcept { return size_; }
  bool empty() const noexcept { return size_ == 0; }

  const T& operator[](int i) const noexcept { return data_.get()[i]; }
  void operator()(int i, T value) {
    Unlink();
    data_.get()[i] = Stored(value);
  }

  /// The 1-based base pointer: `GetPtr()[1]` is the first element. Null if there has never been one.
  const T* GetPtr() const noexcept { return data_.get(); }
  /// The same for writing, after unlinking: for a kernel whose threads update elements atomically through it. Valid
  /// until this vector is copied or mutated; what is written through it must fit 32 bits.
  T* UnlinkedPtr() {
    Unlink();
    return data_.get();
  }

  const_iterator begin() const noexcept { return data_ ? data_.get() + 1 : nullptr; }
  const_iterator end() const noexcept { return begin() + size_; }
  const_iterator cbegin() const noexcept { return begin(); }
  const_iterator cend() const noexcept { return end(); }
  const T& back() const noexcept { return data_.get()[size_]; }

  /// Deliberately adds nothing: it unlinks and leaves the elements as they were.
  NCIntegralVector& operator+=(int ignored);

  /// Keeps the elements if the buffer has room for `n` (new ones are then undefined); otherwise all are undefined.
  void SetSize(int n);
  void resize(int n, T fill);
  /// Makes the vector `n` elements, all `value`, in a buffer without spare room.
  void SetNumValues(int n, T value);
  void Reserve(int capacity);
  void reserve(int capacity) { Reserve(capacity); }
  void Clear() noexcept;
  void clear() noexcept { Clear(); }

  void Concat(const NCIntegralVector& tail);
  /// Takes over the elements of `other` without sharing its buffer.
  void CopyContent(const NCIntegralVector& other);
  /// A `position` beyond the end appends.
  void InsertValues(int position, int count, T value);
  void InsertValues(int position, const NCIntegralVector& values);
  void RemoveValues(int first, int count);
  /// Removes the elements at `positions`, which may come in any order and repeat; a position that does not exist is
  /// ignored. Linear in the two sizes.
  void Remove(const NCIntegralVector<int, -99>& positions);
  /// Keeps the elements at `positions` alone, in that order; repeats are allowed.
  void Reduce(const NCIntegralVector<int, -99>& positions);

  void push_back(T value);
  const_iterator insert(const_iterator where, T value);
  /// `first`..`last` must not point into this vector.
  const_iterator insert(const_iterator where, const T* first, const T* last);
  const_iterator erase(const_iterator where) { return erase(where, where + 1); }
  const_iterator erase(const_iterator first, const_iterator last);

  void SetAllValues(T value);
  void SetRange(int first, int count, T value);
  /// Element i becomes start + (i - 1) * step, modulo 2^32.
  void GenerateIndex(T start, T step);

  /// Modulo 2^32, as a signed 32-bit value.
  long GetSum() const requires std::same_as<T, int>;
  /// -99.0 if the vector is empty. The sum behind it does not wrap.
  double GetMean() const requires std::same_as<T, int>;
  /// With n - 1 in the denominator; -99.0 if there are fewer than two elements.
  double GetVariance() const requires std::same_as<T, int>;
  double GetStdDev() const requires std::same_as<T, int>;

  /// The position of `value`, or -1 if it is not there, if the vector is empty or if `first` is beyond the end.
  ///
  /// In a sorted vector this is a binary search of the whole; an unsorted one is searched from `first` to `last`,
  /// where a `last` of -1 means the end.
  int Find(T value, SortType type, int first, int last) const;
  /// For callers that hold the order as a number.
  int Find(T value, int type, int first, int last) const {
    return Find(value, static_cast<SortType>(type), first, last);
  }
  /// The first position whose element does not come before `value` in the given order; Size() + 1 if there is none.
  int LowerBound(T value, bool ascending) const;
  bool IsSorted(bool ascending) const;

  /// With `missingLast`, elements equal to the marker go last in either direction.
  void Sort(bool ascending, bool missingLast);
  /// Sorts, equal elements in their former order; `index` receives each element's former 1-based position.
  void SortWithOriginalIndex(bool ascending, std::vector<int>& index);
  /// Shuffles uniformly by std::rand, which the caller seeds.
  void Scramble();

  // Persistence. The walk is explained at VStreamBase, the bytes in docs/file_formats.md. After a failure the vector is
  // empty, unless its header had been refused.

  using typename StreamWalk<NCIntegralVector, detail::VirtualStreamBase>::DerivedStreamableData;
  /// The identity "NCIV", version 4; readers accept no other version.
  static DerivedStreamableData MyStreamableData;

 protected:
  friend class StreamWalk<NCIntegralVector, detail::VirtualStreamBase>;
  /// What follows the header.
  bool VStreamableWrite(std::ostream& stream);
  bool VStreamableRead(std::istream& stream);

  /// Opens a gap of `count` undefined elements before `position`.
  void Insert(int position, int count);

 private:
  /// The one place where values are reduced to 32 bits.
  static constexpr T Stored(T value) noexcept {
    if constexpr (std::is_same_v<T, unsigned long>) {
      return value & 0xFFFFFFFFUL;
    } else {
      return value;
    }
  }

  /// Gives `data` a buffer of its own unless it has one; an empty `data` counts as shared.
  ///
  /// The count is read with acquire, so a former sharer's reads, which its release of the buffer follows, are over
  /// before the first write that comes after a count of 1.
  static void UnLinkVecPointer(boost::shared_array<T>& data, int capacity) {
    if (data.use_count() != 1) data = CopyBuffer(data, capacity, capacity);
  }
  static boost::shared_array<T> NewBuffer(int capacity);
  static boost::shared_array<T> CopyBuffer(const boost::shared_array<T>& data, int count, int capacity);

  void Unlink() { UnLinkVecPointer(data_, capacity_); }
  /// Unlinks, with room for `size` elements by the growth rule; keeps the elements.
  void UnlinkWithRoom(int size);
  bool ReadElements(std::istream& entry);

  int size_ = 0;
  int capacity_ = 0;
  boost::shared_array<T> data_;  ///< capacity_ + 1 elements, of which the first is not used
};

extern template class NCIntegralVector<int, -99>;
extern template class NCIntegralVector<unsigned long, 0>;
extern template class NCIntegralVector<bool, 0>;

}  // namespace voran
