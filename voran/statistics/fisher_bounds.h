#pragma once

#include <span>
#include <vector>

inline namespace voran {
namespace Sta {
namespace detail {

/// The extreme lengths of a table with given margins, its length being the sum of -ln x! over the cells: the logarithm
/// of its probability but for a constant. An object holds scratch space: one thread at a time.
class PathLengths {
 public:
  /// `logFactorials[n]` is ln n! for every cell that can occur; it is to outlive this object.
  explicit PathLengths(std::span<const double> logFactorials) : logFactorials_(logFactorials) {}

  /// The length of the most probable table: exact. From a table near the expected one, units are moved around cycles
  /// of cells as long as that raises the probability, which for convex costs ends at the optimum (Klein's cycles).
  double Longest(std::span<const int> rows, std::span<const int> columns);

  /// A length that no table falls below. Exact where there are two columns and a few rows; beyond that the better one
  /// of two relaxations, which hold to the margins of one side and let the other side bound single cells.
  double Shortest(std::span<const int> rows, std::span<const int> columns);

 private:
  int& Cell(std::size_t row, std::size_t column) { return cells_[row * numColumns_ + column]; }
  double Length() const;
  void RoundExpectedTable(std::span<const int> rows, std::span<const int> columns);
  void PlaceLeftovers();
  void FindMoves();
  bool FindGainfulCycle();
  void MoveAlongCycle();
  double RelaxedLength(std::span<const int> sums, std::span<const int> caps);
  double ShortestOfTwoColumns(std::span<const int> rows, int firstColumn) const;

  /// A unit that row `to` gains in a column and another row loses there: the column where that costs least.
  struct Move {
    double cost;
    std::size_t column;
  };

  std::span<const double> logFactorials_;
  std::size_t numRows_ = 0;
  std::size_t numColumns_ = 0;
  std::vector<int> cells_;
  std::vector<int> rowsLeft_;
  std::vector<int> columnsLeft_;
  std::vector<Move> moves_;
  std::vector<double> costs_;
  std::vector<std::size_t> givers_;
  std::vector<std::size_t> cycle_;
  std::vector<int> sortedCaps_;
};

}  // namespace detail
}  // namespace Sta
}  // namespace voran
