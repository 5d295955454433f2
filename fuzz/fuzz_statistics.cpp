// Made values through the statistics: control charts, histograms, ROC, Fisher's exact test, distributions, the
// minimiser and interpolation.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <numeric>
#include <vector>

#include "fuzz/cancel.h"
#include "fuzz/expect.h"
#include "fuzz/made_matrix.h"
#include "voran/containers/bool_vector.h"
#include "voran/platform/exception.h"
#include "voran/platform/nc_error.h"
#include "voran/statistics/contingency_table.h"
#include "voran/statistics/control_chart.h"
#include "voran/statistics/data_vector_utilities.h"
#include "voran/statistics/distributions.h"
#include "voran/statistics/frequency_histogram.h"
#include "voran/statistics/one_dim_minimum.h"
#include "voran/statistics/roc.h"

namespace {

using fuzz::Cells;
using fuzz::Expect;
using fuzz::Vector;

constexpr int kMostValues = 60;

Vector MakeValues(FuzzedDataProvider& bytes, Cells kind) {
  return fuzz::MakeVector(bytes, bytes.ConsumeIntegralInRange<int>(0, kMostValues), kind);
}

// Control charts.

void SetSomething(FuzzedDataProvider& bytes, Cells kind, ControlChart& chart) {
  const auto value = static_cast<double>(fuzz::MakeCell(bytes, kind));
  switch (bytes.ConsumeIntegralInRange<int>(0, 6)) {
    case 0:
      chart.SetTarget(value);
      break;
    case 1:
      chart.SetStdDevSubgroup(std::fabs(value));
      break;
    case 2:
      chart.SetEWMALambda(bytes.ConsumeProbability<double>());
      break;
    case 3:
      chart.SetEWMAType(static_cast<ControlChart::EWMAType>(bytes.ConsumeIntegralInRange<int>(0, 2)));
      break;
    case 4:
      chart.SetFirstValueAsTarget(bytes.ConsumeBool());
      break;
    case 5:
      chart.SetPrevious(value);
      break;
    default:
      chart.SetPrevious(value, -value);
  }
}

std::vector<double> NumbersOf(const ControlChart& c) {
  return {c.GetTarget(),     c.GetMeanUCL(),    c.GetMeanLCL(),       c.GetRangeMean(),
          c.GetRangeUCL(),   c.GetRangeLCL(),   c.GetStdDevProcess(), c.GetStdDevIndividual(),
          c.GetStdDevMean(), c.GetStdDevUCL(),  c.GetStdDevLCL(),     c.GetActionLimit(),
          c.GetDeadBand(),   c.GetEWMALambda(), c.GetEWMAUCL(),       c.GetEWMALCL(),
          c.GetEWMAStdDev(), c.GetMSSD()};
}

std::vector<Vector> VectorsOf(const ControlChart& c) {
  return {c.GetMeanVector(), c.GetRangeVector(), c.GetStdDevVector(), c.GetDevFromTarget(),
          c.GetHighCuSum(),  c.GetLowCuSum(),    c.GetEWMA()};
}

void DrawControlChart(FuzzedDataProvider& bytes, Cells kind) {
  const Vector values = MakeValues(bytes, kind);
  const auto type = static_cast<ControlChart::ControlType>(bytes.ConsumeIntegralInRange<int>(0, 5));
  const auto ewma = static_cast<ControlChart::EWMAType>(bytes.ConsumeIntegralInRange<int>(0, 2));
  const int subgroup = bytes.ConsumeIntegralInRange<int>(1, 30);
  ControlChart chart(type, values, subgroup, ewma);
  for (int left = bytes.ConsumeIntegralInRange<int>(0, 5); left > 0; --left) {
    SetSomething(bytes, kind, chart);
    if (bytes.ConsumeBool()) VectorsOf(chart);
  }
  const ControlChart copy = chart;
  const std::vector<Vector> vectors = VectorsOf(chart);
  const std::vector<double> numbers = NumbersOf(chart);
  const std::vector<Vector> again = VectorsOf(copy);
  for (std::size_t k = 0; k < vectors.size(); ++k) {
    Expect(vectors[k].Size() <= values.Size() / subgroup, "an element for each subgroup at most");
    Expect(vectors[k] == again[k], "a copy of a chart has the same elements");
    if (fuzz::IsTame(kind)) Expect(fuzz::IsFinite(vectors[k]), "the elements of a chart of tame values are numbers");
  }
  if (fuzz::IsTame(kind)) {
    Expect(std::all_of(numbers.begin(), numbers.end(), [](double x) { return std::isfinite(x); }),
           "the limits of a chart of tame values are numbers");
  }
  ControlChart other(type, MakeValues(bytes, kind), subgroup, ewma);
  other.ImportLimits(chart);
  VectorsOf(other);
  NumbersOf(other);
}

// Histograms.

void CheckDots(const Vector& values, Cells kind) {
  Vector x;
  Vector y;
  float minimum = 0.0f;
  float maximum = 0.0f;
  FrequencyHistogram().CreateDotPlotHistogram(values, x, y, minimum, maximum);
  Expect(x.Size() == values.Size() && y.Size() == values.Size(), "a place for each value");
  if (fuzz::IsTame(kind)) Expect(fuzz::IsFinite(x) && fuzz::IsFinite(y), "the places of tame values are numbers");
}

void CheckPlainHistogram(const Vector& values, int present, Cells kind) {
  std::vector<double> data(1, 0.0);
  data.insert(data.end(), values.begin(), values.end());
  std::vector<double> counts;
  std::vector<double> centres;
  double start = 0.0;
  double width = 0.0;
  FrequencyHistogram::MakeHistogram(data.data(), values.Size(), counts, centres, start, width);
  const double sum = std::accumulate(counts.begin(), counts.end(), 0.0);
  if (fuzz::IsTame(kind)) Expect(sum == static_cast<double>(present), "each value is counted once");
}

void MakeHistograms(FuzzedDataProvider& bytes, Cells kind) {
  const Vector values = MakeValues(bytes, kind);
  const int present = values.Size() - values.GetNumMisVal();
  FrequencyHistogram::HistogramInfo info;
  FrequencyHistogram().CreateHistogram(values, info);
  const auto bins = static_cast<std::size_t>(info.Frequencies.Size());
  Expect(info.BinCenters.Size() == info.Frequencies.Size() && info.Members.size() == bins, "as many bins everywhere");
  std::size_t members = 0;
  for (const std::list<int>& bin : info.Members) members += bin.size();
  if (fuzz::IsTame(kind)) Expect(members == static_cast<std::size_t>(present), "each value is in one bin");
  CheckDots(values, kind);
  CheckPlainHistogram(values, present, kind);
  const auto low = static_cast<double>(fuzz::MakeCell(bytes, kind));
  const double width = FrequencyHistogram::binwidth(low, low + bytes.ConsumeFloatingPointInRange<double>(0.0, 1e6),
                                                    bytes.ConsumeIntegralInRange<int>(1, 1000));
  FrequencyHistogram::bindex(static_cast<double>(fuzz::MakeCell(bytes, kind)), low, width,
                             bytes.ConsumeIntegralInRange<int>(-1, 100));
}

// ROC.

void FindRoc(FuzzedDataProvider& bytes, Cells kind) {
  const Vector values = MakeValues(bytes, kind);
  BoolVector members(values.Size(), false);
  for (int i = 1; i <= values.Size(); ++i) members(i, bytes.ConsumeBool());
  Vector truePositive;
  Vector falsePositive;
  Vector thresholds;
  try {
    Sta::GetROC(values, members, bytes.ConsumeBool(), truePositive, falsePositive, thresholds);
  } catch (const NCError&) {
    Expect(truePositive.Size() == 0 && thresholds.Size() == 0, "a failure empties the results");
    return;
  }
  Expect(truePositive.Size() == falsePositive.Size() && thresholds.Size() == truePositive.Size(),
         "a threshold a point");
  Expect(truePositive.back() == 1.0f && falsePositive.back() == 1.0f, "at the end all are counted in");
  Expect(std::is_sorted(truePositive.begin(), truePositive.end()), "shares rise");
  const float area = Sta::GetROCAreaUnderCurve(truePositive, falsePositive);
  Expect(area >= -1e-5f && area <= 1.0f + 1e-5f, "an area is a share");
}

// Fisher's exact test, and distributions.

bool IsProbability(double p) {
  return p >= 0.0 && p <= 1.0 + 1e-6;
}

void TestTable(FuzzedDataProvider& bytes, Cells /*kind*/) {
  const int rows = bytes.ConsumeIntegralInRange<int>(1, 4);
  const int columns = bytes.ConsumeIntegralInRange<int>(1, 4);
  const int most = rows * columns == 4 ? 5000 : 12;
  std::vector<int> table;
  table.reserve(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns));
  for (int k = 0; k < rows * columns; ++k) {
    table.push_back(bytes.ConsumeIntegralInRange<int>(bytes.remaining_bytes() % 17 == 3 ? -1 : 0, most));
  }
  const auto sidedness = static_cast<Sta::SidedNess>(bytes.ConsumeIntegralInRange<int>(0, 2));
  const bool isHybrid = bytes.ConsumeBool();
  try {
    const double p = Sta::GetFisherExactProbability(table.data(), rows, columns, isHybrid, sidedness,
                                                    bytes.ConsumeIntegralInRange<int>(-5, 20000));
    Expect(IsProbability(p), "a p-value is a probability");
  } catch (const NCError&) {
  } catch (const CancelException&) {
  }
  const int n = bytes.ConsumeIntegralInRange<int>(0, 1000);
  Expect(Sta::BinomialCoefficient(n, bytes.ConsumeIntegralInRange<int>(0, n)) >= 1.0, "there is a way to choose");
  const int a = bytes.ConsumeIntegralInRange<int>(0, most);
  Expect(IsProbability(Sta::GetTableProbability(a, n, a, n)), "a table has a probability");
}

