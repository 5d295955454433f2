#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/voran/series_set.h"

namespace tool {

struct CorrelateSettings {
  bool areRows = false;
  std::string with;         ///< the series that all others are compared with; empty for autocorrelations
  std::optional<int> lags;  ///< nothing means a quarter of the length
  Detrending detrending = Detrending::kMean;
};

/// The correlations of one series.
struct Correlations {
  std::string name;
  std::vector<double> values;  ///< one for each lag
};

struct CorrelateResult {
  std::string with;       ///< the name of the other series; empty for autocorrelations
  std::vector<int> lags;  ///< from 0, or from -L with another series
  std::vector<Correlations> series;
};

/// A positive lag k pairs element l + k of a series with element l of the other one. Throws `Failure` (wrong use) for
/// lags above the length, and where `with` does not name one series of several, with a value.
CorrelateResult Correlate(const SeriesSet& series, const CorrelateSettings& settings, const Table& table);

/// The place of the largest and of the smallest correlation; nothing if all are 0. Of an autocorrelation that is the
/// highest local maximum, and what is smallest, beyond lag 0.
std::optional<std::size_t> HighestOf(const CorrelateResult& result, const Correlations& series);
std::optional<std::size_t> LowestOf(const CorrelateResult& result, const Correlations& series);

/// Beyond this the correlation of two unrelated series of n uncorrelated elements lies in one of twenty cases.
double NoiseLimit(int n);

}  // namespace tool
