#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <iterator>
#include <vector>

inline double Seconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double Median(std::vector<double> values) {
  const auto middle = values.begin() + std::ssize(values) / 2;
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// The median time of each work over `repeats` runs, in seconds. All works run in turn, so that what else the machine
/// does strikes all of them; each is run once before it is timed, so that none finds in the cache what another has left
/// there.
inline std::vector<double> MediansInTurn(int repeats, const std::vector<std::function<void()>>& works) {
  std::vector<std::vector<double>> times(works.size());
  for (int repeat = -2; repeat < repeats; ++repeat) {
    for (std::size_t k = 0; k < works.size(); ++k) {
      works[k]();
      const double seconds = Seconds(works[k]);
      if (repeat >= 0) times[k].push_back(seconds);
    }
  }
  std::vector<double> medians;
  for (const auto& time : times) medians.push_back(Median(time));
  return medians;
}
