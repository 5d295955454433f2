#include "voran/statistics/fisher_network.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>
#include <utility>

#include "voran/statistics/chi_square.h"
#include "voran/statistics/fisher_error.h"

inline namespace voran {
namespace Sta {
namespace detail {
namespace {

constexpr std::size_t kUnitsPerNode = 20;  // what its bounds cost, in those of CancelPoll

std::vector<double> LogFactorials(int most, voran::detail::CancelPoll& poll) {
  constexpr int kTermsPerUnit = 8;
  std::vector<double> logFactorials(static_cast<std::size_t>(most) + 1);
  for (int n = 1; n <= most; ++n) {
    const auto i = static_cast<std::size_t>(n);
    logFactorials[i] = logFactorials[i - 1] + std::log(static_cast<double>(n));
    if (n % kTermsPerUnit == 0) poll.Add(1);
  }
  return logFactorials;
}

/// The rows that the closed columns have not used up: the others belong to no table that is left.
std::span<const int> OpenRows(const FisherNode& node) {
  const auto first = std::upper_bound(node.rows.begin(), node.rows.end(), 0);
  return {first, node.rows.end()};
}

/// The place values of a node's row sums in its key: a number of mixed radix, which must fit an int.
std::vector<int> Radices(const std::vector<int>& rows) {
  std::vector<int> radices;
  int next = 1;
  for (const int sum : rows) {
    radices.push_back(next);
    if (sum == std::numeric_limits<int>::max() || sum + 1 > std::numeric_limits<int>::max() / next) {
      FailExactTest(kKeyTooLarge);
    }
    next *= sum + 1;
  }
  return radices;
}

/// Rows ascending, as their keys want them. The smallest column is closed first: its ways are the fewest.
Margins Sorted(Margins margins) {
  std::sort(margins.rows.begin(), margins.rows.end());
  std::sort(margins.columns.begin(), margins.columns.end(), std::greater<>());
  return margins;
}

int Total(std::span<const int> sums) {
  return std::accumulate(sums.begin(), sums.end(), 0);
}

}  // namespace

FisherNetwork::FisherNetwork(const Margins& margins, const HybridControls& controls, StageCapacity capacity,
                             std::function<bool()> isCancelled)
    : margins_(Sorted(margins)),
      controls_(controls),
      capacity_(capacity),
      poll_(std::move(isCancelled)),
      radices_(Radices(margins_.rows)),
      logFactorials_(LogFactorials(Total(margins.rows), poll_)),
      pathLengths_(logFactorials_),
      rest_(margins.rows.size()),
      sortedRest_(margins.rows.size()) {
  logScale_ = -LogFactorial(Total(margins.rows));
  for (const int sum : margins.rows) logScale_ += LogFactorial(sum);
  for (const int sum : margins.columns) logScale_ += LogFactorial(sum);
}

double FisherNetwork::ProbabilityUpTo(double length) {
  observed_ = length;
  probability_ = 0.0;
  std::vector<FisherNode> nodes = {{margins_.rows, 0.0, 0.0, -logScale_, {{0.0, 1.0}}, 1}};
  for (numOpen_ = margins_.columns.size() - 1; numOpen_ > 0; --numOpen_) {
    openLogFactorials_ = 0.0;
    for (const int sum : FirstColumns(numOpen_)) openLogFactorials_ += LogFactorial(sum);
    FisherStage next(capacity_, poll_);
    for (FisherNode& node : nodes) {
      Expand(node, next);
      node.paths = {};  // their memory is for the next stage
    }
    nodes = next.Take();
  }
  return std::min(probability_, 1.0);
}

void FisherNetwork::Expand(const FisherNode& node, FisherStage& next) {
  if (node.paths.empty()) return;
  // Of the table itself at least one column is always taken apart: else nothing of the test would be exact.
  const bool isWholeTable = numOpen_ + 1 == margins_.columns.size();
  if (!isWholeTable && IsChiSquare(OpenRows(node))) return CountByChiSquare(node);
  next_ = &next;
  sums_ = node.rows;
  paths_ = node.paths;
  weights_.assign(1, 0.0);
  for (const Path& path : paths_) {
    weights_.push_back(weights_.back() + path.count * std::exp(path.length - paths_.back().length));
  }
  roomFrom_.assign(sums_.size() + 1, 0);
  for (std::size_t i = sums_.size(); i-- > 0;) roomFrom_[i] = roomFrom_[i + 1] + sums_[i];
  DivideColumn(0, margins_.columns[numOpen_], 0.0);
}

/// Closes the column in every way in which the rows from `row` on can take the `left` units.
void FisherNetwork::DivideColumn(std::size_t row, int left, double length) {
  if (row + 1 == sums_.size()) {
    rest_[row] = sums_[row] - left;
    return Arrive(length - LogFactorial(left));
  }
  const int most = std::min(left, sums_[row]);
  for (int x = std::max(0, left - roomFrom_[row + 1]); x <= most; ++x) {
    rest_[row] = sums_[row] - x;
    DivideColumn(row + 1, left - x, length - LogFactorial(x));
  }
}

/// Takes all paths on, by an arc of this length, to what is left of the rows.
void FisherNetwork::Arrive(double arc) {
  poll_.Add(1);
  if (numOpen_ == 1) return ArriveAtLastColumn(arc);
  const int index = NodeOfRest();
  const FisherNode& node = (*next_)[index];
  const std::size_t counted = CountPathsUpTo(observed_ - arc - node.longest, 0);
  CountAllCompletions(counted, arc + node.logCompletions);
  const std::size_t kept = CountPathsUpTo(observed_ - arc - node.shortest, counted);
  next_->Append(index, paths_.subspan(counted, kept - counted), arc);
}

/// One column can be filled in one way.
void FisherNetwork::ArriveAtLastColumn(double arc) {
  double length = arc;
  for (const int sum : rest_) length -= LogFactorial(sum);
  CountAllCompletions(CountPathsUpTo(observed_ - length, 0), length);
}

int FisherNetwork::NodeOfRest() {
  sortedRest_ = rest_;
  std::sort(sortedRest_.begin(), sortedRest_.end());
  const int key = std::inner_product(sortedRest_.begin(), sortedRest_.end(), radices_.begin(), 0);
  int& slot = next_->Slot(key);
  if (slot != FisherStage::kNone) return slot;
  poll_.Add(kUnitsPerNode);
  const std::span<const int> columns = FirstColumns(numOpen_);
  slot = next_->Add({sortedRest_,
                     pathLengths_.Longest(sortedRest_, columns),
                     pathLengths_.Shortest(sortedRest_, columns),
                     LogCompletions(sortedRest_, openLogFactorials_),
                     {},
                     0});
  return slot;
}

/// How many of the paths, the first `from` of which are, have at most `length`.
std::size_t FisherNetwork::CountPathsUpTo(double length, std::size_t from) const {
  if (from == paths_.size() || paths_[from].length > length) return from;
  if (paths_.back().length <= length) return paths_.size();
  const auto isLonger = [](double limit, const Path& path) { return path.length > limit; };
  const auto first = paths_.begin() + static_cast<std::ptrdiff_t>(from);
  return static_cast<std::size_t>(std::upper_bound(first, paths_.end(), length, isLonger) - paths_.begin());
}

/// Adds the probability of the tables that begin with one of the first `numPaths` and go on with anything of this
/// length in all.
void FisherNetwork::CountAllCompletions(std::size_t numPaths, double length) {
  if (numPaths == 0) return;
  probability_ += weights_[numPaths] * std::exp(logScale_ + paths_.back().length + length);
}

/// The sum over all ways to fill the columns is n! / (product of r! product of c!), by the multivariate hypergeometric
/// distribution.
double FisherNetwork::LogCompletions(std::span<const int> rows, double columnLogFactorials) const {
  double log = LogFactorial(Total(rows)) - columnLogFactorials;
  for (const int sum : rows) log -= LogFactorial(sum);
  return log;
}

bool FisherNetwork::IsChiSquare(std::span<const int> rows) const {
  if (controls_.expect <= 0.0 || rows.size() < 2) return false;
  const double total = Total(rows);
  int numReached = 0;
  for (const int row : rows) {
    for (const int column : FirstColumns(numOpen_ + 1)) {
      const double expected = static_cast<double>(row) * column / total;
      if (expected < controls_.minimum) return false;
      if (expected >= controls_.expect) ++numReached;
    }
  }
  const double numCells = static_cast<double>(rows.size()) * static_cast<double>(numOpen_ + 1);
  return 100.0 * numReached >= controls_.percent * numCells;
}

/// The probability that a completion is no more probable than a given one, from its probability P: -2 ln(g P) is
/// chi-square to first order, where g makes the normal density at its peak 1 (Mehta and Patel, Communications in
/// Statistics B 15 (1986) 387).
void FisherNetwork::CountByChiSquare(const FisherNode& node) {
  const std::span<const int> rows = OpenRows(node);
  const double numRows = static_cast<double>(rows.size());
  const double numColumns = static_cast<double>(numOpen_ + 1);
  const double df = (numRows - 1.0) * (numColumns - 1.0);
  double logPeak = df * std::log(2.0 * std::numbers::pi) - (numRows * numColumns - 1.0) * std::log(Total(rows));
  double logCompletions = LogFactorial(Total(rows));
  for (const int sum : rows) {
    logPeak += (numColumns - 1.0) * std::log(sum);
    logCompletions -= LogFactorial(sum);
  }
  for (const int sum : FirstColumns(numOpen_ + 1)) {
    logPeak += (numRows - 1.0) * std::log(sum);
    logCompletions -= LogFactorial(sum);
  }
  for (const Path& path : node.paths) {
    const double logP = observed_ - path.length - logCompletions;
    const double tail = ChiSquareTail(-2.0 * logP - logPeak, static_cast<int>(df));
    probability_ += path.count * std::exp(logScale_ + path.length + logCompletions) * tail;
  }
}

}  // namespace detail
}  // namespace Sta
}  // namespace voran
