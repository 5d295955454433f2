#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <ostream>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "voran/cluster/cluster_distance_calculator.h"
#include "voran/cluster/distance_and_index.h"
#include "voran/containers/data_matrix.h"
#include "voran/platform/progress_display.h"

/// The clusterings once more, by plain loops over everything.
namespace plain {

using voran::DendroGram::DistanceAndIndex;
using Pairs = std::vector<DistanceAndIndex>;
using Rows = std::vector<std::vector<float>>;

inline constexpr float kGap = -99.0f;

/// NaNs are the same height.
struct Merge {
  int first;
  int second;
  float height;
  friend bool operator==(const Merge& a, const Merge& b) {
    const bool areAlike = a.height == b.height || (std::isnan(a.height) && std::isnan(b.height));
    return areAlike && a.first == b.first && a.second == b.second;
  }
  friend std::ostream& operator<<(std::ostream& out, const Merge& m) {
    return out << m.first << '+' << m.second << " at " << m.height;
  }
};

inline NCDataMatrix<float> ToMatrix(const Rows& rows) {
  NCDataMatrix<float> m(static_cast<int>(rows.size()), rows.empty() ? 0 : static_cast<int>(rows.front().size()), 0.0f);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    for (std::size_t k = 0; k < rows[i].size(); ++k) m(static_cast<int>(i) + 1, static_cast<int>(k) + 1, rows[i][k]);
  }
  return m;
}

inline std::vector<Merge> MergesOf(voran::DendroGram::ClusterDistanceCalculator& calculator, const Rows& rows) {
  calculator.Init(ToMatrix(rows), nullptr);
  std::vector<Merge> merges(rows.size() - 1);
  for (Merge& merge : merges) merge.height = calculator.FindNearestAndMerge(merge.first, merge.second);
  return merges;
}

/// Elements of `levels` different values, or normal ones if there are none; a share of them missing, but never in the
/// first column.
inline Rows MadeRows(std::size_t n, std::size_t columns, unsigned levels, double gapShare, unsigned seed) {
  std::mt19937 generator(seed);
  std::normal_distribution<float> normal;
  std::uniform_real_distribution<double> uniform;
  Rows rows(n, std::vector<float>(columns));
  for (auto& row : rows) {
    for (std::size_t k = 0; k < columns; ++k) {
      row[k] = levels == 0 ? normal(generator) : static_cast<float>(generator() % levels);
      if (k > 0 && uniform(generator) < gapShare) row[k] = kGap;
    }
  }
  return rows;
}

/// Of halves of squares if `halves`.
inline float Distance(const std::vector<float>& a, const std::vector<float>& b, bool halves, bool root) {
  float sum = 0.0f;
  int common = 0;
  for (std::size_t k = 0; k < a.size(); ++k) {
    if (a[k] == kGap || b[k] == kGap) continue;
    const float square = (a[k] - b[k]) * (a[k] - b[k]);
    sum += halves ? square * 0.5f : square;
    ++common;
  }
  const float scaled = (static_cast<float>(a.size()) / static_cast<float>(common)) * sum;
  return root ? std::sqrt(scaled) : scaled;
}

inline Pairs AllPairs(const Rows& rows, bool halves, bool root) {
  Pairs pairs;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    for (std::size_t j = i + 1; j < rows.size(); ++j) {
      pairs.push_back({Distance(rows[i], rows[j], halves, root), static_cast<int>(i) + 1, static_cast<int>(j) + 1});
    }
  }
  return pairs;
}

/// Pairs that can be compared and printed.
template <class Range>
std::vector<std::tuple<float, int, int>> Told(const Range& pairs) {
  std::vector<std::tuple<float, int, int>> told;
  for (const DistanceAndIndex& x : pairs) told.emplace_back(x.distance, x.first, x.second);
  return told;
}

/// The sort, whole and recursive. `isBefore` may be an adversary that settles its answers as it is asked.
template <typename T, class IsBefore>
class Sort {
 public:
  explicit Sort(IsBefore isBefore) : isBefore_(isBefore) {}

  void Run(T* first, T* end) { Run(first, end, end - first); }
  int NumHeapSorts() const { return heapSorts_; }

 private:
  void Run(T* first, T* end, std::ptrdiff_t budget) {
    const std::ptrdiff_t n = end - first;
    if (n <= 32) {
      for (T* next = first; next != end; ++next) {
        for (T* x = next; x != first && isBefore_(*x, x[-1]); --x) std::iter_swap(x, x - 1);
      }
    } else if (budget == 0) {
      ++heapSorts_;
      std::make_heap(first, end, isBefore_);
      std::sort_heap(first, end, isBefore_);
    } else {
      const auto [begin, behind] = Divide(first, end);
      Run(first, begin, budget / 2 + budget / 4);
      Run(behind, end, budget / 2 + budget / 4);
    }
  }

