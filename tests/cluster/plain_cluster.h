#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "voran/cluster/distance_and_index.h"
#include "voran/containers/data_matrix.h"

/// The clusterings once more, by plain loops over everything.
namespace plain {

using voran::DendroGram::DistanceAndIndex;
using Pairs = std::vector<DistanceAndIndex>;
using Rows = std::vector<std::vector<float>>;

inline constexpr float kGap = -99.0f;

struct Merge {
  int first;
  int second;
  float height;
  bool operator==(const Merge&) const = default;
};

inline NCDataMatrix<float> ToMatrix(const Rows& rows) {
  NCDataMatrix<float> m(static_cast<int>(rows.size()), static_cast<int>(rows.front().size()), 0.0f);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    for (std::size_t k = 0; k < rows[i].size(); ++k) m(static_cast<int>(i) + 1, static_cast<int>(k) + 1, rows[i][k]);
  }
  return m;
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
  Ward(const Rows& rows, bool root) : rows_(rows), root_(root), pairs_(AllPairs(rows, true, root)) {
    SortPairs(pairs_);
    for (std::size_t i = 0; i < rows.size(); ++i) members_.push_back({i});
  }

  Merge FindNearestAndMerge() {
    if (pairs_.back().distance < 0.0f) RefreshTail();
    const DistanceAndIndex pair = pairs_.back();
    auto& joined = members_[static_cast<std::size_t>(pair.first) - 1];
    auto& gone = members_[static_cast<std::size_t>(pair.second) - 1];
    joined.insert(joined.end(), gone.begin(), gone.end());
    std::sort(joined.begin(), joined.end());
    members_.erase(members_.begin() + pair.second - 1);
    pairs_.pop_back();
    Mark(pair.first, pair.second);
    return {pair.first - 1, pair.second - 1, pair.distance};
  }

 private:
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
    for (DistanceAndIndex& x : tail) x.distance = Updated(x);
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

  float Updated(const DistanceAndIndex& x) const {
    const float increase = std::max(0.0f, GetErrorSS(members_[static_cast<std::size_t>(x.first) - 1],
                                                     members_[static_cast<std::size_t>(x.second) - 1]));
    return root_ ? std::sqrt(increase) : increase;
  }

  float GetErrorSS(const std::vector<std::size_t>& a, const std::vector<std::size_t>& b) const {
    double totalA = 0.0;
    double totalB = 0.0;
    double totalAB = 0.0;
    for (std::size_t k = 0; k < rows_.front().size(); ++k) {
      double sumA = 0.0;
      double squaresA = 0.0;
      double sumB = 0.0;
      double squaresB = 0.0;
      const double countA = AddColumn(k, a, sumA, squaresA);
      const double countB = AddColumn(k, b, sumB, squaresB);
      const auto sizeA = static_cast<double>(a.size());
      const auto sizeB = static_cast<double>(b.size());
      totalA += Scaled(sumA, squaresA, countA, sizeA);
      totalB += Scaled(sumB, squaresB, countB, sizeB);
      totalAB += Scaled(sumA + sumB, squaresA + squaresB, countA + countB, sizeA + sizeB);
    }
    return static_cast<float>(totalAB - totalA - totalB);
  }

  double AddColumn(std::size_t k, const std::vector<std::size_t>& members, double& sum, double& squares) const {
    double count = 0.0;
    for (const std::size_t i : members) {
      const float x = rows_[i][k];
      if (x == kGap) continue;
      const float square = x * x;
      sum += static_cast<double>(x);
      squares += static_cast<double>(square);
      ++count;
    }
    return count;
  }

  static double Scaled(double sum, double squares, double count, double size) {
    if (count == 0.0) return 0.0;
    double e = squares - sum * sum / count;
    if (count < size) e *= size / count;
    return e;
  }

  Rows rows_;
  bool root_;
  Pairs pairs_;
  std::vector<std::vector<std::size_t>> members_;
};

}  // namespace plain
