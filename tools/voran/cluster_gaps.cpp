#include "tools/voran/cluster_gaps.h"

#include <cmath>
#include <cstddef>

#include <fmt/format.h>

#include "tools/voran/number_text.h"
#include "tools/voran/table.h"

namespace tool {
namespace {

int CommonColumns(const NCDataVector<float>& a, const NCDataVector<float>& b) {
  int common = 0;
  for (int k = 1; k <= a.Size(); ++k) common += a[k] != kGap && b[k] != kGap ? 1 : 0;
  return common;
}

std::string RowsHint(const NCDataMatrix<float>& x, const std::vector<std::string>& ids) {
  std::vector<std::string> rows;
  for (int i = 1; i <= x.SizeRows(); ++i) {
    if (2 * x[i].GetNumMisVal() > x.SizeColumns()) rows.push_back(ids[static_cast<std::size_t>(i) - 1]);
  }
  if (rows.empty()) return {};
  return fmt::format(" ({}: {}); leave out {}, or columns with many gaps, or fill them: see voran fill",
                     Counted(rows.size(), "row"), Enumerated(rows), rows.size() == 1 ? "this row" : "these rows");
}

// The library asks about each row and the first later one with which so little may be in common.
std::string PairHint(const NCDataMatrix<float>& x, const std::vector<std::string>& ids) {
  const auto least = static_cast<int>(std::floor(std::sqrt(static_cast<double>(x.SizeColumns())) + 0.5));
  for (int i = 1; i < x.SizeRows(); ++i) {
    int j = i + 1;
    while (j <= x.SizeRows() && x[i].GetNumMisVal() + x[j].GetNumMisVal() + least < x.SizeColumns()) ++j;
    if (j > x.SizeRows()) continue;
    const int common = CommonColumns(x[i], x[j]);
    if (common >= least) continue;
    return fmt::format(
        " ({} and {} have {} of {} in common, and {} are needed); leave out one of them, or fill gaps: see voran fill",
        Quoted(ids[static_cast<std::size_t>(i) - 1]), Quoted(ids[static_cast<std::size_t>(j) - 1]), common,
        Counted(static_cast<std::size_t>(x.SizeColumns()), "column"), least);
  }
  return {};
}

}  // namespace

std::string GapHint(const NCDataMatrix<float>& x, const std::vector<std::string>& ids) {
  const std::string hint = RowsHint(x, ids);
  return hint.empty() ? PairHint(x, ids) : hint;
}

}  // namespace tool
