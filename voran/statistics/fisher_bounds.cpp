#include "voran/statistics/fisher_bounds.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <limits>
#include <numeric>

inline namespace voran {
namespace Sta {
namespace detail {
namespace {

constexpr double kImpossible = std::numeric_limits<double>::infinity();
constexpr double kGain = 1e-10;            // a cycle that gains less is one of rounding
constexpr std::size_t kMostRowsTried = 6;  // in all subsets

}  // namespace

double PathLengths::Longest(std::span<const int> rows, std::span<const int> columns) {
  numRows_ = rows.size();
  numColumns_ = columns.size();
  RoundExpectedTable(rows, columns);
  PlaceLeftovers();
  for (FindMoves(); FindGainfulCycle(); FindMoves()) MoveAlongCycle();
  return Length();
}

double PathLengths::Length() const {
  double length = 0.0;
  for (const int x : cells_) length -= logFactorials_[static_cast<std::size_t>(x)];
  return length;
}

void PathLengths::RoundExpectedTable(std::span<const int> rows, std::span<const int> columns) {
  const auto total = std::max(std::accumulate(rows.begin(), rows.end(), 0LL), 1LL);
  cells_.assign(numRows_ * numColumns_, 0);
  rowsLeft_.assign(rows.begin(), rows.end());
  columnsLeft_.assign(columns.begin(), columns.end());
  for (std::size_t i = 0; i < numRows_; ++i) {
    for (std::size_t j = 0; j < numColumns_; ++j) {
      const int x = static_cast<int>(static_cast<long long>(rows[i]) * columns[j] / total);
      Cell(i, j) = x;
      rowsLeft_[i] -= x;
      columnsLeft_[j] -= x;
    }
  }
}

/// Fills up the margins unit by unit, each in the smallest cell that can still take one.
void PathLengths::PlaceLeftovers() {
  for (;;) {
    int* smallest = nullptr;
    std::size_t row = 0;
    std::size_t column = 0;
    for (std::size_t i = 0; i < numRows_; ++i) {
      for (std::size_t j = 0; j < numColumns_; ++j) {
        if (rowsLeft_[i] == 0 || columnsLeft_[j] == 0) continue;
        if (smallest != nullptr && Cell(i, j) >= *smallest) continue;
        smallest = &Cell(i, j);
        row = i;
        column = j;
      }
    }
    if (smallest == nullptr) return;
    ++*smallest;
    --rowsLeft_[row];
    --columnsLeft_[column];
  }
}

/// For each pair of rows, the cheapest column for a unit to go from the second to the first.
void PathLengths::FindMoves() {
  const auto log = [this](int x) {  // of x >= 1
    return logFactorials_[static_cast<std::size_t>(x)] - logFactorials_[static_cast<std::size_t>(x) - 1];
  };
  moves_.assign(numRows_ * numRows_, {kImpossible, 0});
  for (std::size_t to = 0; to < numRows_; ++to) {
    for (std::size_t from = 0; from < numRows_; ++from) {
      if (to == from) continue;
      Move& best = moves_[to * numRows_ + from];
      for (std::size_t j = 0; j < numColumns_; ++j) {
        if (Cell(from, j) == 0) continue;
        const double cost = log(Cell(to, j) + 1) - log(Cell(from, j));
        if (cost < best.cost) best = {cost, j};
      }
    }
  }
}

/// A chain of moves from row to row that ends where it began and costs less than nothing (Bellman and Ford).
bool PathLengths::FindGainfulCycle() {
  costs_.assign(numRows_, 0.0);
  givers_.assign(numRows_, numRows_);
  std::size_t improved = numRows_;
  for (std::size_t round = 0; round < numRows_; ++round) {
    improved = numRows_;
    for (std::size_t to = 0; to < numRows_; ++to) {
      for (std::size_t from = 0; from < numRows_; ++from) {
        const double cost = costs_[to] + moves_[to * numRows_ + from].cost;
        if (cost >= costs_[from] - kGain) continue;
        costs_[from] = cost;
        givers_[from] = to;
        improved = from;
      }
    }
    if (improved == numRows_) return false;
  }
  // An improvement in the last round comes from a cycle: go back far enough to stand on it, then once around.
  for (std::size_t round = 0; round < numRows_; ++round) improved = givers_[improved];
  cycle_.clear();
  do {
    cycle_.push_back(improved);
    improved = givers_[improved];
  } while (improved != cycle_.front());
  return true;
}

void PathLengths::MoveAlongCycle() {
  for (const std::size_t from : cycle_) {
    const std::size_t to = givers_[from];
    const std::size_t column = moves_[to * numRows_ + from].column;
    ++Cell(to, column);
    --Cell(from, column);
  }
}

double PathLengths::Shortest(std::span<const int> rows, std::span<const int> columns) {
  if (columns.size() == 2 && rows.size() <= kMostRowsTried) return ShortestOfTwoColumns(rows, columns[0]);
  return std::max(RelaxedLength(columns, rows), RelaxedLength(rows, columns));
}

/// Each sum divides by itself among cells that are bounded by `caps`: least probably when it fills the largest first.
double PathLengths::RelaxedLength(std::span<const int> sums, std::span<const int> caps) {
  sortedCaps_.assign(caps.begin(), caps.end());
  std::sort(sortedCaps_.begin(), sortedCaps_.end(), std::greater<>());
  double length = 0.0;
  for (int left : sums) {
    for (const int cap : sortedCaps_) {
      const int x = std::min(left, cap);
      if (x == 0) break;
      length -= logFactorials_[static_cast<std::size_t>(x)];
      left -= x;
    }
  }
  return length;
}

/// The least probable table is a vertex of the polytope of tables: every row but one lies in one column whole.
double PathLengths::ShortestOfTwoColumns(std::span<const int> rows, int firstColumn) const {
  const auto logFactorial = [this](int n) { return logFactorials_[static_cast<std::size_t>(n)]; };
  double undivided = 0.0;
  for (const int sum : rows) undivided -= logFactorial(sum);
  double shortest = kImpossible;
  for (unsigned inFirst = 0; inFirst < 1U << rows.size(); ++inFirst) {
    int left = firstColumn;
    for (std::size_t i = 0; i < rows.size(); ++i) left -= (inFirst >> i & 1U) != 0 ? rows[i] : 0;
    if (left < 0) continue;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if ((inFirst >> i & 1U) != 0 || rows[i] < left) continue;
      const double gain = logFactorial(rows[i]) - logFactorial(left) - logFactorial(rows[i] - left);
      shortest = std::min(shortest, undivided + gain);
    }
  }
  return shortest;
}

}  // namespace detail
}  // namespace Sta
}  // namespace voran