void AskDistributions(FuzzedDataProvider& bytes, Cells kind) {
  const auto number = [&] { return static_cast<double>(fuzz::MakeCell(bytes, kind)); };
  const bool isSound = bytes.ConsumeBool();  // degrees of freedom that there can be
  const auto degrees = [&] {
    return isSound ? static_cast<double>(bytes.ConsumeIntegralInRange<int>(1, 2000)) : number();
  };
  const double p = bytes.ConsumeBool() ? bytes.ConsumeProbability<double>() : number();
  const double df1 = degrees();
  const double df2 = degrees();
  const double f = Sta::FFTest(df1, df2, p);
  const double t = Sta::GetStudentsT(p, df1, bytes.ConsumeBool());
  const double ms1 = std::fabs(number());
  const double tail = Sta::PFTest(ms1, df1, std::fabs(number()), df2);
  if (!isSound || !fuzz::IsTame(kind)) return;
  Expect(std::isfinite(f) && std::isfinite(t), "quantiles are numbers");
  Expect(IsProbability(tail) || tail == -99.0, "a tail is a probability");
}

// The minimiser.

struct Function : OneDimMinimum::CallBack {
  explicit Function(FuzzedDataProvider& bytes, Cells kind) {
    for (float& c : coefficients) c = fuzz::MakeCell(bytes, kind);
  }
  float Evaluate(float x) override {
    return std::fabs(coefficients[0]) * x * x + coefficients[1] * x + coefficients[2] * std::sin(coefficients[3] * x);
  }
  std::array<float, 4> coefficients{};
};

