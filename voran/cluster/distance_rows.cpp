#include "voran/cluster/distance_rows.h"

#include <algorithm>
#include <array>

#include "voran/containers/row_gaps.h"

inline namespace voran {
namespace DendroGram {
namespace detail {

DistanceRows::DistanceRows(const NCDataMatrix<float>& data)
    : rows_(static_cast<std::size_t>(data.SizeRows())),
      columns_(static_cast<std::size_t>(data.SizeColumns())),
      hasGaps_(columns_ == 0 || voran::detail::AnyRowHasGaps(data)),  // without columns, too, the factor is not 1
      // There are elements to point to even where there is no column.
      blocks_((rows_ + kRowsOfBlock - 1) / kRowsOfBlock * kRowsOfBlock * std::max<std::size_t>(columns_, 1)) {
  byRow_.reserve(rows_ * columns_);
  for (std::size_t i = 0; i < rows_; ++i) {
    const float* const row = data[static_cast<int>(i) + 1].begin();
    byRow_.insert(byRow_.end(), row, row + columns_);
    float* const place = blocks_.data() + i / kRowsOfBlock * kRowsOfBlock * columns_ + i % kRowsOfBlock;
    for (std::size_t k = 0; k < columns_; ++k) place[k * kRowsOfBlock] = row[k];
  }
}

std::vector<const float*> DistanceRows::Distances(int first, int last, PairFunction pairFunction, Finish finish,
                                                  std::vector<float>& room) const {
  const auto begin = static_cast<std::size_t>(first) - 1;
  const auto count = static_cast<std::size_t>(last) - begin;
  const std::size_t firstBlock = begin / kRowsOfBlock;
  const std::size_t numBlocks = (rows_ + kRowsOfBlock - 1) / kRowsOfBlock - firstBlock;
  const std::size_t length = numBlocks * kRowsOfBlock;
  room.resize(std::max(room.size(), length * count));
  std::array<const float*, DistanceKernels::kRowsTogether> rows{};
  std::array<float*, DistanceKernels::kRowsTogether> out{};
  std::vector<const float*> result;
  for (std::size_t r = 0; r < count; ++r) {
    rows[r] = byRow_.data() + (begin + r) * columns_;
    out[r] = room.data() + r * length;
    result.push_back(out[r] + (begin + r) % kRowsOfBlock + ((begin + r) / kRowsOfBlock - firstBlock) * kRowsOfBlock);
  }
  DistanceKernels::Current().distances(rows.data(), static_cast<int>(count), columns_,
                                       blocks_.data() + firstBlock * kRowsOfBlock * columns_, numBlocks, hasGaps_,
                                       pairFunction, finish, out.data());
  return result;
}

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
