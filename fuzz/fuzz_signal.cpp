// Made series through the signal tools, and made matrices through transforms and scaling.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "fuzz/cancel.h"
#include "fuzz/expect.h"
#include "fuzz/made_matrix.h"
#include "voran/platform/exception.h"
#include "voran/platform/nc_error.h"
#include "voran/preprocessing/scale.h"
#include "voran/preprocessing/scale_error.h"
#include "voran/preprocessing/transform.h"
#include "voran/signal/derivate.h"
#include "voran/signal/fft.h"
#include "voran/signal/wavelet.h"

namespace {

using fuzz::Cells;
using fuzz::Expect;
using fuzz::IsSame;
using fuzz::Matrix;
using fuzz::Vector;

constexpr int kLongest = 70;
constexpr float kUntouched = 12345.0f;

Vector MakeSeries(FuzzedDataProvider& bytes, Cells kind) {
  return fuzz::MakeVector(bytes, bytes.ConsumeIntegralInRange<int>(0, kLongest), kind);
}

template <class Mode>
Mode PickMode(FuzzedDataProvider& bytes) {
  return static_cast<Mode>(bytes.ConsumeIntegralInRange<int>(0, 2));
}

// Spectra and correlations.

void FindSpectrum(FuzzedDataProvider& bytes, Cells kind) {
  const Vector x = MakeSeries(bytes, kind);
  const int length = 1 << bytes.ConsumeIntegralInRange<int>(1, 7);
  Vector powers(length / 2 + 2, kUntouched);
  const auto scaling = static_cast<FFT::ScalingMode>(bytes.ConsumeIntegralInRange<int>(0, 1));
  try {
    FFT::PowerSpectrum(&x, length, bytes.ConsumeBool(), PickMode<FFT::DetrendMode>(bytes), scaling,
                       PickMode<FFT::DataWindowMode>(bytes), &powers);
  } catch (const NCError&) {
    return;
  }
  Expect(powers.back() == kUntouched, "a spectrum has as many powers as half a segment, and one");
  Expect(std::all_of(powers.begin(), powers.end(), [](float p) { return p >= 0.0f; }), "a power is not negative");
}

void Correlate(FuzzedDataProvider& bytes, Cells kind) {
  const Vector x = MakeSeries(bytes, kind);
  const Vector y = fuzz::MakeVector(bytes, bytes.ConsumeBool() ? x.Size() : 3, kind);
  const int lags = bytes.ConsumeIntegralInRange<int>(-1, x.Size() + 1);
  Vector result(2 * std::max(lags, 0) + 1, 0.0f);
  FFT::AutoCorrelation(&x, PickMode<FFT::DetrendMode>(bytes), lags, &result);
  if (fuzz::IsTame(kind)) {
    for (const float r : result) Expect(std::fabs(r) < 1.001f, "a correlation lies between -1 and 1");
  }
  FFT::CrossCorrelation(&x, &y, PickMode<FFT::DetrendMode>(bytes), lags, &result);
  if (fuzz::IsTame(kind)) Expect(fuzz::IsFinite(result), "correlations of tame series are numbers");
}

// Wavelets.

struct Filters {
  explicit Filters(FuzzedDataProvider& bytes)
      : type(static_cast<Wavelet::WaveletFunctionType>(bytes.ConsumeIntegralInRange<int>(0, 9))),
        order(bytes.ConsumeIntegralInRange<int>(0, Wavelet::GetNumFunctionOrder(type) + 1)),
        down(Wavelet::GetDecompositionFilter(type, order)),
        up(Wavelet::GetReconstructionFilter(type, order)) {}
  ~Filters() {
    down.CleanUp();
    up.CleanUp();
  }
  Filters(const Filters&) = delete;
  Filters& operator=(const Filters&) = delete;