  void Three(T* a, T* b, T* c) {
    if (isBefore_(*b, *a)) std::swap(*a, *b);
    if (isBefore_(*c, *b)) {
      std::swap(*b, *c);
      if (isBefore_(*b, *a)) std::swap(*a, *b);
    }
  }

  std::pair<T*, T*> Divide(T* first, T* end) {
    const std::ptrdiff_t n = end - first;
    T* const mid = first + n / 2;
    T* const last = end - 1;
    const std::ptrdiff_t s = n / 8;
    if (n > 41) {
      Three(first, first + s, first + 2 * s);
      Three(mid - s, mid, mid + s);
      Three(last - 2 * s, last - s, last);
      Three(first + s, mid, last - s);
    } else {
      Three(first, mid, last);
    }
    const T pivot = *mid;  // by value: what equals it may be a NaN
    T* begin = mid;        // [begin, behind) is known to equal the pivot
    T* behind = mid + 1;
    while (begin != first && Equal(begin[-1], pivot)) --begin;
    while (behind != end && Equal(*behind, pivot)) ++behind;
    T* up = behind;
    T* down = begin;
    for (;;) {
      while (up != end && !isBefore_(*up, pivot)) {
        if (Equal(*up, pivot)) std::iter_swap(up, behind++);
        ++up;
      }
      while (down != first && !isBefore_(pivot, down[-1])) {
        if (Equal(down[-1], pivot)) std::iter_swap(down - 1, --begin);
        --down;
      }
      if (up == end && down == first) return {begin, behind};
      if (down == first) {
        if (behind != up) std::iter_swap(begin, behind);
        ++behind;
        std::iter_swap(begin++, up++);
      } else if (up == end) {
        std::iter_swap(--down, --begin);
        std::iter_swap(begin, --behind);
      } else {
        std::iter_swap(up++, --down);
      }
    }
  }

  bool Equal(const T& a, const T& b) { return !isBefore_(a, b) && !isBefore_(b, a); }

  IsBefore isBefore_;
  int heapSorts_ = 0;
};

inline bool IsBefore(const DistanceAndIndex& a, const DistanceAndIndex& b) {
  return a.distance > b.distance;
}

inline void SortPairs(Pairs& pairs) {
  Sort<DistanceAndIndex, bool (*)(const DistanceAndIndex&, const DistanceAndIndex&)>(IsBefore).Run(
      pairs.data(), pairs.data() + pairs.size());
}

/// Single linkage by the sorted list of everything.
inline std::vector<Merge> SingleLinkage(const Rows& rows) {
  Pairs pairs = AllPairs(rows, false, true);
  SortPairs(pairs);
  std::vector<int> clusterOf(rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) clusterOf[i] = static_cast<int>(i);
  std::vector<Merge> merges;
  for (; merges.size() + 1 < rows.size(); pairs.pop_back()) {
    const int a = clusterOf[static_cast<std::size_t>(pairs.back().first) - 1];
    const int b = clusterOf[static_cast<std::size_t>(pairs.back().second) - 1];
    if (a == b) continue;
    merges.push_back({std::min(a, b), std::max(a, b), pairs.back().distance});
    for (int& c : clusterOf) {
      if (c == std::max(a, b)) c = std::min(a, b);
      if (c > std::max(a, b)) --c;
    }
  }
  return merges;
}

/// Ward's clustering with every pair dropped, renumbered and marked at every merge, and distances from the rows.
class Ward {
 public:
  static std::vector<Merge> Merges(const Rows& rows, bool root) {
    Ward ward(rows, root);
    std::vector<Merge> merges;
    while (merges.size() + 1 < rows.size()) merges.push_back(ward.FindNearestAndMerge());
    return merges;
  }

 private:
  using Members = std::vector<std::size_t>;

  Ward(const Rows& rows, bool root) : rows_(rows), root_(root), pairs_(AllPairs(rows, true, root)) {
    SortPairs(pairs_);
    for (std::size_t i = 0; i < rows.size(); ++i) members_.push_back({i});
  }

  Merge FindNearestAndMerge() {
    if (pairs_.back().distance < 0.0f) RefreshTail();
    const DistanceAndIndex pair = pairs_.back();
    Members& joined = MembersOf(pair.first);
    joined.insert(joined.end(), MembersOf(pair.second).begin(), MembersOf(pair.second).end());
    std::sort(joined.begin(), joined.end());
    members_.erase(members_.begin() + pair.second - 1);
    pairs_.pop_back();
    Mark(pair.first, pair.second);
    return {pair.first - 1, pair.second - 1, pair.distance};
  }

