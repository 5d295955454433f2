// Fisher's exact test of tables of growing size, and what a control chart, its moving average and a histogram cost for
// a thousand values. One line for each; see README.md.

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

#include "benchmarks/in_turn.h"
#include "voran/statistics/contingency_table.h"
#include "voran/statistics/control_chart.h"
#include "voran/statistics/frequency_histogram.h"

namespace {

double sink = 0.0;

struct Table {
  const char* name;
  int rows;
  int columns;
  int workspace;
  int repeats;
  std::vector<int> counts;
};

const std::vector<Table>& Tables() {
  static const std::vector<Table> tables = {
      {"3 x 3, n 30", 3, 3, 200000, 101, {3, 5, 2, 7, 1, 4, 2, 4, 2}},
      {"3 x 3, n 150", 3, 3, 200000, 31, {20, 10, 5, 8, 25, 12, 6, 14, 50}},
      {"3 x 4, n 60", 3, 4, 200000, 101, {8, 3, 6, 2, 4, 9, 3, 5, 2, 5, 6, 7}},
      {"4 x 4, n 80", 4, 4, 200000, 11, {9, 4, 3, 5, 3, 8, 5, 2, 4, 3, 9, 6, 5, 2, 4, 8}},
      {"4 x 5, n 100", 4, 5, 2000000, 5, {8, 4, 5, 3, 6, 3, 9, 4, 5, 2, 6, 3, 8, 4, 5, 4, 5, 3, 9, 4}},
      {"5 x 5, n 100", 5, 5, 20000000, 3, {7, 3, 4, 2, 5, 2, 6, 3, 5, 3, 4, 3, 7, 3, 2, 3, 5, 2, 6, 4, 5, 2, 4, 3, 7}},
      {"5 x 6, n 120", 5, 6, 200000000, 1, {6, 3, 4, 2, 5, 4, 2, 7, 3, 5, 3, 4, 4, 3, 7,
                                            3, 2, 5, 3, 5, 2, 6, 4, 4, 5, 2, 4, 3, 7, 3}},
      {"4 x 4, n 150", 4, 4, 200000000, 1, {20, 6, 5, 7, 8, 22, 9, 6, 6, 9, 25, 8, 4, 5, 6, 4}}};
  return tables;
}

double MedianSeconds(int repeats, const std::function<void()>& work) {
  std::vector<double> seconds;
  for (int repeat = 0; repeat < repeats; ++repeat) seconds.push_back(Seconds(work));
  return Median(seconds);
}

void PrintTable(const Table& table) {
  double p = 0.0;
  const double seconds = MedianSeconds(table.repeats, [&] {
    p = Sta::GetFisherExactProbability(table.counts.data(), table.rows, table.columns, false, Sta::SidedNess::kTwoSided,
                                       table.workspace);
  });
  std::printf("Fisher %-14s %14.6f ms   p %.9g\n", table.name, 1e3 * seconds, p);
}

NCDataVector<float> Series(int n) {
  NCDataVector<float> series(n);
  for (int i = 1; i <= n; ++i) series(i, static_cast<float>(10.0 + std::sin(1.7 * i * i) + 0.5 * std::sin(0.01 * i)));
  return series;
}

void PrintWork(const char* name, const std::function<void()>& work) {
  std::printf("%-21s %14.6f ms\n", name, 1e3 * MedianSeconds(101, work));
}

}  // namespace

int main() {
  for (const Table& table : Tables()) PrintTable(table);
  const NCDataVector<float> series = Series(1000);
  PrintWork("mean and range chart",
            [&] { sink += ControlChart(ControlChart::kMeanRange, series, 5, ControlChart::kFilter).GetMeanUCL(); });
  PrintWork("EWMA, estimated",
            [&] { sink += ControlChart(ControlChart::kEWMA, series, 1, ControlChart::kFilter).GetEWMALambda(); });
  PrintWork("histogram", [&] {
    FrequencyHistogram::HistogramInfo info;
    FrequencyHistogram().CreateHistogram(series, info);
    sink += info.Frequencies[1];
  });
  return sink == 0.125 ? EXIT_FAILURE : EXIT_SUCCESS;
}
