#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tools/voran/gap_counts.h"
#include "tools/voran/table.h"

namespace tool {

class Command;
class Option;

/// The columns or the rows of a table as series of one length.
struct SeriesSet {
  bool areRows = false;
  std::vector<std::string> names;   ///< one each
  std::vector<std::string> places;  ///< of the elements: ids of rows, or names of columns
  NCDataMatrix<float> x;            ///< series x elements
  GapCounts gaps;                   ///< over the table

  std::size_t Size() const { return names.size(); }
  int Length() const { return x.SizeColumns(); }
  const NCDataVector<float>& operator[](std::size_t s) const { return x[static_cast<int>(s) + 1]; }
  bool IsEmpty(std::size_t s) const { return (*this)[s].GetNumMisVal() == Length(); }
  /// "2 columns of 60 rows".
  std::string Text() const;
  /// The names of the series without a value.
  std::vector<std::string> EmptySeries() const;
};

/// Throws `Failure` (bad data) if no series holds a value.
SeriesSet SeriesOf(const Table& table, bool areRows);

/// The same for a command that fills gaps on straight lines: where a line would meet the mark of gaps, the number next
/// to that stands in the gap.
SeriesSet SeriesToFill(const Table& table, bool areRows);

/// Calls `compute` for every series that holds a value, in order, with progress called `task`. Throws `Failure`:
/// cancelled if the user breaks off, computation failed in place of an NCError.
void ForEachSeries(const SeriesSet& series, const std::string& source, const std::string& task,
                   const std::function<void(std::size_t)>& compute);

/// `--along columns|rows`.
Option AddAlong(Command& command, bool& areRows);

/// What is taken off a series before its transform, and how the option calls it; the library numbers them alike.
enum class Detrending : int { kNone = 0, kMean = 1, kLinear = 2 };
std::string DetrendingName(Detrending detrending);
std::optional<Detrending> DetrendingNamed(const std::string& name);
/// `--detrend none|mean|linear`; what `detrending` holds before is the default.
Option AddDetrending(Command& command, Detrending& detrending);

/// The numbers that the names of the elements hold, if each holds one and they ascend; nothing otherwise.
std::optional<std::vector<double>> NumbersOfPlaces(const SeriesSet& series);

}  // namespace tool
