#include "voran/platform/threading_control.h"

#include <algorithm>
#include <atomic>

#include <omp.h>

inline namespace voran {
namespace {

// Relaxed atomics: as cheap as plain variables, and a host that reads one while it starts its threads is not in a race.
struct Settings {
  std::atomic<bool> isOn;
  std::atomic<int> processors;
  std::atomic<int> width;

  Settings() { Start(); }

  void Start() {
    omp_set_dynamic(1);
    const int available = omp_get_num_procs();
    processors.store(available, std::memory_order_relaxed);
    isOn.store(available > 1, std::memory_order_relaxed);
    SetWidth(available);
  }

  void SetWidth(int threads) {
    width.store(threads, std::memory_order_relaxed);
    omp_set_num_threads(threads);
  }
};

// Built on first use, so that another library's static initialisation finds the start state too.
Settings& CurrentSettings() {
  static Settings settings;
  return settings;
}

// OpenMP has to be set up at load even if nobody asks for a setting.
[[maybe_unused]] const Settings& settingsAtLoad = CurrentSettings();

}  // namespace

namespace NCMultiThreading {

bool ThreadingControl::IsThreadingOn() {
  return CurrentSettings().isOn.load(std::memory_order_relaxed);
}

void ThreadingControl::SetThreadingIsOn(bool on) {
  CurrentSettings().isOn.store(on, std::memory_order_relaxed);
  CurrentSettings().SetWidth(on ? std::max(1, GetNumberOfProcessors()) : 1);
}

int ThreadingControl::GetNumberOfProcessors() {
  return CurrentSettings().processors.load(std::memory_order_relaxed);
}

void ThreadingControl::SetNumberOfProcessors(int n) {
  CurrentSettings().processors.store(n, std::memory_order_relaxed);
}

void ThreadingControl::Reset() {
  CurrentSettings().Start();
}

}  // namespace NCMultiThreading

namespace detail {

int ParallelWidth() {
  return omp_in_parallel() != 0 ? 1 : CurrentSettings().width.load(std::memory_order_relaxed);
}

}  // namespace detail
}  // namespace voran
