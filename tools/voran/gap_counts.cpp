#include "tools/voran/gap_counts.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/number_text.h"

namespace tool {

GapCounts CountGaps(const NCDataMatrix<float>& x, const std::vector<std::string>& ids) {
  GapCounts gaps;
  gaps.cells = x.GetNumMisVal();
  gaps.rows = static_cast<int>(
      std::count_if(x.begin(), x.end(), [](const NCDataVector<float>& row) { return row.GetNumMisVal() > 0; }));
  for (int c = 1; c <= x.SizeColumns(); ++c) gaps.columns += x.GetColumnMisVal(c) > 0 ? 1 : 0;
  gaps.emptyRows = EmptyRows(x, ids);
  return gaps;
}

std::vector<std::string> EmptyRows(const NCDataMatrix<float>& x, const std::vector<std::string>& ids) {
  std::vector<std::string> empty;
  std::size_t r = 0;
  for (const NCDataVector<float>& row : x) {
    if (row.GetNumMisVal() == row.Size()) empty.push_back(ids[r]);
    ++r;
  }
  return empty;
}

std::string GapText(const GapCounts& gaps) {
  if (gaps.cells == 0) return "no gaps";
  const auto counted = [](int count, const char* noun) { return Counted(static_cast<std::size_t>(count), noun); };
  return fmt::format("gaps in {}, {}, {}", counted(gaps.cells, "cell"), counted(gaps.rows, "row"),
                     counted(gaps.columns, "column"));
}

nlohmann::ordered_json GapJson(const GapCounts& gaps) {
  return {{"cells", gaps.cells}, {"rows", gaps.rows}, {"columns", gaps.columns}, {"empty_rows", gaps.emptyRows}};
}

}  // namespace tool
