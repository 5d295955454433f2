#include "tools/voran/correlate_fit.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "tools/voran/component_numbers.h"
#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "tools/voran/table_roles.h"
#include "voran/signal/fft.h"

namespace tool {
namespace {

std::vector<std::size_t> RowsCalled(const std::vector<std::string>& ids, const std::string& id) {
  std::vector<std::size_t> rows;
  for (std::size_t i = 0; i < ids.size(); ++i) {
    if (ids[i] == id) rows.push_back(i);
  }
  if (rows.empty()) throw WrongUse(fmt::format("--with: no row is called {}", Quoted(id)));
  return rows;
}

std::size_t OtherSeries(const SeriesSet& series, const std::string& item, const Table& table) {
  const std::vector<std::size_t> chosen =
      series.areRows ? RowsCalled(series.names, item) : SelectUsedColumns(table.columns, series.names, item, "--with");
  if (chosen.size() != 1) throw WrongUse(fmt::format("--with: {} selects several series; name one", Quoted(item)));
  const std::size_t other = chosen.front();
  if (series.IsEmpty(other)) throw BadData(fmt::format("--with: {} holds no value", Quoted(series.names[other])));
  if (series.Size() == 1) throw WrongUse("--with: there is no other series to compare it with; add one by --x");
  return other;
}

int ResolveLags(const SeriesSet& series, const CorrelateSettings& settings, const std::string& source) {
  const int length = series.Length();
  if (!settings.lags) return length / 4;
  if (*settings.lags <= length) return *settings.lags;
  throw WrongUse(
      fmt::format("--lags: {} is more than the {} elements of the series of {}", *settings.lags, length, source));
}

// Of a series without a value; that of one that does not vary is 0 at every lag.
bool AreAllZero(const Correlations& series) {
  return std::all_of(series.values.begin(), series.values.end(), [](double r) { return r == 0.0 || std::isnan(r); });
}

template <class IsBetter>
std::optional<std::size_t> BestOf(const CorrelateResult& result, const Correlations& series, bool peaksOnly,
                                  const IsBetter& isBetter) {
  if (AreAllZero(series)) return std::nullopt;
  const std::vector<double>& r = series.values;
  std::optional<std::size_t> best;
  for (std::size_t k = result.with.empty() ? 1 : 0; k < r.size(); ++k) {
    const bool isPeak = k > 0 && k + 1 < r.size() && r[k] > r[k - 1] && r[k] >= r[k + 1];
    if ((isPeak || !peaksOnly) && (!best || isBetter(r[k], r[*best]))) best = k;
  }
  return best;
}

}  // namespace

CorrelateResult Correlate(const SeriesSet& series, const CorrelateSettings& settings, const Table& table) {
  const int lags = ResolveLags(series, settings, table.source);
  const auto detrend = static_cast<FFT::DetrendMode>(settings.detrending);
  std::optional<std::size_t> other;
  if (!settings.with.empty()) other = OtherSeries(series, settings.with, table);
  CorrelateResult result;
  if (other) result.with = series.names[*other];
  for (int k = other ? -lags : 0; k <= lags; ++k) result.lags.push_back(k);
  const std::vector<double> none(result.lags.size(), kNoValue);
  for (const std::string& name : series.names) result.series.push_back({name, none});
  ForEachSeries(series, table.source, "correlation", [&](std::size_t s) {
    NCDataVector<float> r(static_cast<int>(result.lags.size()), 0.0f);
    if (other) {
      FFT::CrossCorrelation(&series[s], &series[*other], detrend, lags, &r);
    } else {
      FFT::AutoCorrelation(&series[s], detrend, lags, &r);
    }
    result.series[s].values = Values(r, 1.0);
  });
  if (other) result.series.erase(result.series.begin() + static_cast<std::ptrdiff_t>(*other));
  return result;
}

std::optional<std::size_t> HighestOf(const CorrelateResult& result, const Correlations& series) {
  return BestOf(result, series, result.with.empty(), [](double a, double b) { return a > b; });
}

std::optional<std::size_t> LowestOf(const CorrelateResult& result, const Correlations& series) {
  return BestOf(result, series, false, [](double a, double b) { return a < b; });
}

double NoiseLimit(int n) {
  constexpr double kNormalQuantile = 1.959963984540054;  // of 0.975
  return kNormalQuantile / std::sqrt(static_cast<double>(n));
}

}  // namespace tool
