#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <future>
#include <string_view>
#include <thread>

#include "tests/faults/operations.h"
#include "voran/platform/progress.h"
#include "voran/platform/threading_control.h"

/// How long each operation goes on after the user has broken it off: the worst of a few moments, in milliseconds.

namespace {

using faults::Attempt;
using faults::Operation;
using faults::Shape;
using NCMultiThreading::ThreadingControl;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr double kOver = -1.0;

/// Of a break after `wait`; kOver if the operation was done by then.
double Latency(const Operation& operation, const Shape& shape, std::chrono::milliseconds wait) {
  const Attempt attempt = operation.begin(shape);
  NCProgress progress("", 0.0F, 1.0F, false, false, true, "");
  auto run = std::async(std::launch::async, [&] { return faults::StopOf([&] { attempt.run(&progress); }); });
  const bool isOver = run.wait_for(wait) == std::future_status::ready;
  const auto asked = Clock::now();
  NCProgress::RequestCancelAll();
  const faults::Stop stop = run.get();
  const double elapsed = Milliseconds(Clock::now() - asked).count();
  NCProgress::ClearCancelAll();
  if (!isOver && stop == faults::Stop()) std::printf("(done before it looked, %.0f ms after the break) ", elapsed);
  return isOver ? kOver : elapsed;
}

void Measure(const Operation& operation, const Shape& shape) {
  std::printf("%-22s", operation.name);
  for (const int threads : {1, 2}) {
    ThreadingControl::SetNumberOfProcessors(threads);
    ThreadingControl::SetThreadingIsOn(threads > 1);
    double worst = kOver;
    for (const int wait : {20, 70, 200, 600, 1500}) {
      const double latency = Latency(operation, shape, std::chrono::milliseconds(wait));
      if (latency == kOver) break;
      worst = std::max(worst, latency);
    }
    std::printf("%10.1f", worst);
    std::fflush(stdout);
  }
  std::printf("\n");
}

}  // namespace

/// Arguments: the names of operations; all, if there are none.
int main(int argc, char** argv) {
  std::printf("%-22s%10s%10s\n", "20000 x 1000", "1 thread", "2 threads");
  for (const auto* const operations : {&faults::ModelOperations(), &faults::OtherOperations()}) {
    for (const Operation& operation : *operations) {
      const std::string_view name = operation.name;
      const bool isAsked = argc == 1 || std::find(argv + 1, argv + argc, name) != argv + argc;
      if (operation.stops.empty() || !isAsked) continue;
      Shape shape{20000, 1000, 3};
      if (name == "Table") shape.rows = 2000;  // its text has ten times as many
      if (name == "Fisher") shape.rows = 60;   // those are counts
      Measure(operation, shape);
    }
  }
}
