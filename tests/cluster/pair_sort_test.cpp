#include "voran/cluster/pair_sort.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/cluster/plain_cluster.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"

namespace {

using plain::Pairs;
using voran::DendroGram::DistanceAndIndex;
using voran::DendroGram::detail::PairList;
using voran::DendroGram::detail::PairSort;

/// Each pair is known by its place at the start, so that equal distances can be told apart.
Pairs Numbered(const std::vector<float>& distances) {
  Pairs pairs;
  for (const float d : distances) pairs.push_back({d, static_cast<int>(pairs.size()) + 1, 0});
  return pairs;
}

std::vector<float> Made(std::size_t n, const std::function<float(std::size_t)>& value) {
  std::vector<float> distances(n);
  for (std::size_t i = 0; i < n; ++i) distances[i] = value(i);
  return distances;
}

float WholePart(std::size_t n, std::size_t divisor) {
  const std::size_t whole = n / divisor;
  return static_cast<float>(whole);
}

/// Distances that make every pivot one of the largest of its range: elements get their values when a comparison asks
/// for them, the candidate for a pivot a small one (M. D. McIlroy, A Killer Adversary for Quicksort, 1999).
std::vector<float> Adversarial(std::size_t n) {
  struct State {
    std::vector<std::size_t> rank;
    std::size_t unset;
    std::size_t settled = 0;
    std::size_t candidate = 0;
  };
  State state{std::vector<std::size_t>(n, n), n};
  std::vector<std::size_t> items(n);
  std::iota(items.begin(), items.end(), std::size_t{0});
  const auto isBefore = [&state](std::size_t a, std::size_t b) {
    auto& rank = state.rank;
    if (rank[a] == state.unset && rank[b] == state.unset) rank[a == state.candidate ? a : b] = state.settled++;
    if (rank[a] == state.unset) state.candidate = a;
    if (rank[b] == state.unset) state.candidate = b;
    return rank[a] < rank[b];
  };
  plain::Sort<std::size_t, decltype(isBefore)>(isBefore).Run(items.data(), items.data() + n);
  return Made(n, [&](std::size_t i) { return static_cast<float>(2 * n - state.rank[i]); });
}

std::vector<float> Random(std::size_t n, unsigned levels = 1U << 24) {
  std::mt19937 generator(7);
  return Made(n, [&](std::size_t) { return static_cast<float>(generator() % levels); });
}

std::vector<std::pair<std::string, std::vector<float>>> Cases() {
  std::vector<std::pair<std::string, std::vector<float>>> cases;
  for (const std::size_t n : {0U, 1U, 2U, 31U, 32U, 33U, 34U, 40U, 41U, 42U, 43U, 100U, 3000U}) {
    for (const unsigned levels : {1U << 24, 200U, 3U, 1U}) {
      cases.emplace_back("random of " + std::to_string(levels), Random(n, levels));
    }
    cases.emplace_back("ascending", Made(n, [](std::size_t i) { return WholePart(i, 2); }));
    cases.emplace_back("descending", Made(n, [n](std::size_t i) { return WholePart(n - i, 3); }));
  }
  cases.emplace_back("adversarial", Adversarial(3000));
  std::vector<float> tied = Adversarial(3000);
  for (float& d : tied) d = WholePart(static_cast<std::size_t>(d), 2);
  cases.emplace_back("adversarial with ties", tied);
  return cases;
}

TEST(PairSort, WhatWasReachedStandsAsTheWholeSortLeavesIt) {
  for (const auto& [name, distances] : Cases()) {
    Pairs expected = Numbered(distances);
    plain::SortPairs(expected);
    const Pairs pairs = Numbered(distances);
    PairList list(pairs.begin(), pairs.end());
    PairSort sort(list.size());
    while (!list.empty()) {
      sort.ReachLast(list);
      const DistanceAndIndex& x = expected[list.size() - 1];
      ASSERT_TRUE(list.back().distance == x.distance && list.back().first == x.first) << name << list.size();
      list.pop_back();
    }
  }
}

TEST(PairSort, AdversaryReachesTheHeapSort) {
  Pairs pairs = Numbered(Adversarial(3000));
  plain::Sort<DistanceAndIndex, bool (*)(const DistanceAndIndex&, const DistanceAndIndex&)> sort(plain::IsBefore);
  sort.Run(pairs.data(), pairs.data() + pairs.size());
  EXPECT_GT(sort.NumHeapSorts(), 0);
}

TEST(PairSort, SortsOnlyWhatIsAskedFor) {
  const Pairs pairs = Numbered(Random(100000));
  PairList list(pairs.begin(), pairs.end());
  PairSort sort(list.size());
  sort.ReachLast(list);
  EXPECT_FALSE(std::is_sorted(list.begin(), list.begin() + 50000, plain::IsBefore));
}

TEST(PairSort, OneLongStepSeesABreak) {
  const Pairs pairs = Numbered(Random(200000));
  PairList list(pairs.begin(), pairs.end());
  NCProgress::SetDisplay(std::make_shared<plain::Watcher>(3));  // the first is before the step
  {
    NCProgress progress("", 0.0f, 1.0f, false, false, true, "");
    EXPECT_THROW(voran::DendroGram::detail::SortOneStep(list, {0, list.size(), list.size()}, &progress), NCError);
  }
  NCProgress::SetDisplay(nullptr);
}

}  // namespace
