#include <cmath>

#include "voran/signal/filter_bank.h"
#include "voran/signal/given_result.h"
#include "voran/signal/power_of_two.h"
#include "voran/signal/wavelet.h"

inline namespace voran {

using detail::FilterBank;

namespace {

/// Where a node's two halves go. They change places from node to node, so that the blocks of a level stand in the order
/// of their frequencies.
struct HalfPositions {
  HalfPositions(int n, int index) {
    const int start = (index - 1) * n + 1;
    const bool isLowFirst = index % 2 == 1;
    low = start + (isLowFirst ? 0 : n / 2);
    high = start + (isLowFirst ? n / 2 : 0);
  }

  int low;
  int high;
};

bool HasFlagsFor(const BoolVector* flags, int length) {
  return flags != nullptr && flags->Size() >= length - 1;
}

}  // namespace

int Wavelet::Node(int level, int index) {
  return (1 << (level - 1)) - 1 + index;
}

double Wavelet::CalcEntropy(const NCDataVector<float>& v, int start, int count, double norm) {
  if (norm == 0.0) return 0.0;
  double entropy = 0.0;
  for (int i = start; i < start + count; ++i) {
    const double ratio = static_cast<double>(v[i]) / norm;
    const double p = ratio * ratio;
    if (p != 0.0) entropy -= p * std::log(p);
  }
  return entropy;
}

NCDataVector<float> Wavelet::MakeEntropyTree(const NCDataVector<float>& x, const WaveletFilters& filters) {
  const int n = x.Size();
  const double norm = std::sqrt(x.GetSS());
  NCDataVector<float> v(x);
  FilterBank bank(*filters.highPass, *filters.lowPass, n);
  NCDataVector<float> entropies(2 * n - 1);
  entropies(1, static_cast<float>(CalcEntropy(x, 1, n, norm)));
  for (int level = 1, size = n; size > 1; ++level, size /= 2) {
    const int half = size / 2;
    for (int index = 1; index <= n / size; ++index) {
      const HalfPositions positions(size, index);
      SplitLevel(v, v, size, positions.low, positions.high, bank);
      for (int child = 2 * index - 1; child <= 2 * index; ++child) {
        const double entropy = CalcEntropy(v, (child - 1) * half + 1, half, norm);
        entropies(Node(level + 1, child), static_cast<float>(entropy));
      }
    }
  }
  return entropies;
}

void Wavelet::GetBestBasisTree(NCDataVector<float>& entropies, BoolVector& flags) {
  flags.SetNumValues((entropies.Size() + 1) / 2 - 1, false);
  for (int node = flags.Size(); node > 0; --node) {  // children stand behind their node, at twice its position
    const double split = static_cast<double>(entropies[2 * node]) + static_cast<double>(entropies[2 * node + 1]);
    if (!(static_cast<double>(entropies[node]) > split)) continue;
    entropies(node, static_cast<float>(split));
    flags(node, true);
  }
}

BoolVector* Wavelet::FindBestBasis(const NCDataVector<float>* x, const WaveletFilters& filters, DetrendMode mode) {
  if (!IsUsable(x, filters)) return nullptr;
  double trend1 = 0.0;
  double trend2 = 0.0;
  NCDataVector<float> entropies = MakeEntropyTree(Prepared(*x, mode, trend1, trend2, true), filters);
  BoolVector flags;
  GetBestBasisTree(entropies, flags);
  return new BoolVector(flags);
}

BoolVector* Wavelet::FindBestBasisObswise(const NCDataMatrix<float>* x, const WaveletFilters& filters,
                                          DetrendMode mode) {
  if (x == nullptr || x->SizeRows() == 0) return nullptr;
  const NCDataVector<double> means = x->GetColumnMeans();
  NCDataVector<float> narrowed(means.Size());
  for (int i = 1; i <= means.Size(); ++i) narrowed(i, static_cast<float>(means[i]));
  return FindBestBasis(&narrowed, filters, mode);
}

void Wavelet::SplitTree(NCDataVector<float>& v, int n, int level, int index, const BoolVector& flags,
                        FilterBank& filters) {
  if (n < 2 || !flags[Node(level, index)]) return;
  const HalfPositions positions(n, index);
  SplitLevel(v, v, n, positions.low, positions.high, filters);
  for (int child = 2 * index - 1; child <= 2 * index; ++child) {
    SplitTree(v, n / 2, level + 1, child, flags, filters);
  }
}

void Wavelet::MergeTree(NCDataVector<float>& v, int n, int level, int index, const BoolVector& flags,
                        FilterBank& filters) {
  if (n < 2 || !flags[Node(level, index)]) return;
  for (int child = 2 * index - 1; child <= 2 * index; ++child) {
    MergeTree(v, n / 2, level + 1, child, flags, filters);
  }
  const HalfPositions positions(n, index);
  MergeLevel(v, v, n, positions.low, positions.high, filters);
}

void Wavelet::SubForwardTransFormBestBasis(NCDataVector<float>& v, int n, int level, int index, const BoolVector& flags,
                                           const WaveletFilters& filters) {
  FilterBank bank(*filters.highPass, *filters.lowPass, n);
  SplitTree(v, n, level, index, flags, bank);
}

void Wavelet::SubBackwardTransFormBestBasis(NCDataVector<float>& v, int n, int level, int index,
                                            const BoolVector& flags, const WaveletFilters& filters) {
  FilterBank bank(*filters.highPass, *filters.lowPass, n);
  MergeTree(v, n, level, index, flags, bank);
}

NCDataVector<float>* Wavelet::ForwardTransformBestBasis(const NCDataVector<float>* x, const WaveletFilters& filters,
                                                        const BoolVector* flags, DetrendMode mode, double& trend1,
                                                        double& trend2, NCDataVector<float>* result) {
  if (!IsUsable(x, filters) || !HasFlagsFor(flags, PaddedLength(x->Size()))) return nullptr;
  NCDataVector<float> v = Prepared(*x, mode, trend1, trend2, true);
  SubForwardTransFormBestBasis(v, v.Size(), 1, 1, *flags, filters);
  return detail::InResultOrNew(v, result);
}

NCDataVector<float>* Wavelet::BackwardTransformBestBasis(const NCDataVector<float>* coefficients,
                                                         const WaveletFilters& filters, const BoolVector* flags,
                                                         DetrendMode mode, double trend1, double trend2,
                                                         int originalLength, NCDataVector<float>* result) {
  if (!IsUsable(coefficients, filters) || coefficients->GetNumMisVal() != 0 ||
      !detail::IsPowerOfTwo(coefficients->Size()) || !HasFlagsFor(flags, coefficients->Size())) {
    return nullptr;
  }
  NCDataVector<float> v(*coefficients);
  SubBackwardTransFormBestBasis(v, v.Size(), 1, 1, *flags, filters);
  return detail::InResultOrNew(Restored(v, mode, trend1, trend2, originalLength), result);
}

}  // namespace voran
