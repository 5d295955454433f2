#include "tools/voran/smooth_fit.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "voran/signal/derivate.h"

namespace tool {
namespace {

void RefuseWindow(const SeriesSet& series, const SmoothSettings& settings, const std::string& source) {
  const int length = series.Length();
  if (settings.window <= length) return;
  if (length < settings.LeastWindow()) {
    throw BadData(fmt::format("{}: a polynomial of order {} needs series of {} elements or more, and these have {}",
                              source, settings.order, settings.LeastWindow(), length));
  }
  throw WrongUse(
      fmt::format("--window: a window of {} elements is longer than the series of {}, which have {}; give {} at most",
                  settings.window, source, length, length - (length % 2 == 0 ? 1 : 0)));
}

NCDataVector<float> Fitted(const NCDataVector<float>& x, const Derivate<float>& polynomials,
                           const SmoothSettings& settings) {
  NCDataVector<float> result;
  if (settings.derivative == 0) {
    polynomials.Smooth(x, result, settings.withEdges);
  } else {
    polynomials.DoDerivate(x, result, settings.derivative, static_cast<float>(settings.step), settings.withEdges);
  }
  return result;
}

// Where a coefficient or a result is the mark of gaps by chance, the library tells of a gap. Of the series by a power
// of two the results are smaller by just that, so there they are other numbers. By 2 alone they could be the mark
// again.
NCDataVector<float> Smoothed(const NCDataVector<float>& x, const Derivate<float>& polynomials,
                             const SmoothSettings& settings) {
  NCDataVector<float> result = Fitted(x, polynomials, settings);
  if (std::find(result.begin(), result.end(), kGap) == result.end()) return result;
  constexpr double kPower = 1048576.0;
  NCDataVector<float> small = x;
  for (int i = 1; i <= x.Size(); ++i) {
    if (x[i] != kGap) small(i, AsPresent(static_cast<double>(x[i]) / kPower));
  }
  small = Fitted(small, polynomials, settings);
  for (int i = 1; i <= x.Size(); ++i) {
    if (result[i] == kGap && small[i] != kGap) result(i, AsPresent(static_cast<double>(small[i]) * kPower));
  }
  return result;
}

SmoothedSeries Describe(const NCDataVector<float>& x, const NCDataVector<float>& result, const SmoothSettings& settings,
                        const std::vector<std::string>& places) {
  SmoothedSeries described;
  described.gaps = x.GetNumMisVal();
  double squares = 0.0;
  int both = 0;
  for (int i = 1; i <= result.Size(); ++i) {
    if (result[i] == kGap) {
      ++described.left;
      continue;
    }
    const auto value = static_cast<double>(result[i]);
    const std::string& place = places[static_cast<std::size_t>(i) - 1];
    if (!(described.least.value <= value)) described.least = {value, place};
    if (!(described.most.value >= value)) described.most = {value, place};
    if (x[i] == kGap) continue;
    const double residual = static_cast<double>(x[i]) - value;
    squares += residual * residual;
    ++both;
  }
  if (settings.derivative == 0 && both > 0) described.residual = std::sqrt(squares / both);
  return described;
}

}  // namespace

SmoothResult SmoothSeries(const SeriesSet& series, const SmoothSettings& settings, const std::string& source) {
  RefuseWindow(series, settings, source);
  SmoothResult result;
  for (std::size_t s = 0; s < series.Size(); ++s) result.x.push_back(NCDataVector<float>(series.Length()));
  result.series.resize(series.Size());
  for (SmoothedSeries& empty : result.series) empty.gaps = empty.left = series.Length();
  const Derivate<float> polynomials(static_cast<Derivate<float>::PolynomialOrder>(settings.order), settings.window);
  ForEachSeries(series, source, "smoothing", [&](std::size_t s) {
    const NCDataVector<float> smoothed = Smoothed(series[s], polynomials, settings);
    if (!std::all_of(smoothed.begin(), smoothed.end(), [](float value) { return std::isfinite(value); })) {
      throw Failure(ExitCode::kComputationFailed,
                    fmt::format("{}, {}: a result is larger than 3.4e38; divide the values by a power of ten", source,
                                ShortName(series.names[s], 40)));
    }
    result.series[s] = Describe(series[s], smoothed, settings, series.places);
    result.x(static_cast<int>(s) + 1) = smoothed;
  });
  return result;
}

}  // namespace tool
