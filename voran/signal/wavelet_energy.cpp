#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "voran/platform/nc_error.h"
#include "voran/signal/given_result.h"
#include "voran/signal/power_of_two.h"
#include "voran/signal/wavelet.h"

inline namespace voran {

using detail::FloorLog2;
using detail::IsPowerOfTwo;

namespace {

/// base^exponent by repeated squaring.
double Power(double base, int exponent) {
  double power = 1.0;
  for (; exponent > 0; exponent /= 2, base *= base) {
    if (exponent % 2 == 1) power *= base;
  }
  return power;
}

/// The coefficients of 2^J without the first, each multiplied by sqrt(2) for every level that is finer than its own and
/// once more, at norm 1.
NCDataVector<float> SpreadAndNormalised(const NCDataVector<float>& x, int levels) {
  NCDataVector<float> v(x);
  float* const base = v.GetWritableVector();
  base[1] = 0.0f;
  for (int band = 1; band <= levels; ++band) {
    const double factor = Power(std::numbers::sqrt2, levels - band + 1);
    for (int i = (1 << (band - 1)) + 1; i <= 1 << band; ++i) {
      base[i] = static_cast<float>(static_cast<double>(base[i]) * factor);
    }
  }
  v.Normalise();
  return v;
}

/// The energy of the rows first..last; a row without data has none.
double EnergyOfRows(const NCDataMatrix<float>& coefficients, int first, int last) {
  double energy = 0.0;
  for (int i = first; i <= last; ++i) {
    if (coefficients[i].GetNumMisVal() < coefficients[i].Size()) energy += coefficients[i].GetSS();
  }
  if (!std::isfinite(energy)) {
    throw NCError(ExceptionMessage::translate("Wavelet energy calculations overflowed."), NCError::Level::kGeneral);
  }
  return energy;
}

}  // namespace

NCDataMatrix<float>* Wavelet::PowerSpectrum(const NCDataVector<float>* x, bool limit, NCDataMatrix<float>* result) {
  constexpr int kMostColumns = 256;
  if (x == nullptr || !IsPowerOfTwo(x->Size()) || x->GetNumMisVal() != 0) return nullptr;
  const int n = x->Size();
  const int levels = FloorLog2(n);
  const int columns = limit ? std::min(n, kMostColumns) : n;
  const int samplesPerColumn = n / columns;
  const NCDataVector<float> v = SpreadAndNormalised(*x, levels);
  NCDataMatrix<float> image(2 * levels + 1, columns, 0.0f);
  for (int band = 1; band <= levels; ++band) {
    const int first = (1 << (band - 1)) + 1;
    const int samplesPerCoefficient = n >> (band - 1);
    float* const row = image(2 * (levels - band + 1)).GetWritableVector();
    for (int q = 0; q < n; ++q) {
      const float value = v[first + q / samplesPerCoefficient];
      float& cell = row[q / samplesPerColumn + 1];
      cell = std::max(cell, 100.0f * (value * value));
    }
  }
  return detail::InResultOrNew(image, result);
}

NCDataVector<float>* Wavelet::CalcWCEnergy(const NCDataMatrix<float>* coefficients) {
  if (coefficients == nullptr) return nullptr;
  const int rows = coefficients->SizeRows();
  if (rows < 2) {
    throw NCError(ExceptionMessage::translate(
                      "Wavelet energy can not be calculated because the vector only contains one element."),
                  NCError::Level::kGeneral);
  }
  const bool isPower = IsPowerOfTwo(rows);
  std::vector<double> energies;
  double total = 0.0;
  int last = isPower ? rows : rows - rows % 2;
  for (int level = 1; level <= FloorLog2(rows); ++level) {
    const int half = last / 2;
    const int first = half + 1 - (isPower ? 0 : half % 2);
    energies.push_back(EnergyOfRows(*coefficients, first, last));
    total += energies.back();
    last = first - 1;
  }
  NCDataVector<float> shares;
  for (const double energy : energies) shares.push_back(static_cast<float>(total > 0.0 ? energy / total : energy));
  return detail::InResultOrNew<NCDataVector<float>>(shares, nullptr);
}

}  // namespace voran
