#include "voran/containers/string_vector.h"

#include <algorithm>
#include <cstddef>
#include <locale>
#include <numeric>
#include <optional>
#include <utility>

#include <boost/smart_ptr/make_shared.hpp>

#include "voran/platform/string_compare.h"

inline namespace voran {
namespace {

/// One string to compare many with; it refers to `text`.
class Pattern {
 public:
  Pattern(std::string_view text, bool caseSensitive) : text_(text), caseSensitive_(caseSensitive) {
    if (!caseSensitive_) folded_ = detail::FoldCase(text_, locale_);
  }

  /// Negative, 0 or positive as `s` comes before, equals or comes after the pattern.
  int Compare(const std::string& s) const {
    return caseSensitive_ ? VrStdString::Compare(s, text_) : detail::FoldCase(s, locale_).compare(folded_);
  }

 private:
  std::string_view text_;
  bool caseSensitive_;
  std::locale locale_;
  std::wstring folded_;
};

/// What a sort needs of one string, worked out once.
struct SortKey {
  std::string_view text;
  std::wstring folded;  ///< decides instead of `text` when case does not count
  std::optional<float> number;
};

std::vector<SortKey> MakeSortKeys(const std::vector<std::string>& strings, bool caseSensitive, bool numeric) {
  const std::locale locale;
  std::vector<SortKey> keys(strings.size());
  std::transform(strings.begin(), strings.end(), keys.begin(), [&](const std::string& s) {
    SortKey key;
    if (caseSensitive) {
      key.text = s;
    } else {
      key.folded = detail::FoldCase(s, locale);
    }
    float number = 0.0F;
    if (numeric && VrString::ToFloat(s.c_str(), number)) key.number = number;
    return key;
  });
  return keys;
}

bool ComesBefore(const SortKey& a, const SortKey& b) {
  if (a.number && b.number) return *a.number < *b.number;
  const int byText = a.text.compare(b.text);
  return byText != 0 ? byText < 0 : a.folded < b.folded;
}

/// A stable merge sort. The standard sorts demand a consistent order, which numbers mixed with words do not have; this
/// one ends with a permutation whatever `less` answers.
template <typename Less>
void MergeSort(std::vector<int>& items, Less less) {
  const std::size_t n = items.size();
  std::vector<int> merged(n);
  for (std::size_t width = 1; width < n; width *= 2) {
    for (std::size_t first = 0; first < n; first += 2 * width) {
      const std::size_t middle = std::min(first + width, n);
      const std::size_t last = std::min(middle + width, n);
      std::size_t left = first;
      std::size_t right = middle;
      for (std::size_t out = first; out < last; ++out) {
        const bool takeRight = left == middle || (right < last && less(items[right], items[left]));
        merged[out] = items[takeRight ? right++ : left++];
      }
    }
    items.swap(merged);
  }
}

}  // namespace

NCStringVector::NCStringVector(int n) : NCStringVector(std::vector<std::string>(static_cast<std::size_t>(n))) {}

NCStringVector::NCStringVector(std::vector<std::string> strings)
    : strings_(boost::make_shared<std::vector<std::string>>(std::move(strings))) {}

NCStringVector& NCStringVector::operator=(NCStringVector other) noexcept {
  swap(other);
  return *this;
}

bool NCStringVector::operator==(const NCStringVector& other) const {
  return strings_ == other.strings_ || GetVector() == other.GetVector();
}

const std::vector<std::string>& NCStringVector::GetVector() const noexcept {
  static const std::vector<std::string> kEmpty;
  return strings_ ? *strings_ : kEmpty;
}

void NCStringVector::ForceUnlink() {
  strings_ = boost::make_shared<std::vector<std::string>>(GetVector());
}

std::vector<std::string>& NCStringVector::UnlinkedStrings() {
  Unlink();
  return *strings_;
}

// Editing. An argument may be an element of this vector, so it is copied before the strings move.

const std::string& NCStringVector::operator()(int i, const std::string& s) {
  std::string value = s;
  return UnlinkedStrings()[static_cast<std::size_t>(i - 1)] = std::move(value);
}

void NCStringVector::InsertStrings(int position, int count, const std::string& s) {
  const std::string value = s;  // NOLINT(performance-unnecessary-copy-initialization)
  std::vector<std::string>& strings = UnlinkedStrings();
  const int offset = std::min(position - 1, Size());
  strings.insert(strings.begin() + offset, static_cast<std::size_t>(count), value);
}

void NCStringVector::RemoveStrings(int first, int count) {
  if (count == 0) return;
  std::vector<std::string>& strings = UnlinkedStrings();
  const auto begin = strings.begin() + (first - 1);
  strings.erase(begin, begin + count);
}

int NCStringVector::RemoveString(std::string_view s, bool caseSensitive) {
  const std::string value(s);
  const Pattern pattern(value, caseSensitive);
  return static_cast<int>(
      std::erase_if(UnlinkedStrings(), [&](const std::string& element) { return pattern.Compare(element) == 0; }));
}

void NCStringVector::Concat(const NCStringVector& tail) {
  const NCStringVector source = tail;  // NOLINT(performance-unnecessary-copy-initialization)
  std::vector<std::string>& strings = UnlinkedStrings();
  strings.insert(strings.end(), source.begin(), source.end());
}

void NCStringVector::push_back(std::string s) {
  UnlinkedStrings().push_back(std::move(s));
}

void NCStringVector::Reserve(int capacity) {
  UnlinkedStrings().reserve(static_cast<std::size_t>(capacity));
}

// Search

int NCStringVector::FindString(std::string_view s, bool caseSensitive, int start) const {
  const Pattern pattern(s, caseSensitive);
  for (int i = start; i <= Size(); ++i) {
    if (pattern.Compare((*this)[i]) == 0) return i;
  }
  return 0;
}

int NCStringVector::SortedStringPos(std::string_view s, bool ascending, bool caseSensitive) const {
  const Pattern pattern(s, caseSensitive);
  const auto found = std::partition_point(begin(), end(), [&](const std::string& element) {
    const int order = pattern.Compare(element);
    return ascending ? order < 0 : order > 0;
  });
  return found == end() ? 0 : static_cast<int>(found - begin()) + 1;
}

int NCStringVector::FindSortedString(std::string_view s, bool ascending, bool caseSensitive) const {
  const int position = SortedStringPos(s, ascending, caseSensitive);
  return position != 0 && Pattern(s, caseSensitive).Compare((*this)[position]) == 0 ? position : 0;
}

void NCStringVector::SortedInsert(const std::string& s, bool ascending, bool caseSensitive) {
  const int position = SortedStringPos(s, ascending, caseSensitive);
  InsertStrings(position == 0 ? Size() + 1 : position, 1, s);
}

// Order

std::vector<int> NCStringVector::SortedOrder(bool ascending, bool caseSensitive, bool numeric) const {
  const std::vector<SortKey> keys = MakeSortKeys(GetVector(), caseSensitive, numeric);
  std::vector<int> order(keys.size());
  std::iota(order.begin(), order.end(), 1);
  MergeSort(order, [&](int a, int b) {
    return ComesBefore(keys[static_cast<std::size_t>(a - 1)], keys[static_cast<std::size_t>(b - 1)]);
  });
  if (!ascending) std::reverse(order.begin(), order.end());
  return order;
}

void NCStringVector::Reorder(const std::vector<int>& order) {
  std::vector<std::string> sorted(order.size());
  std::vector<std::string>& strings = UnlinkedStrings();
  std::transform(order.begin(), order.end(), sorted.begin(),
                 [&](int i) { return std::move(strings[static_cast<std::size_t>(i - 1)]); });
  strings.swap(sorted);
}

void NCStringVector::Sort(bool ascending, bool caseSensitive, bool numeric) {
  Reorder(SortedOrder(ascending, caseSensitive, numeric));
}

void NCStringVector::SortWithOriginalIndex(bool ascending, bool caseSensitive, std::vector<int>& index) {
  std::vector<int> order = SortedOrder(ascending, caseSensitive, false);
  Reorder(order);
  index.swap(order);
}

void NCStringVector::Convert(const NCStringVector& from, std::vector<std::string>& to) {
  to = from.GetVector();
}

void NCStringVector::Convert(const std::vector<std::string>& from, NCStringVector& to) {
  to = NCStringVector(from);
}

}  // namespace voran
