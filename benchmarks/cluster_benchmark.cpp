// Single linkage and Ward's method, and how near the distances come to what the machine can do; see README.md.

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <sys/resource.h>

#include "benchmarks/in_turn.h"
#include "benchmarks/machine_bounds.h"
#include "voran/cluster/compute_distances.h"
#include "voran/cluster/distance_memory.h"
#include "voran/cluster/single_linkage_distance_calculator.h"
#include "voran/cluster/ward_distance_calculator.h"
#include "voran/containers/data_matrix.h"
#include "voran/containers/simd_target.h"
#include "voran/platform/threading_control.h"

namespace {

namespace dendro = voran::DendroGram;
using NCMultiThreading::ThreadingControl;

constexpr int kColumns = 20;
constexpr int kRepeats = 3;

double sink = 0.0;

/// Twelve groups of points, whose centres lie three times as far apart as the points of a group.
NCDataMatrix<float> MadeGroups(int rows) {
  constexpr std::size_t kGroups = 12;
  std::mt19937 generator(101);
  std::normal_distribution<float> normal;
  std::vector<std::vector<float>> centres(kGroups, std::vector<float>(kColumns));
  for (auto& centre : centres) {
    for (float& x : centre) x = 3.0f * normal(generator);
  }
  NCDataMatrix<float> m(rows, kColumns, 0.0f);
  for (int i = 1; i <= rows; ++i) {
    const auto& centre = centres[generator() % kGroups];
    for (int k = 1; k <= kColumns; ++k) m(i, k, centre[static_cast<std::size_t>(k) - 1] + normal(generator));
  }
  return m;
}

double SumOfHeights(dendro::ClusterDistanceCalculator& calculator, const NCDataMatrix<float>& data) {
  calculator.Init(data, nullptr);
  double sum = 0.0;
  for (int merge = 1; merge < data.SizeRows(); ++merge) {
    int first;
    int second;
    sum += static_cast<double>(calculator.FindNearestAndMerge(first, second));
  }
  return sum;
}

void MeasureTree(const char* name, int rows, const std::function<double(const NCDataMatrix<float>&)>& tree) {
  const NCDataMatrix<float> data = MadeGroups(rows);
  std::vector<double> seconds(kRepeats);
  double sum = 0.0;
  for (double& s : seconds) s = Seconds([&] { sum = tree(data); });
  std::printf("%-8s %6d rows %9.3f s   sum of heights %.9g\n", name, rows, Median(seconds), sum);
}

/// Distances are written into a list that exists already: fresh pages from the system cost as much again.
void MeasureDistances(int rows, int threads) {
  using namespace dendro::detail;
  const NCDataMatrix<float> data = MadeGroups(rows);
  const DistanceRows prepared(data);
  PairList pairs(static_cast<std::size_t>(NumberOfPairs(rows)));
  const auto numPairs = static_cast<long>(pairs.size());
  const std::vector<double> seconds = MediansInTurn(
      5, {[&] { sink += bounds::FormDistances(numPairs, kColumns, threads); },
          [&] { FillOnThreads(prepared, pairs, threads, PairFunction::kSquaredDifference, Finish::kSquareRoot); }});
  std::printf("distances %5d rows, %d threads: bound %.1f ms, taken %.1f ms, bound/it %.0f%%\n", rows, threads,
              1e3 * seconds[0], 1e3 * seconds[1], 1e2 * seconds[0] / seconds[1]);
}

double PeakMiB() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

/// Single linkage with distances on disk, beside the same in memory. First the disk: the peak is that of the process.
void MeasureDisk(int rows, std::uint64_t budgetMiB) {
  const NCDataMatrix<float> data = MadeGroups(rows);
  const double before = PeakMiB();
  double sums[2];
  double seconds[2];
  for (const int inMemory : {0, 1}) {
    dendro::DistanceMemory::SetBudget(inMemory == 1 ? dendro::DistanceMemory::kUnlimited : budgetMiB << 20);
    dendro::SingleLinkageDistanceCalculator calculator;
    seconds[inMemory] = Seconds([&] { sums[inMemory] = SumOfHeights(calculator, data); });
    std::printf("%-8s %6d rows %9.3f s   sum of heights %.9g   peak memory %.0f MiB (%.0f before)\n",
                inMemory == 1 ? "memory" : "disk", rows, seconds[inMemory], sums[inMemory], PeakMiB(), before);
  }
  std::printf("disk/memory %.2f, budget %d MiB\n", seconds[0] / seconds[1], static_cast<int>(budgetMiB));
}

}  // namespace

int main(int argc, char** argv) {
  const std::string only = argc > 1 ? argv[1] : "";
  const int threads = ThreadingControl::GetNumberOfProcessors();
  std::printf("%d columns, %s, %d threads, median of %d\n", kColumns, SimdTarget::GetName().c_str(), threads, kRepeats);
  if (only.empty() || only == "disk") MeasureDisk(20000, 256);
  if (only.empty() || only == "distances") {
    for (const int rows : {2000, 10000}) {
      MeasureDistances(rows, 1);
      MeasureDistances(rows, threads);
    }
  }
  if (only.empty() || only == "single") {
    MeasureTree("single", 10000, [](const NCDataMatrix<float>& data) {
      dendro::SingleLinkageDistanceCalculator calculator;
      return SumOfHeights(calculator, data);
    });
  }
  if (only.empty() || only == "ward") {
    for (const int rows : {2000, 5000, 10000}) {
      MeasureTree("Ward", rows, [](const NCDataMatrix<float>& data) {
        dendro::WardDistanceCalculator calculator(dendro::DistanceType::kSquareRoot);
        return SumOfHeights(calculator, data);
      });
    }
  }
  return sink == 0.125 ? 1 : 0;
}
