// Fisher's exact test, histograms, control charts.

#include "benchmarks/side_by_side.h"
#include "voran/statistics/contingency_table.h"
#include "voran/statistics/control_chart.h"
#include "voran/statistics/frequency_histogram.h"

namespace side_by_side {
namespace {

Work StartFisher(const Task& task, int) {
  std::vector<int> counts;
  for (const Json& row : task["table"]) counts.insert(counts.end(), row.begin(), row.end());
  const auto rows = static_cast<int>(task["table"].size());
  const int columns = static_cast<int>(counts.size()) / rows;
  return MakeWork(
      [=, workspace = task.Number("workspace")] {
        return Sta::GetFisherExactProbability(counts.data(), rows, columns, false, Sta::SidedNess::kTwoSided,
                                              workspace);
      },
      [](double p) {
        return Json{{"p", {p}}};
      });
}

Work StartHistogram(const Task& task, int) {
  return MakeWork(
      [x = task.LoadSeries("x")] {
        FrequencyHistogram::HistogramInfo info;
        FrequencyHistogram().CreateHistogram(x, info);
        return info;
      },
      [](const FrequencyHistogram::HistogramInfo& info) {
        return Json{{"counts", ToList(info.Frequencies)}, {"centres", ToList(info.BinCenters)}};
      });
}

struct Limits {
  std::vector<double> means;
  std::vector<double> ranges;
};

Work StartChart(const Task& task, int) {
  return MakeWork(
      [x = task.LoadSeries("x"), subgroup = task.Number("subgroup")] {
        const ControlChart chart(ControlChart::kMeanRange, x, subgroup, ControlChart::kFilter);
        return Limits{{chart.GetTarget(), chart.GetMeanLCL(), chart.GetMeanUCL()},
                      {chart.GetRangeMean(), chart.GetRangeLCL(), chart.GetRangeUCL()}};
      },
      [](const Limits& limits) {
        return Json{{"means", limits.means}, {"ranges", limits.ranges}};
      });
}

}  // namespace

Works StatisticsWorks() {
  return {{"fisher", StartFisher}, {"histogram", StartHistogram}, {"chart", StartChart}};
}

}  // namespace side_by_side