void FindMinimum(FuzzedDataProvider& bytes, Cells kind) {
  Function f(bytes, kind);
  float a = fuzz::MakeCell(bytes, kind);
  float b = fuzz::MakeCell(bytes, kind);
  float c = 0.0f;
  float fa = 0.0f;
  float fb = 0.0f;
  float fc = 0.0f;
  OneDimMinimum::BracketMinimum(&f, &a, &b, &c, &fa, &fb, &fc);
  if (!std::isfinite(a) || !std::isfinite(b) || !std::isfinite(c) || !std::isfinite(fb)) return;
  if (a != b && std::isfinite(fa) && std::isfinite(fc))
    Expect(fb <= fa && fb <= fc, "the middle of a bracket is lowest");
  float place = 0.0f;
  OneDimMinimum::GoldenSectionSearch(&f, a, b, c, bytes.ConsumeFloatingPointInRange<float>(1e-3f, 0.5f), &place);
}

// Interpolation.

void Interpolate(FuzzedDataProvider& bytes, Cells kind) {
  const int size = bytes.ConsumeIntegralInRange<int>(0, fuzz::kMostRows);
  const Vector y1 = fuzz::MakeVector(bytes, size, kind);
  const Vector y2 = fuzz::MakeVector(bytes, size, kind);
  const float x1 = fuzz::MakeCell(bytes, kind);
  const float x2 = fuzz::MakeCell(bytes, kind);
  const auto mode = static_cast<VrMath::EExtrapolate>(bytes.ConsumeIntegralInRange<int>(0, 2));
  const Vector between = NCDataVectorUtilities::InterPolate(x1, x2, y1, y2, fuzz::MakeCell(bytes, kind), mode);
  Expect(between.Size() == size, "an element for each of the curves");

  std::vector<float> places;
  places.reserve(static_cast<std::size_t>(size));
  for (int i = 0; i < size; ++i) places.push_back(fuzz::MakeCell(bytes, std::min(kind, Cells::kLarge)));
  std::sort(places.begin(), places.end());
  if (bytes.ConsumeBool()) std::reverse(places.begin(), places.end());
  Vector xOld;
  xOld.CopyZeroBasedVector(places.data(), size);
  const Vector xNew = fuzz::MakeVector(bytes, fuzz::MakeRows(bytes), kind);
  try {
    const Vector curve = NCDataVectorUtilities::InterPolateVec(xNew, xOld, y1);
    Expect(curve.Size() == xNew.Size(), "an element for each new abscissa");
  } catch (const InvalidArgument&) {
    Expect(xOld.GetNumMisVal() + xNew.GetNumMisVal() > 0, "abscissas without gaps are good");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider bytes(data, size);
  using Tool = void (*)(FuzzedDataProvider&, Cells);
  constexpr Tool kTools[] = {DrawControlChart, MakeHistograms, FindRoc,    TestTable,
                             AskDistributions, FindMinimum,    Interpolate};
  const fuzz::Surroundings surroundings(bytes);
  const Cells kind = fuzz::MakeCellKind(bytes);
  bytes.PickValueInArray(kTools)(bytes, kind);
  return 0;
}
