#include "tools/voran/wavelet_fit.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <queue>

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/library_error.h"
#include "tools/voran/number_text.h"
#include "tools/voran/terminal.h"
#include "voran/platform/nc_error.h"

namespace tool {
namespace {

Wavelet::DetrendMode ModeOf(Detrending detrending) {
  return static_cast<Wavelet::DetrendMode>(detrending);
}

// A coefficient that happens to be the marker of gaps becomes its neighbour. Throws for one that is no number.
void MakePresent(const SeriesSet& series, NCDataMatrix<float>& coefficients, const std::string& source) {
  for (std::size_t s = 0; s < series.Size(); ++s) {
    if (series.IsEmpty(s)) continue;
    const int row = static_cast<int>(s) + 1;
    for (int i = 1; i <= coefficients.SizeColumns(); ++i) {
      const float value = coefficients[row][i];
      if (value == kGap) coefficients(row)(i, AsPresent(value));
      if (std::isfinite(value)) continue;
      throw Failure(ExitCode::kComputationFailed,
                    fmt::format("{}, {}: the transform overflowed; divide the values by a power of ten", source,
                                ShortName(series.names[s], 40)));
    }
  }
}

// One basis for all series, so that a coefficient means the same in each.
bool TransformBestBasis(const SeriesSet& series, const OwnedFilters& filters, WaveletResult& result,
                        NCDataVector<double>& offsets, NCDataVector<double>& slopes) {
  const Wavelet::DetrendMode mode = ModeOf(result.form.detrending);
  const std::unique_ptr<BoolVector> flags(Wavelet::FindBestBasisObswise(&series.x, filters.Get(), mode));
  if (flags == nullptr) return false;
  for (int node = 1; node <= flags->Size(); ++node) result.form.basis.push_back((*flags)[node]);
  return Wavelet::ForwardTransformBestBasisObswise(&series.x, filters.Get(), flags.get(), mode, offsets, slopes,
                                                   &result.coefficients) != nullptr;
}

std::vector<double> EnergiesOf(const NCDataMatrix<float>& coefficients) {
  NCDataMatrix<float> turned = coefficients;
  turned.Transpose();
  const std::unique_ptr<NCDataVector<float>> shares(Wavelet::CalcWCEnergy(&turned));
  return {shares->begin(), shares->end()};
}

std::vector<std::string> CoefficientNames(int count, bool byScale) {
  const NCStringVector names = Wavelet::MakeVarNames("w", count, byScale);
  std::vector<std::string> texts;
  for (int i = 1; i <= names.Size(); ++i) texts.push_back(names[i]);
  return texts;
}

// For each series the place of its trend in the form; series of one name come in order.
std::vector<std::size_t> PlacesInForm(const SeriesSet& coefficients, const WaveletForm& form,
                                      const std::string& source) {
  std::map<std::string, std::queue<std::size_t>> places;
  for (std::size_t s = 0; s < form.names.size(); ++s) places[form.names[s]].push(s);
  std::vector<std::size_t> found;
  for (const std::string& name : coefficients.names) {
    const auto place = places.find(name);
    if (place == places.end() || place->second.empty()) {
      throw BadData(fmt::format("{}: the summary beside it knows no series {}", source, Quoted(name)));
    }
    found.push_back(place->second.front());
    place->second.pop();
  }
  return found;
}

void RefuseOtherCoefficients(const SeriesSet& coefficients, const WaveletForm& form, const std::string& source) {
  if (coefficients.Length() != form.coefficients) {
    throw BadData(fmt::format("{}: there are {} coefficients of a series, and the summary beside it tells of {}",
                              source, coefficients.Length(), form.coefficients));
  }
  for (std::size_t s = 0; s < coefficients.Size(); ++s) {
    if (coefficients.IsEmpty(s) || coefficients[s].GetNumMisVal() == 0) continue;
    throw BadData(fmt::format("{}: {} lacks coefficients; write 0 for those to be left out", source,
                              Quoted(coefficients.names[s])));
  }
}

}  // namespace

WaveletResult TransformSeries(const SeriesSet& series, const std::string& heading, const WaveletSettings& settings,
                              const std::string& source) {
  WaveletResult result;
  result.form = {
      settings.areRows, settings.wavelet, settings.detrending, settings.bestBasis, 0, {}, series.names, {}, {},
      heading,          series.places};
  const OwnedFilters filters(Wavelet::GetDecompositionFilter(settings.wavelet.family, settings.wavelet.order));
  NCDataVector<double> offsets;
  NCDataVector<double> slopes;
  const bool isDone = settings.bestBasis ? TransformBestBasis(series, filters, result, offsets, slopes)
                                         : Wavelet::ForwardTransformObswise(
                                               &series.x, filters.Get(), ModeOf(settings.detrending), offsets, slopes,
                                               &result.coefficients, settings.pad) != nullptr;
  if (!isDone) throw Failure(ExitCode::kComputationFailed, source + ": the series could not be transformed");
  StopIfInterrupted();
  MakePresent(series, result.coefficients, source);
  result.form.coefficients = result.coefficients.SizeColumns();
  for (std::size_t s = 0; s < series.Size(); ++s) {
    const int place = static_cast<int>(s) + 1;
    result.form.offsets.push_back(series.IsEmpty(s) ? 0.0 : offsets[place]);
    result.form.slopes.push_back(series.IsEmpty(s) ? 0.0 : slopes[place]);
  }
  const bool isPower = std::has_single_bit(static_cast<unsigned>(result.form.coefficients));
  result.names = CoefficientNames(result.form.coefficients, isPower && !settings.bestBasis);
  try {
    if (!settings.bestBasis && result.form.coefficients > 1) result.energies = EnergiesOf(result.coefficients);
  } catch (const NCError& error) {
    throw FailureOf(error, source, nullptr);
  }
  return result;
}

NCDataMatrix<float> RestoreSeries(const SeriesSet& coefficients, const WaveletForm& form, const std::string& source) {
  RefuseOtherCoefficients(coefficients, form, source);
  const std::vector<std::size_t> places = PlacesInForm(coefficients, form, source);
  const OwnedFilters filters(Wavelet::GetReconstructionFilter(form.wavelet.family, form.wavelet.order));
  const Wavelet::DetrendMode mode = ModeOf(form.detrending);
  const auto length = static_cast<int>(form.places.size());
  BoolVector flags(static_cast<int>(form.basis.size()), false);
  for (std::size_t node = 0; node < form.basis.size(); ++node) flags(static_cast<int>(node) + 1, form.basis[node]);
  NCDataMatrix<float> restored;
  for (std::size_t s = 0; s < coefficients.Size(); ++s) restored.push_back(NCDataVector<float>(length));
  ForEachSeries(coefficients, source, "restoring", [&](std::size_t s) {
    const double offset = form.offsets[places[s]];
    const double slope = form.slopes[places[s]];
    NCDataVector<float> one;
    const bool isDone =
        form.isBestBasis
            ? Wavelet::BackwardTransformBestBasis(&coefficients[s], filters.Get(), &flags, mode, offset, slope, length,
                                                  &one) != nullptr
            : Wavelet::BackwardTransform(&coefficients[s], filters.Get(), mode, offset, slope, length, &one) != nullptr;
    if (!isDone || one.Size() != length) {
      throw BadData(
          fmt::format("{}: {} could not be restored from these coefficients", source, Quoted(coefficients.names[s])));
    }
    for (int i = 1; i <= length; ++i) restored(static_cast<int>(s) + 1)(i, AsPresent(one[i]));
  });
  return restored;
}

std::vector<int> CoefficientsHolding(const NCDataVector<float>& coefficients, std::span<const double> shares) {
  std::vector<double> squares;
  double total = 0.0;
  for (const float value : coefficients) {
    squares.push_back(static_cast<double>(value) * static_cast<double>(value));
    total += squares.back();
  }
  std::sort(squares.begin(), squares.end(), std::greater<>());
  std::vector<int> counts;
  double held = 0.0;
  auto next = squares.begin();
  for (const double share : shares) {
    while (next != squares.end() && held < share * total) held += *next++;
    counts.push_back(static_cast<int>(next - squares.begin()));
  }
  return counts;
}

}  // namespace tool
