#include "tools/voran/series_report.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_run.h"
#include "tools/voran/number_text.h"

namespace tool {

std::string SeriesHeading(const std::string& title, const Table& table, const SeriesSet& series,
                          const std::string& gapRule) {
  std::string text = fmt::format("{} of {}: {}, {}", title, SourceText(table), series.Text(), GapText(series.gaps));
  text += series.gaps.cells > 0 ? fmt::format(", {}\n", gapRule) : "\n";
  const std::vector<std::string> empty = series.EmptySeries();
  if (!empty.empty()) text += fmt::format("  without a value: {}\n", Enumerated(empty));
  return text;
}

std::string MoreSeriesText(std::size_t series) {
  if (series <= kSeriesShown) return {};
  return fmt::format("  and {} more, which --json and --out give\n", series - kSeriesShown);
}

nlohmann::ordered_json SeriesJsonHead(const std::string& command, const Table& table, const SeriesSet& series) {
  nlohmann::ordered_json json = JsonHead(command, table);
  json["columns"] = table.variables.size();
  json["missing"] = GapJson(series.gaps);
  json["along"] = series.areRows ? "rows" : "columns";
  json["length"] = series.Length();
  json["empty_series"] = series.EmptySeries();
  return json;
}

}  // namespace tool
