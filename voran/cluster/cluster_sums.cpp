#include "voran/cluster/cluster_sums.h"

#include <algorithm>
#include <array>

#include "voran/cluster/distance_rows.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/row_gaps.h"

inline namespace voran {
namespace DendroGram {
namespace detail {
namespace {

/// Sum of squares about the mean of `count` elements, scaled up to `size` of them.
double ScaledSS(double sum, double sumOfSquares, double count, double size) {
  const double ss = sumOfSquares - sum * sum / count;
  return count < size ? ss * (size / count) : ss;
}

}  // namespace

ClusterSums::ClusterSums(const NCDataMatrix<float>& data)
    : data_(data),
      columns_(static_cast<std::size_t>(std::max(0, data.SizeColumns()))),
      hasGaps_(voran::detail::AnyRowHasGaps(data)),
      members_(static_cast<std::size_t>(data.SizeRows())),
      sums_(members_.size() * columns_),
      counts_(hasGaps_ ? sums_.size() : 0),
      within_(members_.size()) {
  for (int row = 1; row <= data.SizeRows(); ++row) {
    members_[static_cast<std::size_t>(row) - 1] = {row};
    FormSums(row);
  }
}

void ClusterSums::Merge(int kept, int gone) {
  std::vector<int>& rows = members_[static_cast<std::size_t>(kept) - 1];
  std::vector<int>& others = members_[static_cast<std::size_t>(gone) - 1];
  const auto middle = rows.insert(rows.end(), others.begin(), others.end());
  std::inplace_merge(rows.begin(), middle, rows.end());
  std::vector<int>().swap(others);
  FormSums(kept);
}

float ClusterSums::GetErrorSS(int a, int b) const {
  const double joined = hasGaps_ ? JoinedSSWithGaps(a, b) : JoinedSS(a, b);
  const auto increase =
      static_cast<float>(joined - within_[static_cast<std::size_t>(a) - 1] - within_[static_cast<std::size_t>(b) - 1]);
  return increase < 0.0f ? 0.0f : increase;
}

void ClusterSums::FormSums(int cluster) {
  const std::vector<int>& rows = members_[static_cast<std::size_t>(cluster) - 1];
  const std::size_t first = FirstColumnOf(cluster);
  std::fill_n(sums_.begin() + static_cast<std::ptrdiff_t>(first), columns_, ColumnSums{0.0, 0.0});
  if (hasGaps_) std::fill_n(counts_.begin() + static_cast<std::ptrdiff_t>(first), columns_, 0);
  for (const int i : rows) {
    const float* const row = data_[i].begin();
    for (std::size_t k = 0; k < columns_; ++k) {
      const float x = row[k];
      if (hasGaps_) {
        if (x == voran::detail::kMissing<float>) continue;
        ++counts_[first + k];
      }
      sums_[first + k].sum += static_cast<double>(x);
      sums_[first + k].sumOfSquares += static_cast<double>(x * x);
    }
  }
  within_[static_cast<std::size_t>(cluster) - 1] = WithinSS(cluster);
}

double ClusterSums::WithinSS(int cluster) const {
  const auto size = static_cast<double>(members_[static_cast<std::size_t>(cluster) - 1].size());
  double total = 0.0;
  for (std::size_t k = FirstColumnOf(cluster); k < FirstColumnOf(cluster) + columns_; ++k) {
    const double count = hasGaps_ ? counts_[k] : size;
    if (count > 0.0) total += ScaledSS(sums_[k].sum, sums_[k].sumOfSquares, count, size);
  }
  return total;
}

double ClusterSums::JoinedSS(int a, int b) const {
  constexpr std::size_t kTogether = 32;  // terms side by side, then their sum one after the other
  const ColumnSums* const ofA = sums_.data() + FirstColumnOf(a);
  const ColumnSums* const ofB = sums_.data() + FirstColumnOf(b);
  const auto size = static_cast<double>(members_[static_cast<std::size_t>(a) - 1].size() +
                                        members_[static_cast<std::size_t>(b) - 1].size());
  double total = 0.0;
  std::array<double, kTogether> terms;
  for (std::size_t first = 0; first < columns_; first += kTogether) {
    const std::size_t count = std::min(kTogether, columns_ - first);
    for (std::size_t k = 0; k < count; ++k) {
      const double sum = ofA[first + k].sum + ofB[first + k].sum;
      terms[k] = (ofA[first + k].sumOfSquares + ofB[first + k].sumOfSquares) - sum * sum / size;
    }
    for (std::size_t k = 0; k < count; ++k) total += terms[k];
  }
  return total;
}

double ClusterSums::JoinedSSWithGaps(int a, int b) const {
  const std::size_t ofA = FirstColumnOf(a);
  const std::size_t ofB = FirstColumnOf(b);
  const auto size = static_cast<double>(members_[static_cast<std::size_t>(a) - 1].size() +
                                        members_[static_cast<std::size_t>(b) - 1].size());
  double total = 0.0;
  for (std::size_t k = 0; k < columns_; ++k) {
    const double count = counts_[ofA + k] + counts_[ofB + k];
    if (count > 0.0) {
      total += ScaledSS(sums_[ofA + k].sum + sums_[ofB + k].sum,
                        sums_[ofA + k].sumOfSquares + sums_[ofB + k].sumOfSquares, count, size);
    }
  }
  return total;
}

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