  Members& MembersOf(int cluster) { return members_[static_cast<std::size_t>(cluster) - 1]; }

  void Mark(int i, int j) {
    std::erase_if(pairs_, [j](const auto& x) { return x.first == j || x.second == j; });
    for (DistanceAndIndex& x : pairs_) {
      if (x.first > j) --x.first;
      if (x.second > j) --x.second;
      if (x.first == i || x.second == i) x.distance = -1.0f;
    }
  }

  void RefreshTail() {
    auto boundary = pairs_.end();
    while (boundary != pairs_.begin() && boundary[-1].distance < 0.0f) --boundary;
    Pairs tail(boundary, pairs_.end());
    for (DistanceAndIndex& x : tail) {
      const float increase = std::max(0.0f, GetErrorSS(MembersOf(x.first), MembersOf(x.second)));
      x.distance = root_ ? std::sqrt(increase) : increase;
    }
    SortPairs(tail);
    const bool isWhole = boundary == pairs_.begin();
    const float fence = isWhole ? 0.0f : boundary[-1].distance;
    pairs_.erase(boundary, pairs_.end());
    std::size_t above = 0;
    while (!isWhole && above < tail.size() && tail[above].distance > fence) ++above;
    for (std::size_t k = above; k-- > 0;) {
      auto place = pairs_.end();
      while (place != pairs_.begin() && tail[k].distance > place[-1].distance) --place;
      const bool isEqual = place != pairs_.begin() && !(place[-1].distance > tail[k].distance);
      pairs_.insert(isEqual ? place - 1 : place, tail[k]);
    }
    pairs_.insert(pairs_.end(), tail.begin() + static_cast<std::ptrdiff_t>(above), tail.end());
  }

  /// Of a column, in a cluster.
  struct Sums {
    double size;
    double count = 0.0;
    double sum = 0.0;
    double squares = 0.0;

    Sums operator+(const Sums& b) const { return {size + b.size, count + b.count, sum + b.sum, squares + b.squares}; }
    double ErrorSS() const {
      if (count == 0.0) return 0.0;
      const double e = squares - sum * sum / count;
      return count < size ? e * (size / count) : e;
    }
  };

  Sums SumsOf(std::size_t k, const Members& members) const {
    Sums sums{static_cast<double>(members.size())};
    for (const std::size_t i : members) {
      const float x = rows_[i][k];
      if (x == kGap) continue;
      const float square = x * x;
      sums = sums + Sums{0.0, 1.0, static_cast<double>(x), static_cast<double>(square)};
    }
    return sums;
  }

  float GetErrorSS(const Members& a, const Members& b) const {
    double totalA = 0.0;
    double totalB = 0.0;
    double totalAB = 0.0;
    for (std::size_t k = 0; k < rows_.front().size(); ++k) {
      const Sums sumsA = SumsOf(k, a);
      const Sums sumsB = SumsOf(k, b);
      totalA += sumsA.ErrorSS();
      totalB += sumsB.ErrorSS();
      totalAB += (sumsA + sumsB).ErrorSS();
    }
    return static_cast<float>(totalAB - totalA - totalB);
  }

  Rows rows_;
  bool root_;
  Pairs pairs_;
  std::vector<Members> members_;
};

/// Cancels at a look, and keeps what it is shown.
class Watcher : public voran::ProgressDisplay {
 public:
  explicit Watcher(int cancelAt = 0) : cancelAt_(cancelAt) {}

  void Begin(const voran::ProgressView& view) override { ShowPosition(view); }
  void ShowPosition(const voran::ProgressView& view) override {
    std::ostringstream line;
    line << view.fraction << ' ' << view.text;
    if (lines.empty() || lines.back() != line.str()) lines.push_back(line.str());
    if (texts.empty() || texts.back() != view.text) texts.push_back(view.text);
    if (positions.empty() || positions.back() != view.fraction) positions.push_back(view.fraction);
  }
  void ShowSpin(const voran::ProgressView& view) override { ShowPosition(view); }
  void End(const voran::ProgressView&) override {}
  bool IsCancelRequested() const noexcept override { return ++polls == cancelAt_; }
  std::chrono::milliseconds UpdateInterval() const noexcept override { return std::chrono::milliseconds(0); }

  std::vector<std::string> lines;  ///< "fraction text", each once
  std::vector<std::string> texts;
  std::vector<double> positions;
  mutable int polls = 0;

 private:
  int cancelAt_;
};

}  // namespace plain
