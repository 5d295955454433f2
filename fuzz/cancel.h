#pragma once

#include <atomic>
#include <chrono>
#include <memory>

#include <fuzzer/FuzzedDataProvider.h>

#include "voran/platform/progress.h"
#include "voran/platform/threading_control.h"

namespace fuzz {

/// Answers the polls of whatever runs: that the user wants to stop, from poll number `poll` on.
class CancelAtPoll : public ProgressDisplay {
 public:
  explicit CancelAtPoll(int poll) : left_(poll) {}

  void Begin(const ProgressView& /*view*/) override {}
  void ShowPosition(const ProgressView& /*view*/) override {}
  void ShowSpin(const ProgressView& /*view*/) override {}
  void End(const ProgressView& /*view*/) override {}
  bool IsCancelRequested() const noexcept override { return left_.fetch_sub(1, std::memory_order_relaxed) <= 0; }
  std::chrono::milliseconds UpdateInterval() const noexcept override { return std::chrono::milliseconds(0); }

 private:
  mutable std::atomic<int> left_;
};

/// What one run goes through: one thread or two, and now and then a cancel at some poll. Everything is as before when
/// it is destroyed.
class Surroundings {
 public:
  explicit Surroundings(FuzzedDataProvider& bytes) {
    using NCMultiThreading::ThreadingControl;
    constexpr int kNever = 1 << 30;
    const auto choice = bytes.ConsumeIntegral<std::uint8_t>();
    ThreadingControl::SetNumberOfProcessors(choice % 16 == 15 ? 2 : 1);
    ThreadingControl::SetThreadingIsOn(true);
    wantsCancel_ = choice >= 192;
    const int poll = wantsCancel_ ? bytes.ConsumeIntegralInRange<int>(0, 300) : kNever;
    NCProgress::SetDisplay(std::make_shared<CancelAtPoll>(poll));
  }
  ~Surroundings() { NCProgress::SetDisplay(nullptr); }
  Surroundings(const Surroundings&) = delete;
  Surroundings& operator=(const Surroundings&) = delete;

  bool WantsCancel() const { return wantsCancel_; }

 private:
  bool wantsCancel_ = false;
};

}  // namespace fuzz
