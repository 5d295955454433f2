#include "voran/signal/filter_bank.h"

#include <algorithm>
#include <cstddef>

inline namespace voran {
namespace detail {

FilterBank::FilterBank(const NCDataVector<float>& highPass, const NCDataVector<float>& lowPass, int longest)
    : kernels_(FilteringKernels::Current()),
      high_(MakeChannel(highPass, true)),
      low_(MakeChannel(lowPass, false)),
      padding_(std::max(highPass.Size(), lowPass.Size()) / 2 + 1),
      phaseSize_(longest / 2 + 2 * padding_) {
  work_.resize(4 * static_cast<std::size_t>(phaseSize_));
  sources_.reserve(high_.taps.size() + low_.taps.size());
  weights_.reserve(sources_.capacity());
}

FilterBank::Channel FilterBank::MakeChannel(const NCDataVector<float>& filter, bool isHighPass) {
  return {{filter.begin(), filter.end()}, isHighPass ? 1 : filter.Size() - 1};
}

void FilterBank::Continue(float* phase, int half) const {
  for (int k = 1; k <= padding_; ++k) phase[-k] = phase[half - k];
  for (int k = 0; k < padding_; ++k) phase[half + k] = phase[k];
}

void FilterBank::SumTerms(float* out, int n) {
  kernels_.weightedSum(sources_.data(), weights_.data(), sources_.size(), out, static_cast<std::size_t>(n));
  sources_.clear();
  weights_.clear();
}

void FilterBank::Split(const float* block, int n, float* low, float* high) {
  const int half = n / 2;
  kernels_.deinterleave(block, Phase(0), Phase(1), static_cast<std::size_t>(half));
  Continue(Phase(0), half);
  Continue(Phase(1), half);
  SplitChannel(high_, half, high);
  SplitChannel(low_, half, low);
}

void FilterBank::SplitChannel(const Channel& channel, int half, float* out) {
  int offset = channel.lead;
  for (const float tap : channel.taps) {
    sources_.push_back(Phase(offset & 1) + (offset >> 1));
    weights_.push_back(tap);
    --offset;
  }
  SumTerms(out, half);
}

void FilterBank::Merge(const float* low, const float* high, int n, float* block) {
  const int half = n / 2;
  std::copy_n(high, half, Phase(0));
  std::copy_n(low, half, Phase(1));
  Continue(Phase(0), half);
  Continue(Phase(1), half);
  MergePhase(0, half, Phase(2));
  MergePhase(1, half, Phase(3));
  kernels_.interleave(Phase(2), Phase(3), block, static_cast<std::size_t>(half));
}

void FilterBank::MergePhase(int phase, int half, float* out) {
  AddTerms(high_, Phase(0), phase);
  AddTerms(low_, Phase(1), phase);
  SumTerms(out, half);
}

// Element 2q + phase takes tap j of output i where 2q + phase = 2i + lead - j.
void FilterBank::AddTerms(const Channel& channel, const float* half, int phase) {
  const int first = (phase + channel.lead) & 1;
  for (int j = first; j < static_cast<int>(channel.taps.size()); j += 2) {
    sources_.push_back(half + (phase - channel.lead + j) / 2);
    weights_.push_back(channel.taps[static_cast<std::size_t>(j)]);
  }
}

}  // namespace detail
}  // namespace voran
