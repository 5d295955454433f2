// Single linkage and Ward's method.

#include <algorithm>
#include <cmath>
#include <functional>

#include "benchmarks/side_by_side.h"
#include "voran/cluster/single_linkage_distance_calculator.h"
#include "voran/cluster/ward_distance_calculator.h"

namespace side_by_side {
namespace {

namespace dendro = voran::DendroGram;

/// The heights of all merges.
std::vector<double> Heights(dendro::ClusterDistanceCalculator& calculator, const Matrix& x) {
  calculator.Init(x, nullptr);
  std::vector<double> heights;
  for (int merge = 1; merge < x.SizeRows(); ++merge) {
    int first;
    int second;
    heights.push_back(static_cast<double>(calculator.FindNearestAndMerge(first, second)));
  }
  return heights;
}

Json TellTree(std::vector<double> heights) {
  std::sort(heights.begin(), heights.end(), std::greater<>());
  double sum = 0.0;
  double squares = 0.0;
  for (const double h : heights) {
    sum += h;
    squares += h * h;
  }
  return {{"sum_of_heights", {sum}},
          {"half_sum_of_squares", {squares / 2.0}},
          {"highest", std::vector<double>(heights.begin(), heights.begin() + 5)},
          {"median", {heights[heights.size() / 2]}},
          {"lowest", {heights.back()}}};
}

Work StartSingleLinkage(const Task& task, int) {
  return MakeWork(
      [x = task.Load("x")] {
        dendro::SingleLinkageDistanceCalculator calculator;
        return Heights(calculator, x);
      },
      TellTree);
}

/// The others call Ward's height the root of twice the growth of the sum of squares.
Work StartWard(const Task& task, int) {
  return MakeWork(
      [x = task.Load("x")] {
        dendro::WardDistanceCalculator calculator(dendro::DistanceType::kSquareRoot);
        return Heights(calculator, x);
      },
      [](std::vector<double> heights) {
        for (double& h : heights) h *= std::sqrt(2.0);
        return TellTree(std::move(heights));
      });
}

}  // namespace

Works ClusterWorks() {
  return {{"single_linkage", StartSingleLinkage}, {"ward", StartWard}};
}

}  // namespace side_by_side
