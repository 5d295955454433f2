#include <algorithm>
#include <cmath>
#include <list>
#include <vector>

#include "tests/same_bits/tables.h"
#include "tests/same_bits/works.h"
#include "voran/containers/bool_vector.h"
#include "voran/statistics/contingency_table.h"
#include "voran/statistics/control_chart.h"
#include "voran/statistics/data_vector_utilities.h"
#include "voran/statistics/distributions.h"
#include "voran/statistics/frequency_histogram.h"
#include "voran/statistics/one_dim_minimum.h"
#include "voran/statistics/roc.h"

namespace same_bits {
namespace {

constexpr int kLength = 1501;

void ControlCharts(Digest& digest, bool hasGaps) {
  for (int type = ControlChart::kIndividual; type <= ControlChart::kIndividualEWMA; ++type) {
    const bool isSingle = type == ControlChart::kIndividual || type == ControlChart::kIndividualEWMA;
    const ControlChart chart(static_cast<ControlChart::ControlType>(type), Series(kLength, hasGaps), isSingle ? 1 : 5,
                             ControlChart::kPredictive);
    digest(chart.GetTarget(), chart.GetMeanUCL(), chart.GetMeanLCL(), chart.GetMeanVector(), chart.GetRangeVector(),
           chart.GetRangeMean(), chart.GetRangeUCL(), chart.GetRangeLCL());
    digest(chart.GetStdDevProcess(), chart.GetStdDevIndividual(), chart.GetStdDevVector(), chart.GetStdDevMean(),
           chart.GetStdDevUCL(), chart.GetStdDevLCL(), chart.GetActionLimit(), chart.GetDeadBand());
    digest(chart.GetDevFromTarget(), chart.GetHighCuSum(), chart.GetLowCuSum(), chart.GetEWMA(), chart.GetEWMALambda(),
           chart.GetEWMAUCL(), chart.GetEWMALCL(), chart.GetEWMAStdDev(), chart.GetMSSD());
  }
}

void Histograms(Digest& digest, bool hasGaps) {
  const Vector values = Series(kLength, hasGaps);
  FrequencyHistogram::HistogramInfo info;
  FrequencyHistogram().CreateHistogram(values, info);
  digest(info.Frequencies, info.BinCenters);
  for (const std::list<int>& members : info.Members) digest(std::vector<int>(members.begin(), members.end()));
  Vector x;
  Vector y;
  float minimum = 0.0f;
  float maximum = 0.0f;
  FrequencyHistogram().CreateDotPlotHistogram(values, x, y, minimum, maximum);
  digest(x, y, minimum, maximum);
  std::vector<double> data(1, 0.0);
  for (const float value : values) data.push_back(static_cast<double>(value));
  std::vector<double> counts;
  std::vector<double> centres;
  double start = 0.0;
  double width = 0.0;
  FrequencyHistogram::MakeHistogram(data.data(), kLength, counts, centres, start, width);
  digest(counts, centres, start, width);
}

void Roc(Digest& digest, bool hasGaps) {
  const Vector values = Series(kLength, hasGaps);
  BoolVector members(kLength, false);
  for (int i = 1; i <= kLength; ++i) members(i, i % 3 == 0 || i > 1200);
  Vector truePositive;
  Vector falsePositive;
  Vector thresholds;
  for (const bool descending : {false, true}) {
    Sta::GetROC(values, members, descending, truePositive, falsePositive, thresholds);
    digest(truePositive, falsePositive, thresholds, Sta::GetROCAreaUnderCurve(truePositive, falsePositive));
  }
}

void Fisher(Digest& digest) {
  const int small[] = {3, 9, 11, 2};
  for (const auto side : {Sta::SidedNess::kLess, Sta::SidedNess::kGreater, Sta::SidedNess::kTwoSided}) {
    digest(Sta::GetFisherExactProbability(small, 2, 2, false, side, 0));
  }
  const int large[] = {2, 5, 3, 1, 4, 1, 6, 2, 3, 3, 0, 5};
  for (const bool hybrid : {false, true}) {
    digest(Sta::GetFisherExactProbability(large, 3, 4, hybrid, Sta::SidedNess::kTwoSided, 200000));
  }
  digest(Sta::GetTableProbability(3, 9, 11, 2), Sta::BinomialCoefficient(30, 11));
}

void Distributions(Digest& digest) {
  for (const double df : {1.0, 2.5, 10.0, 120.0}) {
    digest(Sta::FFTest(df, 7.0, 0.05), Sta::PFTest(3.0, df, 1.0, 7.0), Sta::GetStudentsT(0.95, df, true),
           Sta::GetStudentsT(0.99, df, false));
  }
}

struct Valley : OneDimMinimum::CallBack {
  float Evaluate(float x) override { return std::abs(x - 250.0f) + 0.01f * x * x; }
};

void CurvesAndMinima(Digest& digest) {
  Valley valley;
  float a = 0.0f, b = 1.0f, c = 0.0f, fa = 0.0f, fb = 0.0f, fc = 0.0f, place = 0.0f;
  OneDimMinimum::BracketMinimum(&valley, &a, &b, &c, &fa, &fb, &fc);
  digest(a, b, c, fa, fb, fc, OneDimMinimum::GoldenSectionSearch(&valley, a, b, c, 1e-4f, &place), place);
  const Vector y = Series(kLength, true);
  Vector x = y;
  for (int i = 1; i <= kLength; ++i) x(i, std::sqrt(static_cast<float>(i)));
  digest(NCDataVectorUtilities::InterPolateVec(x * 0.9, x, y));
  digest(NCDataVectorUtilities::InterPolate(1.0f, 3.0f, y, x, 2.2f, VrMath::EExtrapolate::kLinear));
}

}  // namespace

std::vector<Work> StatisticsWorks() {
  std::vector<Work> works = {
      {"fisher", Fisher}, {"distributions", Distributions}, {"curves_and_minima", CurvesAndMinima}};
  AddBoth(works, "control_charts", ControlCharts);
  AddBoth(works, "histograms", Histograms);
  AddBoth(works, "roc", Roc);
  return works;
}

}  // namespace same_bits
