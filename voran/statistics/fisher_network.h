#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

#include "voran/statistics/cancel_poll.h"
#include "voran/statistics/fisher_bounds.h"
#include "voran/statistics/fisher_stage.h"

inline namespace voran {
namespace Sta {
namespace detail {

/// When the rest of a table may be judged by the chi-square distribution: if at least `percent` of its expected counts
/// reach `expect`, and all reach `minimum`. A negative `expect` means never.
struct HybridControls {
  double expect = -1.0;
  double percent = 100.0;
  double minimum = 0.0;
};

/// The sums of a table, none of them 0.
struct Margins {
  std::vector<int> rows;     ///< the shorter side
  std::vector<int> columns;  ///< the longer side
};

/// The p-value of a table as paths through a network (Mehta and Patel, JASA 78 (1983) 427).
///
/// A stage of the network is a number of columns that are still open; a node of it is what the columns closed so far
/// leave of the row sums. A path to a node is a way to fill the closed columns. Paths to a node whose every completion
/// is at most as probable as the observed table count with all completions at once, whose number of tables has a closed
/// form; paths whose every completion is more probable are dropped; only the others go on. Nodes whose sums differ in
/// order alone are one node, and paths of equal length one path.
class FisherNetwork {
 public:
  /// `isCancelled` is asked every few milliseconds. Throws NCError if the keys of the nodes outgrow an int.
  FisherNetwork(const Margins& margins, const HybridControls& controls, StageCapacity capacity,
                std::function<bool()> isCancelled);

  /// ln(probability) of a table less its length.
  double LogScale() const { return logScale_; }
  double LogFactorial(int n) const { return logFactorials_[static_cast<std::size_t>(n)]; }

  /// The probability of all tables of at most `length`. Throws NCError if a stage outgrows its capacity, and
  /// CancelException.
  double ProbabilityUpTo(double length);

 private:
  void Expand(const FisherNode& node, FisherStage& next);
  void DivideColumn(std::size_t row, int left, double length);
  void Arrive(double arc);
  void ArriveAtLastColumn(double arc);
  int NodeOfRest();
  std::span<const int> FirstColumns(std::size_t n) const { return std::span(margins_.columns).first(n); }
  std::size_t CountPathsUpTo(double length, std::size_t from) const;
  void CountAllCompletions(std::size_t numPaths, double length);
  double LogCompletions(std::span<const int> rows, double columnLogFactorials) const;
  bool IsChiSquare(std::span<const int> rows) const;
  void CountByChiSquare(const FisherNode& node);

  Margins margins_;
  HybridControls controls_;
  StageCapacity capacity_;
  voran::detail::CancelPoll poll_;
  std::vector<int> radices_;
  std::vector<double> logFactorials_;
  PathLengths pathLengths_;
  double logScale_ = 0.0;

  double observed_ = 0.0;
  double probability_ = 0.0;

  // The step from one stage to the next: columns from numOpen_ + 1 on are closed, numOpen_ is about to be, where the
  // first is 0.
  std::size_t numOpen_ = 0;
  double openLogFactorials_ = 0.0;
  FisherStage* next_ = nullptr;

  // The node that is expanded.
  std::span<const int> sums_;
  std::span<const Path> paths_;
  std::vector<double> weights_;  ///< of the first k paths together; that of the longest is its count
  std::vector<int> roomFrom_;    ///< what the rows from i on can take
  std::vector<int> rest_;
  std::vector<int> sortedRest_;
};

}  // namespace detail
}  // namespace Sta
}  // namespace voran
