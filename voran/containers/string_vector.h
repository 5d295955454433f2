#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <boost/smart_ptr/shared_ptr.hpp>

#include "voran/export.h"
#include "voran/platform/streamable.h"

inline namespace voran {

/// A vector of UTF-8 names. Positions are 1-based and are not range-checked; 0 means not found.
///
/// Copying shares the strings; every mutator first gives this vector strings of its own, and invalidates references and
/// iterators. Copies may be used in different threads; one vector may be mutated by one only.
///
/// A search or sort with `caseSensitive` compares bytes; one without compares as VrStdString::CompareNoCase does with
/// the global locale of the moment.
class VORAN_EXPORT NCStringVector : public StreamWalk<NCStringVector> {
 public:
  using value_type = std::string;
  using size_type = int;
  using const_reference = const std::string&;
  using const_iterator = std::vector<std::string>::const_iterator;
  using iterator = const_iterator;

  NCStringVector() noexcept = default;
  explicit NCStringVector(int n);
  explicit NCStringVector(std::vector<std::string> strings);
  NCStringVector(const NCStringVector&) noexcept = default;
  NCStringVector(NCStringVector&&) noexcept = default;
  NCStringVector& operator=(NCStringVector other) noexcept;
  ~NCStringVector() override = default;
  void swap(NCStringVector& other) noexcept { strings_.swap(other.strings_); }

  bool operator==(const NCStringVector& other) const;

  int Size() const noexcept { return static_cast<int>(GetVector().size()); }
  int size() const noexcept { return Size(); }
  bool empty() const noexcept { return GetVector().empty(); }
  const std::string& operator[](int i) const noexcept { return GetVector()[static_cast<std::size_t>(i - 1)]; }
  /// Sets element `i` and returns it.
  const std::string& operator()(int i, const std::string& s);
  const_iterator begin() const noexcept { return GetVector().begin(); }
  const_iterator end() const noexcept { return GetVector().end(); }
  const std::vector<std::string>& GetVector() const noexcept;

  /// A `position` beyond the end appends.
  void InsertStrings(int position) { InsertStrings(position, 1); }
  void InsertStrings(int position, int count) { InsertStrings(position, count, std::string()); }
  void InsertStrings(int position, int count, const std::string& s);
  void RemoveStrings(int first, int count);
  /// Removes every element that equals `s`; returns how many there were.
  int RemoveString(std::string_view s, bool caseSensitive);
  void Concat(const NCStringVector& tail);
  void push_back(std::string s);
  void Reserve(int capacity);
  void reserve(int capacity) { Reserve(capacity); }
  void Clear() noexcept { strings_.reset(); }

  /// The first position from `start` on that holds `s`.
  int FindString(std::string_view s, bool caseSensitive, int start) const;
  /// In a vector sorted so: the first position that does not come before `s`, or 0 when that is past the end.
  int SortedStringPos(std::string_view s, bool ascending, bool caseSensitive) const;
  int FindSortedString(std::string_view s, bool ascending, bool caseSensitive) const;
  void SortedInsert(const std::string& s, bool ascending, bool caseSensitive);

  /// With `numeric`, two strings that both are numbers (VrString::ToFloat) compare as such, and all others as strings.
  /// That is no consistent order when numbers and words mix ("10" < "2a" < "9" < "10"); the result then is some
  /// permutation, always the same.
  void Sort(bool ascending, bool caseSensitive, bool numeric);
  /// `index` receives each element's former 1-based position. Among equal elements an ascending sort puts earlier ones
  /// first, a descending sort later ones.
  void SortWithOriginalIndex(bool ascending, bool caseSensitive, std::vector<int>& index);

  static void Convert(const NCStringVector& from, std::vector<std::string>& to);
  static void Convert(const std::vector<std::string>& from, NCStringVector& to);

  // Persistence. The walk is explained at VStreamBase, the bytes in docs/file_formats.md. After a failure the vector is
  // empty, unless its header had been refused.

  /// The identity "NCSV", version 2; readers accept no other version.
  static DerivedStreamableData MyStreamableData;

 protected:
  friend class StreamWalk<NCStringVector>;
  /// What follows the header.
  bool VStreamableWrite(std::ostream& stream);
  bool VStreamableRead(std::istream& stream);

 private:
  void Unlink() {
    if (strings_.use_count() != 1) ForceUnlink();
  }
  void ForceUnlink();
  std::vector<std::string>& UnlinkedStrings();
  std::vector<int> SortedOrder(bool ascending, bool caseSensitive, bool numeric) const;
  void Reorder(const std::vector<int>& order);

  bool ReadStrings(std::istream& entry);

  boost::shared_ptr<std::vector<std::string>> strings_;  ///< null for an empty vector that has never held any
};

}  // namespace voran
