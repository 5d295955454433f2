#pragma once

#include <vector>

#include "voran/containers/data_vector.h"
#include "voran/signal/kernels/filtering.h"

inline namespace voran {
namespace detail {

/// One level of a periodic two-channel filter bank with decimation by 2, in float.
///
/// With x(0) to x(n - 1) a block, of an even n and continued periodically, and f(0) to f(m - 1) a filter:
///   high(i) = sum over j of f(j) x(2i + 1 - j)      with the high-pass filter,
///   low(i) = sum over j of f(j) x(2i + m - 1 - j)   with the low-pass filter, for i < n/2.
/// Merge() is the adjoint. A sum runs in ascending j; in Merge() the terms of the high half come first.
///
/// Holds work space for one block: one object serves one thread.
class FilterBank {
 public:
  /// For blocks of at most `longest` elements.
  FilterBank(const NCDataVector<float>& highPass, const NCDataVector<float>& lowPass, int longest);

  /// The outputs may overlap the block.
  void Split(const float* block, int n, float* low, float* high);
  void Merge(const float* low, const float* high, int n, float* block);

 private:
  /// Tap j of output i meets element 2i + lead - j of the block.
  struct Channel {
    std::vector<float> taps;
    int lead;
  };

  static Channel MakeChannel(const NCDataVector<float>& filter, bool isHighPass);
  float* Phase(int k) { return work_.data() + k * phaseSize_ + padding_; }
  /// Continues a phase of `half` elements periodically on both sides.
  void Continue(float* phase, int half) const;
  void SplitChannel(const Channel& channel, int half, float* out);
  void MergePhase(int phase, int half, float* out);
  void AddTerms(const Channel& channel, const float* half, int phase);
  void SumTerms(float* out, int n);

  const FilteringKernels& kernels_;
  Channel high_;
  Channel low_;
  int padding_;
  int phaseSize_;
  std::vector<float> work_;  ///< two phases with their continuations, and two more that are written only
  std::vector<const float*> sources_;
  std::vector<float> weights_;
};

}  // namespace detail
}  // namespace voran