  Wavelet::WaveletFunctionType type;
  int order;
  Wavelet::WaveletFilters down;
  Wavelet::WaveletFilters up;
};

float Largest(const Vector& v) {
  float largest = 0.0f;
  for (const float x : v) largest = std::max(largest, x == fuzz::kGap ? 0.0f : std::fabs(x));
  return largest;
}

// The filters are stored with some six digits, and a series goes through seven levels of them.
void ExpectRestored(const Vector& x, const Vector& restored) {
  const float tolerance = 2e-2f * (1.0f + Largest(x));
  Expect(restored.Size() == x.Size(), "a restored series has its length");
  for (int i = 1; i <= x.Size(); ++i) {
    Expect(x[i] == fuzz::kGap || std::fabs(x[i] - restored[i]) <= tolerance, "the inverse transform restores a series");
  }
}

void TransformSeries(FuzzedDataProvider& bytes, Cells kind) {
  const Vector x = MakeSeries(bytes, kind);
  const Filters filters(bytes);
  const auto mode = PickMode<Wavelet::DetrendMode>(bytes);
  double trend1 = 0.0;
  double trend2 = 0.0;
  const std::unique_ptr<Vector> coefficients(
      Wavelet::ForwardTransform(&x, filters.down, mode, trend1, trend2, nullptr, bytes.ConsumeBool()));
  if (!coefficients) return;
  const std::unique_ptr<Vector> restored(
      Wavelet::BackwardTransform(coefficients.get(), filters.up, mode, trend1, trend2, x.Size(), nullptr));
  if (restored && kind == Cells::kPlain) ExpectRestored(x, *restored);
  const std::unique_ptr<Matrix> scalogram(Wavelet::PowerSpectrum(coefficients.get(), bytes.ConsumeBool(), nullptr));
  if (!scalogram) return;
  const auto levels = static_cast<int>(std::bit_width(static_cast<unsigned>(coefficients->Size()))) - 1;
  Expect(scalogram->SizeRows() == 2 * levels + 1, "a scalogram has two rows a level, and one");
}

void TransformByBestBasis(FuzzedDataProvider& bytes, Cells kind) {
  const Vector x = MakeSeries(bytes, kind);
  const Filters filters(bytes);
  const auto mode = PickMode<Wavelet::DetrendMode>(bytes);
  double trend1 = 0.0;
  double trend2 = 0.0;
  const std::unique_ptr<BoolVector> basis(Wavelet::FindBestBasis(&x, filters.down, mode));
  if (!basis) return;
  const std::unique_ptr<Vector> coefficients(
      Wavelet::ForwardTransformBestBasis(&x, filters.down, basis.get(), mode, trend1, trend2, nullptr));
  if (!coefficients) return;
  Expect(coefficients->Size() == basis->Size() + 1, "a flag for each inner node of the tree");
  const std::unique_ptr<Vector> restored(Wavelet::BackwardTransformBestBasis(
      coefficients.get(), filters.up, basis.get(), mode, trend1, trend2, x.Size(), nullptr));
  if (restored && kind == Cells::kPlain) ExpectRestored(x, *restored);
}

void TransformMatrix(FuzzedDataProvider& bytes, Cells kind) {
  const Matrix x = fuzz::MakeMatrix(bytes, fuzz::MakeRows(bytes), fuzz::MakeColumns(bytes), kind);
  const fuzz::Untouched input(x);
  const Filters filters(bytes);
  const auto mode = PickMode<Wavelet::DetrendMode>(bytes);
  NCDataVector<double> trend1;
  NCDataVector<double> trend2;
  const bool pads = bytes.ConsumeBool();
  const std::unique_ptr<Matrix> byRow(
      Wavelet::ForwardTransformObswise(&x, filters.down, mode, trend1, trend2, nullptr, pads));
  const std::unique_ptr<Matrix> byColumn(
      Wavelet::ForwardTransformVarwise(&x, filters.down, mode, trend1, trend2, nullptr, pads));
  if (byRow) Expect(byRow->SizeRows() == x.SizeRows(), "a row of coefficients for each row");
  if (byColumn) {
    Expect(byColumn->SizeColumns() == x.SizeColumns(), "a column of coefficients for each column");
    try {
      const std::unique_ptr<Vector> energies(Wavelet::CalcWCEnergy(byColumn.get()));
    } catch (const NCError&) {
    }
  }
  const std::unique_ptr<BoolVector> basis(Wavelet::FindBestBasisObswise(&x, filters.down, mode));
  if (basis) {
    const std::unique_ptr<Matrix> best(
        Wavelet::ForwardTransformBestBasisObswise(&x, filters.down, basis.get(), mode, trend1, trend2, nullptr));
    const std::unique_ptr<Matrix> other(
        Wavelet::ForwardTransformBestBasisVarwise(&x, filters.down, basis.get(), mode, trend1, trend2, nullptr));
  }
  input.Check();
}

// Derivatives.

void Differentiate(FuzzedDataProvider& bytes, Cells kind) {
  const auto order = static_cast<Derivate<float>::PolynomialOrder>(bytes.ConsumeIntegralInRange<int>(2, 3));
  const int window = 2 * bytes.ConsumeIntegralInRange<int>(0, 7) + 1;
  const Derivate<float> derivate(order, window);
  const Vector x = MakeSeries(bytes, kind);
  const int derivative = bytes.ConsumeIntegralInRange<int>(0, 4);
  const float step = fuzz::MakeCell(bytes, kind);
  const bool hasEdges = bytes.ConsumeBool();
  Vector result;
  derivate.Smooth(x, result, hasEdges);
  Expect(result.Size() == x.Size(), "a smooth value for each element");
  if (fuzz::IsTame(kind)) Expect(fuzz::IsFinite(result), "the smooth values of a tame series are numbers");
  try {
    derivate.DoDerivate(x, result, derivative, step, hasEdges);
    Expect(result.Size() == x.Size(), "a derivative for each element");
  } catch (const Exception&) {
    Expect(derivative < 1 || derivative > 3, "the first three derivatives can be had");
    return;
  }
  Vector inPlace = x;
  derivate.DoDerivate(inPlace, inPlace, derivative, step, hasEdges);
  // Where fits fail, or without edges, something of what was there stays.
  constexpr int kLeastWindow = 5;
  const bool allFit = kind == Cells::kPlain && window >= kLeastWindow && x.Size() >= window;
  if (hasEdges && allFit) Expect(result == inPlace, "the result may be the input");
  float value = 0.0f;
  if (x.Size() >= window) {
    const Vector part = fuzz::MakeVector(bytes, window, kind);
    derivate.GetOptima(part, step, bytes.ConsumeBool(), bytes.ConsumeBool(), value);
  }
  const Matrix m = fuzz::MakeMatrix(bytes, fuzz::MakeRows(bytes), fuzz::MakeColumns(bytes), kind);
  Matrix smooth;
  derivate.Smooth(m, smooth, hasEdges);
  Expect(fuzz::HasShape(smooth, m.SizeRows(), m.SizeColumns()), "a smooth value for each cell");
}

// Transforms and scaling.

void TransformColumns(FuzzedDataProvider& bytes, Cells kind) {
  const Matrix x = fuzz::MakeMatrix(bytes, fuzz::MakeRows(bytes), fuzz::MakeColumns(bytes), kind);
  const fuzz::Untouched input(x);
  NCTransform transform(x.SizeColumns());
  for (int j = 1; j <= x.SizeColumns(); ++j) {
    transform[j].SetTransform(static_cast<TransformE::Transform>(bytes.ConsumeIntegralInRange<int>(0, 8)));
    for (int c = 0; c < 4; ++c) transform[j].SetConstant(c, fuzz::MakeCell(bytes, kind));
    const bool isLogit = transform[j].GetTransform() == TransformE::kLogit;  // its plain text deliberately throws
    transform[j].ToString(isLogit || bytes.ConsumeBool());
  }
  Matrix all = x;
  const std::unique_ptr<NCTransformErrors> errors(transform.TransformMatrixNoBreak(&all));
  if (kind == Cells::kPlain) Expect(fuzz::AreCountsRight(all), "what could not be transformed is missing, and counted");
  Matrix upToFirst = x;
  try {
    transform.TransformMatrix(&upToFirst);
    Expect(errors == nullptr && IsSame(all, upToFirst), "both ways transform the same");
  } catch (const NCTransformError&) {
    Expect(errors != nullptr && errors->size() > 0, "both ways see what fails");
    errors->GetErrorMessage();
  }
  for (int j = 1; j <= x.SizeColumns(); ++j) {
    const std::unique_ptr<NCTransformErrors> back(transform[j].BackTransformColumn(&all, j));
  }
  input.Check();
}

void ScaleColumns(FuzzedDataProvider& bytes, Cells kind) {
  const Matrix x = fuzz::MakeMatrix(bytes, fuzz::MakeRows(bytes), fuzz::MakeColumns(bytes), kind);
  const fuzz::Untouched input(x);
  NCScale scale(x.SizeColumns());
  for (int j = 1; j <= scale.Size(); ++j) {
    scale.SetType(j, static_cast<NCScale::Scaling>(bytes.ConsumeIntegralInRange<int>(0, 5)));
  }
  Matrix learnt = x;
  try {
    scale.ScaleMatrix(&learnt, true);
    Matrix applied = x;
    NCScale(scale).ScaleMatrix(&applied, false);
    if (fuzz::IsTame(kind)) {
      Expect(IsSame(learnt, applied), "the rows that were learnt from are scaled the same again");
      Expect(fuzz::AreCountsRight(learnt) && fuzz::IsFinite(learnt), "tame data stay numbers when they are scaled");
      Expect(learnt.GetNumMisVal() == x.GetNumMisVal(), "a gap stays a gap");
    }
  } catch (const NCScaleError&) {
  }
  if (scale.Size() > 0) {
    const int before = scale.Size();
    const int column = bytes.ConsumeIntegralInRange<int>(1, before);
    if (bytes.ConsumeBool()) {
      scale.Remove(fuzz::Groups(1, column));
    } else {
      scale.RemoveValues(column, 1);
    }
    Expect(scale.Size() == before - 1, "a column less");
  }
  input.Check();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider bytes(data, size);
  using Tool = void (*)(FuzzedDataProvider&, Cells);
  constexpr Tool kTools[] = {FindSpectrum,    Correlate,     TransformSeries,  TransformByBestBasis,
                             TransformMatrix, Differentiate, TransformColumns, ScaleColumns};
  const fuzz::Surroundings surroundings(bytes);
  const Cells kind = fuzz::MakeCellKind(bytes);
  bytes.PickValueInArray(kTools)(bytes, kind);
  return 0;
}
