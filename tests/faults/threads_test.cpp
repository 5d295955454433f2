#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/faults/operations.h"
#include "voran/platform/progress.h"
#include "voran/platform/threading_control.h"

namespace faults {
namespace {

using NCMultiThreading::ThreadingControl;

constexpr Shape kShape = {40, 60, 2};  // enough for the sanitizer, which takes a hundred times as long

class Threads : public ::testing::Test {
 protected:
  void TearDown() override {
    NCProgress::ClearCancelAll();
    ThreadingControl::Reset();
  }
};

/// The work goes on until it is stopped, however often it is done before.
TEST_F(Threads, ACancelFromAnotherOneIsHeard) {
  for (const Operation& operation : ModelOperations()) {
    if (operation.stops.empty()) continue;
    const bool hasOwnProgress = std::string_view(operation.name) == "YOrthogonalPls";
    for (const int threads : {2, 8}) {
      SCOPED_TRACE(::testing::Message() << operation.name << ", " << threads << " threads");
      ThreadingControl::SetNumberOfProcessors(threads);
      ThreadingControl::SetThreadingIsOn(true);
      const Attempt attempt = operation.begin(kShape);
      NCProgress progress("", 0.0F, 1.0F, false, false, true, "");
      std::atomic<bool> isWorking{false};
      auto work = std::async(std::launch::async, [&] {
        isWorking = true;
        Stop stop;
        while (stop == Stop()) stop = StopOf([&] { attempt.run(&progress); });
        return stop;
      });
      while (!isWorking) std::this_thread::yield();
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      hasOwnProgress ? NCProgress::RequestCancelAll() : progress.RequestCancel();
      EXPECT_THAT(operation.stops, ::testing::Contains(work.get()));
      NCProgress::ClearCancelAll();
    }
  }
}

/// All operations at a time, on data that share their elements.
TEST_F(Threads, OperationsSideBySideHaveTheirOwnResults) {
  ThreadingControl::SetNumberOfProcessors(2);
  ThreadingControl::SetThreadingIsOn(true);
  std::vector<const Operation*> operations;
  for (const auto* const table : {&ModelOperations(), &OtherOperations()}) {
    for (const Operation& operation : *table) {
      const std::string_view name = operation.name;
      // Settings of the process, and a lock.
      if (name != "SingleLinkageOnDisk" && name != "Fisher") operations.push_back(&operation);
    }
  }
  const auto begin = [&] {
    std::vector<Attempt> attempts;
    for (const Operation* const operation : operations) attempts.push_back(operation->begin(kShape));
    return attempts;
  };
  const std::vector<Attempt> alone = begin();
  for (const Attempt& attempt : alone) attempt.run(nullptr);
  for (const std::size_t threads : {2U, 8U}) {
    const std::vector<Attempt> together = begin();
    std::atomic<std::size_t> next{0};
    std::vector<std::future<void>> workers;
    for (std::size_t t = 0; t < threads; ++t) {
      workers.push_back(std::async(std::launch::async, [&] {
        for (std::size_t i = next++; i < together.size(); i = next++) together[i].run(nullptr);
      }));
    }
    for (auto& worker : workers) worker.get();
    for (std::size_t i = 0; i < together.size(); ++i) {
      EXPECT_TRUE(together[i].bytes() == alone[i].bytes()) << operations[i]->name;
    }
  }
}

}  // namespace
}  // namespace faults
