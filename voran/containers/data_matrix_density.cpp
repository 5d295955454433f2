#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/n_dimensional_matrix.h"

inline namespace voran {

namespace {

/// Where a dimension begins, and the width of a bin in it.
struct Axis {
  double origin;
  double width;
};

int ChosenBins(int points, int dimensions) {
  return static_cast<int>(std::pow(points, 1.0 / (dimensions + 1)));
}

int ChosenShifts(int bins) {
  if (bins > 1000) return 1;
  if (bins > 500) return 2;
  if (bins > 200) return 4;
  return bins > 50 ? 8 : 16;
}

template <typename T>
std::vector<Axis> AxesOf(const NCDataMatrix<T>& m, int bins) {
  constexpr float kWidthWithoutRange = 0.001f;
  std::vector<Axis> axes;
  for (int d = 1; d <= m.SizeRows(); ++d) {
    T min;
    T max;
    m.GetRowMinMax(d, min, max);
    const double range = static_cast<double>(max) - static_cast<double>(min);
    axes.push_back({static_cast<double>(min), max <= min ? static_cast<double>(kWidthWithoutRange) : range / bins});
  }
  return axes;
}

/// A grid over the points of a matrix, which are its columns: so many cells, of the widths of `axes`, in each
/// dimension.
template <typename T>
class Grid {
 public:
  Grid(const NCDataMatrix<T>& points, std::vector<Axis> axes, int cells)
      : points_(points),
        axes_(std::move(axes)),
        cells_(cells),
        counts_(std::vector<int>(axes_.size(), cells), 0, -1),
        cell_(axes_.size()) {}

  /// Adds `weight` to the cell of each point.
  void Count(int weight) {
    for (int point = 1; point <= points_.SizeColumns(); ++point) {
      if (FindCell(point)) counts_.Set(cell_, counts_.Get(cell_, -1) + weight, -1);
    }
  }

  /// Adds the count of its cell to the score of each point.
  void AddCounts(std::vector<double>& scores) {
    for (int point = 1; point <= points_.SizeColumns(); ++point) {
      if (FindCell(point)) scores[static_cast<std::size_t>(point - 1)] += counts_.Get(cell_, -1);
    }
  }

 private:
  /// Finds the indices of the cell that a point lies in; false if the point has a gap, or a coordinate that lies
  /// nowhere (a NaN, or infinite).
  bool FindCell(int point) {
    if (points_.GetColumnMisVal(point) != 0) return false;
    for (std::size_t d = 0; d < axes_.size(); ++d) {
      const auto x = static_cast<double>(points_[static_cast<int>(d) + 1][point]);
      const double position = (x - axes_[d].origin) / axes_[d].width;
      if (!(position >= 0.0 && position < cells_ + 1.0)) return false;
      const int index = static_cast<int>(position) + 1;
      cell_[d] = index > cells_ ? index - 1 : index;
    }
    return true;
  }

  const NCDataMatrix<T>& points_;
  std::vector<Axis> axes_;
  int cells_;
  NDimensionalMatrix<int> counts_;
  std::vector<int> cell_;  ///< what FindCell() has found
};

/// Averages histograms whose cells grow ever smaller, down to a bin divided by `shifts`. `extraBins` widen the grid, by
/// half a cell to the left and the rest to the right.
template <typename T>
void AddHistograms(const NCDataMatrix<T>& points, const std::vector<Axis>& axes, int bins, int extraBins, int shifts,
                   std::vector<double>& scores) {
  for (int s = 1; s <= shifts; s *= 2) {
    std::vector<Axis> shifted = axes;
    for (Axis& axis : shifted) {
      axis.width /= s;
      if (extraBins != 0) axis.origin -= axis.width * 0.5;
    }
    Grid<T> grid(points, std::move(shifted), s * (bins + extraBins));
    grid.Count((s + 2) / 2);
    grid.AddCounts(scores);
  }
}

}  // namespace

template <typename T>
NCDataVector<T> NCDataMatrix<T>::GetDensity(int bins, int shifts, bool force) const {
  NCDataVector<T> result(numColumns_);
  GetDensityImpl(bins, shifts, force, result);
  return result;
}

template <typename T>
void NCDataMatrix<T>::GetDensityImpl(int bins, int shifts, bool force, NCDataVector<T>& result) const {
  constexpr int kManyPoints = 5000;
  if (numColumns_ == 0) return;
  if (bins < 1) bins = ChosenBins(numColumns_, numRows_);
  if (shifts < 1) shifts = ChosenShifts(bins);
  const std::vector<Axis> axes = AxesOf(*this, bins);
  std::vector<double> scores(static_cast<std::size_t>(numColumns_));
  AddHistograms(*this, axes, bins, 0, shifts, scores);
  if (force || numColumns_ < kManyPoints) AddHistograms(*this, axes, bins, 1, shifts, scores);

  result.SetAllValues(T{0});
  const auto [min, max] = std::minmax_element(scores.begin(), scores.end());
  const double range = *max > *min ? *max - *min : 0.0;
  for (int c = 1; c <= numColumns_; ++c) {
    const double score = scores[static_cast<std::size_t>(c - 1)];
    result(c, static_cast<T>(range > 0.0 ? (score - *min) / range : score));
  }
}

template class NCDataMatrix<float>;
template class NCDataMatrix<double>;

}  // namespace voran
