#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/voran/table.h"

namespace tool {

struct RocSettings {
  std::string score;         ///< selects the column of scores, the only variable of the table
  std::string classes;       ///< selects the column of classes
  std::string positive;      ///< the class that the scores are to tell
  bool isAscending = false;  ///< small scores speak for that class
};

/// What is told when the score at a threshold, and all that speak more for the class, count as members.
struct RocPoint {
  double threshold;
  double truePositive;
  double falsePositive;
};

struct RocResult {
  std::size_t positives = 0;  ///< rows with a score, of the class and of others
  std::size_t negatives = 0;
  std::size_t withoutScore = 0;  ///< rows left out: of a class, and without a score
  std::size_t withoutClass = 0;
  std::vector<RocPoint> points;
  double area = 0.0;
  /// The point with the largest true less false positive rate (Youden 1950), the first of equals; nothing if no point
  /// is above the diagonal.
  std::optional<std::size_t> best;
};

/// Computes the curve of a table that was read with these columns. Throws `Failure`.
RocResult FitRoc(const Table& table, const RocSettings& settings);

}  // namespace tool
