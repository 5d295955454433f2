#include <algorithm>
#include <bit>
#include <vector>

#include "voran/signal/filter_bank.h"
#include "voran/signal/given_result.h"
#include "voran/signal/padding.h"
#include "voran/signal/wavelet.h"

inline namespace voran {

using detail::FilterBank;

namespace {

/// The numbers of elements that the levels split, the finest first. One that is odd leaves its last element out.
std::vector<int> LevelSizes(int length) {
  std::vector<int> sizes;
  for (int n = length; n > 1; n /= 2) sizes.push_back(n - n % 2);
  return sizes;
}

}  // namespace

void Wavelet::DetrendVector(NCDataVector<float>& v, DetrendMode mode, double& trend1, double& trend2) {
  if (mode == DetrendMode::kMean) v.DetrendMean(trend1);
  if (mode == DetrendMode::kLinear) v.DetrendLinear(trend1, trend2);
}

void Wavelet::RetrendVector(NCDataVector<float>& v, DetrendMode mode, double trend1, double trend2) {
  if (mode != DetrendMode::kMean && mode != DetrendMode::kLinear) return;
  const double slope = mode == DetrendMode::kLinear ? trend2 : 0.0;
  float* const base = v.GetWritableVector();
  for (int i = 1; i <= v.Size(); ++i) {
    base[i] = static_cast<float>(static_cast<double>(base[i]) + (slope * i + trend1));
  }
}

void Wavelet::PadVector(NCDataVector<float>& v, int length) {
  detail::PadTowardsStart(v, length);
}

bool Wavelet::IsUsable(const NCDataVector<float>* x, const WaveletFilters& filters) {
  return x != nullptr && x->GetNumMisVal() < x->Size() && AreUsable(filters);
}

bool Wavelet::AreUsable(const WaveletFilters& filters) {
  return filters.highPass != nullptr && filters.lowPass != nullptr && filters.highPass->Size() > 0 &&
         filters.lowPass->Size() > 0;
}

NCDataVector<float> Wavelet::Prepared(const NCDataVector<float>& x, DetrendMode mode, double& trend1, double& trend2,
                                      bool pad) {
  NCDataVector<float> v(x);
  v.InterpolateMisVals(nullptr);
  DetrendVector(v, mode, trend1, trend2);
  if (pad) PadVector(v, PaddedLength(v.Size()));
  return v;
}

int Wavelet::PaddedLength(int length) {
  return static_cast<int>(std::bit_ceil(static_cast<unsigned>(length)));
}

NCDataVector<float> Wavelet::Restored(NCDataVector<float> v, DetrendMode mode, double trend1, double trend2,
                                      int originalLength) {
  if (originalLength > 0 && originalLength < v.Size()) v.Resize(originalLength, 0.0f);
  RetrendVector(v, mode, trend1, trend2);
  return v;
}

void Wavelet::SplitLevel(const NCDataVector<float>& in, NCDataVector<float>& out, int n, int inPosition,
                         int outPosition, FilterBank& filters) {
  float* const halves = out.GetWritableVector();  // before `in` is looked at, which may be the same vector
  filters.Split(in.GetVector() + std::min(inPosition, outPosition), n, halves + inPosition, halves + outPosition);
}

void Wavelet::MergeLevel(const NCDataVector<float>& in, NCDataVector<float>& out, int n, int inPosition,
                         int outPosition, FilterBank& filters) {
  float* const block = out.GetWritableVector() + std::min(inPosition, outPosition);
  filters.Merge(in.GetVector() + inPosition, in.GetVector() + outPosition, n, block);
}

void Wavelet::SubForwardTransform(const NCDataVector<float>& in, NCDataVector<float>& out, int n, int inPosition,
                                  int outPosition, const WaveletFilters& filters) {
  FilterBank bank(*filters.highPass, *filters.lowPass, n);
  SplitLevel(in, out, n, inPosition, outPosition, bank);
}

void Wavelet::SubBackwardTransform(const NCDataVector<float>& in, NCDataVector<float>& out, int n, int inPosition,
                                   int outPosition, const WaveletFilters& filters) {
  FilterBank bank(*filters.highPass, *filters.lowPass, n);
  MergeLevel(in, out, n, inPosition, outPosition, bank);
}

NCDataVector<float>* Wavelet::ForwardTransform(const NCDataVector<float>* x, const WaveletFilters& filters,
                                               DetrendMode mode, double& trend1, double& trend2,
                                               NCDataVector<float>* result, bool pad) {
  if (!IsUsable(x, filters)) return nullptr;
  NCDataVector<float> v = Prepared(*x, mode, trend1, trend2, pad);
  FilterBank bank(*filters.highPass, *filters.lowPass, v.Size());
  for (const int n : LevelSizes(v.Size())) SplitLevel(v, v, n, 1, n / 2 + 1, bank);
  return detail::InResultOrNew(v, result);
}

NCDataVector<float>* Wavelet::BackwardTransform(const NCDataVector<float>* coefficients, const WaveletFilters& filters,
                                                DetrendMode mode, double trend1, double trend2, int originalLength,
                                                NCDataVector<float>* result) {
  if (!IsUsable(coefficients, filters) || coefficients->GetNumMisVal() != 0) return nullptr;
  NCDataVector<float> v(*coefficients);
  FilterBank bank(*filters.highPass, *filters.lowPass, v.Size());
  std::vector<int> sizes = LevelSizes(v.Size());
  std::reverse(sizes.begin(), sizes.end());
  for (const int n : sizes) MergeLevel(v, v, n, 1, n / 2 + 1, bank);
  return detail::InResultOrNew(Restored(v, mode, trend1, trend2, originalLength), result);
}

}  // namespace voran
