#include "tools/voran/series_set.h"

#include <algorithm>
#include <map>

#include <fmt/format.h>

#include "tools/voran/command_line.h"
#include "tools/voran/failure.h"
#include "tools/voran/library_error.h"
#include "tools/voran/number_text.h"
#include "tools/voran/table_roles.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"

namespace tool {
namespace {

const std::map<std::string, Detrending> kDetrendings = {
    {"none", Detrending::kNone}, {"mean", Detrending::kMean}, {"linear", Detrending::kLinear}};

}  // namespace

std::string SeriesSet::Text() const {
  return fmt::format("{} of {}", Counted(Size(), areRows ? "row" : "column"),
                     Counted(places.size(), areRows ? "column" : "row"));
}

std::vector<std::string> SeriesSet::EmptySeries() const {
  std::vector<std::string> empty;
  for (std::size_t s = 0; s < Size(); ++s) {
    if (IsEmpty(s)) empty.push_back(names[s]);
  }
  return empty;
}

SeriesSet SeriesOf(const Table& table, bool areRows) {
  SeriesSet series = {areRows, table.variables, table.rowIds, table.x, CountGaps(table.x, table.rowIds)};
  if (areRows) {
    std::swap(series.names, series.places);
  } else {
    series.x.Transpose();
  }
  if (series.EmptySeries().size() == series.Size()) {
    throw BadData(fmt::format("{}: no {} holds a value", table.source, areRows ? "row" : "column"));
  }
  return series;
}

SeriesSet SeriesToFill(const Table& table, bool areRows) {
  SeriesSet series = SeriesOf(table, areRows);
  for (std::size_t s = 0; s < series.Size(); ++s) {
    if (series[s].GetNumMisVal() == 0 || series.IsEmpty(s)) continue;
    NCDataVector<float> filled = series[s];
    filled.InterpolateMisVals(nullptr);
    for (int i = 1; i <= series.Length(); ++i) {
      if (filled[i] == kGap) series.x(static_cast<int>(s) + 1)(i, AsPresent(kGap));
    }
  }
  return series;
}

void ForEachSeries(const SeriesSet& series, const std::string& source, const std::string& task,
                   const std::function<void(std::size_t)>& compute) {
  NCProgress progress(task.c_str(), 0.0f, 1.0f, false, false, true, "");
  const auto count = static_cast<float>(series.Size());
  for (std::size_t s = 0; s < series.Size(); ++s) {
    if (!progress.SetValue(static_cast<float>(s) / count)) throw Cancelled();
    if (series.IsEmpty(s)) continue;
    try {
      compute(s);
    } catch (const NCError& error) {
      throw FailureOf(error, fmt::format("{}, {}", source, ShortName(series.names[s], 40)), &progress);
    }
  }
}

Option AddAlong(Command& command, bool& areRows) {
  return command
      .AddRead(
          "--along", [&areRows](const std::string& name) { areRows = name == "rows"; },
          "Where a series runs: down a column, or along a row, as a spectrum does")
      .OneOf({"columns", "rows"})
      .Default("columns");
}

std::string DetrendingName(Detrending detrending) {
  const auto found = std::find_if(kDetrendings.begin(), kDetrendings.end(),
                                  [&](const auto& entry) { return entry.second == detrending; });
  return found->first;
}

std::optional<Detrending> DetrendingNamed(const std::string& name) {
  const auto found = kDetrendings.find(name);
  return found == kDetrendings.end() ? std::nullopt : std::optional(found->second);
}

Option AddDetrending(Command& command, Detrending& detrending) {
  return command
      .AddRead(
          "--detrend", [&detrending](const std::string& name) { detrending = DetrendingNamed(name).value(); },
          "What is taken off each series first: its mean, or the straight line through it")
      .OneOf({"none", "mean", "linear"})
      .Default(DetrendingName(detrending));
}

std::optional<std::vector<double>> NumbersOfPlaces(const SeriesSet& series) {
  std::vector<double> numbers;
  for (const std::string& place : series.places) {
    const std::optional<double> number = NumberInName(place);
    if (!number || (!numbers.empty() && *number <= numbers.back())) return std::nullopt;
    numbers.push_back(*number);
  }
  return numbers;
}

}  // namespace tool
