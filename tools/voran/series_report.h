#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/series_set.h"
#include "tools/voran/table.h"

namespace tool {

// What the summaries of the commands on series have in common.

/// Everything that is told of what a command made of series.
template <class Settings, class Result>
struct SeriesReport {
  const Table& table;
  const SeriesSet& series;
  const Settings& settings;
  const Result& result;
};

/// As many series have a line in a summary for the terminal.
inline constexpr std::size_t kSeriesShown = 20;

/// "TITLE of FILE: 2 columns of 60 rows, no gaps" and a line for what `gapRule` does to gaps, if there are any, and for
/// series without a value.
std::string SeriesHeading(const std::string& title, const Table& table, const SeriesSet& series,
                          const std::string& gapRule);
/// What stands below the lines of the first `kSeriesShown` of so many series; empty if those are all.
std::string MoreSeriesText(std::size_t series);

/// The keys that the summaries of all these commands begin with.
nlohmann::ordered_json SeriesJsonHead(const std::string& command, const Table& table, const SeriesSet& series);

/// What fills gaps before a transform.
inline constexpr const char* kInterpolated = "filled on straight lines";

}  // namespace tool
