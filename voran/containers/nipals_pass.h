#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "voran/containers/block_sums.h"
#include "voran/containers/data_matrix.h"
#include "voran/containers/kernels/nipals.h"
#include "voran/containers/kernels/reductions.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/parallel.h"

inline namespace voran {
namespace detail {

/// The readings of a matrix that make up a NIPALS round.
///
/// A round regresses every row on a loading p and every column on the score t that results. The score of a row is known
/// as soon as that row has been read, so RegressRowsAndSumColumns() adds the row's share to the column sums while it is
/// still in the cache: one reading of the matrix in place of two, and the same numbers.
///
/// Rows are worked through in fixed blocks whose column sums are added in order, and a block in fixed groups of rows.
/// The division depends on the size of the matrix alone, so results do not depend on the number of threads. Scratch
/// memory is one or two rows of doubles for each block (at least 64 rows).
///
/// Holds pointers into the matrix: it must stay alive and unchanged. One thread calls; several work.
template <typename T>
class NipalsPass {
 public:
  explicit NipalsPass(const NCDataMatrix<T>& matrix);

  /// What column sums are weighed with where the matrix has gaps: the squares of v, or 1 to count the pairs.
  enum class Weight { kSquare, kOne };

  /// The floor under a denominator whose pairs are partly missing.
  enum class Floor { kNone, kThirdOfAll };

  /// The regression of rows on one p, which it points to.
  struct RowRegression {
    RowRegression(const NCDataVector<T>& p, Floor floor);

    /// The slope of a row from the sums that NipalsKernels form; `pairedSquares` only of a row with gaps.
    double Slope(const T* row, bool rowHasGaps, double product, double pairedSquares) const;

    const T* p;
    int n;
    double allSquares;
    bool pHasGaps;
    bool pHasOwnGaps;  ///< not on account of an excluded group
    bool isPlain;      ///< the slope of a row without gaps is product / allSquares
    Floor floor;
  };

  /// t[i] = regression of row i on p. Columns of the excluded group play no part if `groups` is not null. A score that
  /// is the marker counts as missing. t has as many elements as the matrix has rows and comes out unshared.
  void RegressRows(const NCDataVector<T>& p, const NCIntegralVector<int, -99>* groups, int excludeValue, Floor floor,
                   NCDataVector<T>& t);

  /// RegressRows() with the floor and SumColumns(t) in one reading.
  void RegressRowsAndSumColumns(const NCDataVector<T>& p, NCDataVector<T>& t);

  /// Sums of v[i] * x[i][j] over pairs present, for every column j: then Product() and WeightSum() hold.
  void SumColumns(const NCDataVector<T>& v, Weight weight = Weight::kSquare);
  /// The same for columns first..last, by the calling thread alone. Other threads may work on other columns; one of
  /// them sums what all columns have in common.
  void SumColumnRange(const NCDataVector<T>& v, Weight weight, int first, int last, bool withCommonPart);
  /// To be called before SumColumnRange(), and CombineColumns() after all its calls.
  void ReserveSums(bool vHasGaps);
  void CombineColumns();
  /// The product and the paired squares of one column, nothing else: the same bits as from SumColumns(v).
  static PairSums OneColumnSums(const NCDataMatrix<T>& matrix, const NCDataVector<T>& v, int column);

  double Product(int column) const { return totals_[Index(column)]; }
  /// The sum of the weights over the same pairs; only of a matrix with gaps.
  double WeightSum(int column) const { return weightTotals_[Index(column)]; }
  bool HasPair(int column) const { return isComplete_ || WeightSum(column) > 0.0; }
  /// The sum of the squares of v over the same pairs. `ssV` is v.GetSS(), which is no sum if all of v is missing.
  double PairedSquares(int column, double ssV) const { return isComplete_ ? std::max(ssV, 0.0) : WeightSum(column); }

  /// The regression of every column on the v of the last sums; a column of the excluded group stays missing. `result`
  /// has as many elements as the matrix has columns. With `countByValue` a result that happens to be the marker counts
  /// as missing.
  void FinishColumns(const NCDataVector<T>& v, Floor floor, const NCIntegralVector<int, -99>* groups, int excludeValue,
                     bool countByValue, NCDataVector<T>& result) const;

  /// The denominator of column c for sums with gap mode `mode`, or a value that is not above 1e-30 where the result is
  /// to be missing. `ssV` is v.GetSS().
  static double Denominator(const NCDataMatrix<T>& matrix, int column, GapMode mode, double ssV, double pairedSquares,
                            Floor floor);

 private:
  /// Rows whose scores are formed together and then added together are a group; never more than this.
  static constexpr int kMostInGroup = 32;

  static int GroupOf(int columns);
  static std::size_t Index(int column) { return static_cast<std::size_t>(column - 1); }
  int FirstRow(int block) const { return block * blocks_.rowsPerBlock; }
  int EndRow(int block) const { return std::min(numRows_, FirstRow(block) + blocks_.rowsPerBlock); }
  bool BlockHasGaps(int block) const { return !isComplete_ && blockHasGaps_[static_cast<std::size_t>(block)] != 0; }
  bool HasGaps(int row) const { return rowHasGaps_[static_cast<std::size_t>(row)] != 0; }

  /// What is to be summed, of which columns.
  struct ColumnTask {
    const T* v;
    bool vHasGaps;
    Weight weight;
    int firstColumn;  // 0-based
    int columns;
    bool withCommonPart;
  };

  /// Rows from..to of the group behind the one that begins at `firstRow`, to be fetched while that one is worked on.
  RowsAhead<T> Ahead(int firstRow, int from, int to) const;
  void ClearBlock(int block, const ColumnTask& task);
  void SumBlock(int block, const ColumnTask& task);
  void AddGroup(int block, int firstRow, int count, const ColumnTask& task, bool skipMissing, RowsAhead<T> ahead);
  void AddToBlock(int block, int firstRow, int count, const ColumnTask& task, bool skipMissing, RowsAhead<T> ahead);
  /// Writes the scores of a group of rows to t and returns how many are missing.
  int RegressGroup(int firstRow, int count, const RowRegression& regression, RowsAhead<T> ahead, T* t) const;
  int RegressGroupWithGaps(int firstRow, int count, const RowRegression& regression, RowsAhead<T> ahead, T* t) const;
  void Combine(std::size_t firstColumn, std::size_t columns);

  const NCDataMatrix<T>& matrix_;
  const NipalsKernels<T>& kernels_;
  int numRows_;
  int numColumns_;
  RowBlocks blocks_;
  int threads_;
  int group_;
  bool isCountedComplete_;  ///< the matrix counts no gap; it may have rows with gaps all the same
  bool anyRowHasGaps_ = false;
  bool isComplete_ = true;  ///< column sums take every element for a number, the marker included
  std::size_t stride_;
  std::vector<const T*> rows_;  // 0-based rows, 0-based elements
  std::vector<char> rowHasGaps_;
  std::vector<char> blockHasGaps_;  // only of a matrix that counts gaps
  BlockSums sums_;
  BlockSums weightSums_;             // of rows with gaps
  std::vector<double> blockWeight_;  // by block: the weight of rows without gaps, the same for every column
  std::vector<double> totals_;
  std::vector<double> weightTotals_;
};

}  // namespace detail
}  // namespace voran
