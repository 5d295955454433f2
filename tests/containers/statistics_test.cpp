#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/containers/container_values.h"
#include "tests/containers/plain_reference.h"
#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/platform/exception.h"
#include "voran/platform/threading_control.h"

namespace {

using NCMultiThreading::ThreadingControl;
using ::testing::ElementsAre;

constexpr double kNone = -99.0;
/// Sums of a few elements in another order.
constexpr double kTolerance = 1e-12;
/// Factors in n that are formed in float.
constexpr double kFloatFactor = 1e-6;

/// What a vector tells of its elements, in the order in which these tests list it; three are with factors in float.
enum Statistic { kSum, kMean, kVariance, kStdDev, kSkewness, kSkewnessTest, kKurtosis, kLower, kMedian, kUpper, kAll };
using Values = std::array<double, kAll>;

/// The statistics from their textbook definitions, in long double.
struct Plain {
  template <typename T>
  explicit Plain(const std::vector<T>& elements, double df = -1.0) {
    std::copy_if(elements.begin(), elements.end(), std::back_inserter(sorted), plain::Present<T>);
    std::sort(sorted.begin(), sorted.end());
    values.fill(kNone);
    const auto n = static_cast<long double>(sorted.size());
    if (n == 0) return;
    long double total = 0;
    for (const double x : sorted) total += x;
    const long double centre = total / n;
    long double powers[5] = {};
    for (const double x : sorted) {
      for (int k = 2; k <= 4; ++k) powers[k] += std::pow(x - centre, static_cast<long double>(k));
    }
    Set(kSum, total);
    Set(kMean, centre);
    Set(kMedian, MedianOf(0, sorted.size()));
    Set(kVariance, n < 2 ? 0 : powers[2] / (n - 1));
    const long double s = std::sqrt(df > 0.0 ? powers[2] / static_cast<long double>(df) : powers[2] / (n - 1));
    if (n >= 2 || df > 0.0) Set(kStdDev, s);
    if (n < 2) return;
    Set(kLower, MedianOf(0, sorted.size() / 2));
    Set(kUpper, MedianOf(sorted.size() - sorted.size() / 2, sorted.size()));
    if (n < 3 || s == 0) return;
    const long double skewness = n / ((n - 1) * (n - 2)) * powers[3] / (s * s * s);
    Set(kSkewness, skewness);
    Set(kSkewnessTest, skewness / std::sqrt(6 * n * (n - 1) / ((n - 2) * (n + 1) * (n + 3))));
    if (n < 4) return;
    // By central moments, as statistical packages report it.
    const long double excess = powers[4] * n / (powers[2] * powers[2]) - 3;
    Set(kKurtosis, (n - 1) / ((n - 2) * (n - 3)) * ((n + 1) * excess + 6));
  }

  void Set(Statistic which, long double value) { values[which] = static_cast<double>(value); }
  double MedianOf(std::size_t first, std::size_t end) const {
    const std::size_t n = end - first;
    return (sorted[first + (n - 1) / 2] + sorted[first + n / 2]) / 2.0;
  }

  std::vector<double> sorted;
  Values values;
};

MATCHER_P2(IsNear, expected, relative, "") {
  *result_listener << "off by " << arg - expected;
  return std::abs(arg - expected) <= relative * std::max(1.0, std::abs(expected));
}

template <typename T>
class Statistics : public ::testing::Test {
 protected:
  void TearDown() override { ThreadingControl::Reset(); }

  static constexpr T kGap = plain::kGap<T>;

  static Rows<T> RandomRows(std::size_t rows, std::size_t columns, double gaps) {
    Rows<T> result;
    for (unsigned i = 0; i < rows; ++i) result.push_back(plain::RandomElements<T>(columns, i + 100, gaps));
    return result;
  }

  /// `rounding` is that of the elements themselves.
  static void ExpectVectorStatistics(const std::vector<T>& elements, const Values& expected, double rounding = 0.0) {
    const NCDataVector<T> v = Vector(elements);
    double lower = 0.0;
    double median = 0.0;
    double upper = 0.0;
    const bool hasQuartiles = v.Size() - v.GetNumMisVal() >= 2;
    EXPECT_EQ(v.GetInterquartiles(lower, median, upper), hasQuartiles);
    EXPECT_EQ(median, hasQuartiles ? v.GetMedian() : kNone);
    EXPECT_EQ(v.GetInterquartileRange(), hasQuartiles ? upper - lower : kNone);
    EXPECT_EQ(v.GetRobustStdDev(), hasQuartiles ? (upper - lower) / 1.075 : kNone);
    const Values found = {v.GetSum(),          v.GetMean(),     v.GetVariance(), v.GetStdDev(), v.GetSkewness(),
                          v.GetSkewnessTest(), v.GetKurtosis(), lower,           v.GetMedian(), upper};
    for (std::size_t i = 0; i < kAll; ++i) {
      const bool isShape = i == kSkewness || i == kSkewnessTest || i == kKurtosis;
      const double ofSums = isShape ? kFloatFactor : std::max(rounding, kTolerance);
      EXPECT_THAT(found[i], IsNear(expected[i], i < kLower ? ofSums : rounding)) << "statistic " << i;
    }
  }
  static void ExpectVectorStatistics(const std::vector<T>& elements) {
    ExpectVectorStatistics(elements, Plain(elements).values);
  }

  static void ExpectColumnStatistics(const NCDataMatrix<T>& m, int c) {
    const std::vector<T> elements = Elements(m.GetColumn(c));
    const Values expected = Plain(elements).values;
    const Values withFive = Plain(elements, 5.0).values;
    EXPECT_THAT(m.GetColumnMean(c), IsNear(expected[kMean], kTolerance));
    EXPECT_THAT(m.GetColumnStdDev(c, -1.0f), IsNear(expected[kStdDev], kTolerance));
    EXPECT_THAT(m.GetColumnStdDev(c, 5.0f), IsNear(withFive[kStdDev], kTolerance));
    EXPECT_THAT(m.GetColumnSkewness(c, -1), IsNear(expected[kSkewness], kFloatFactor));
    EXPECT_THAT(m.GetColumnSkewness(c, 5), IsNear(withFive[kSkewness], kFloatFactor));
    EXPECT_THAT(m.GetColumnSkewnessTest(c, 5), IsNear(withFive[kSkewnessTest], kFloatFactor));
    EXPECT_THAT(m.GetColumnKurtosis(c), IsNear(expected[kKurtosis], kFloatFactor));
    EXPECT_EQ(m.GetColumnMedian(c), expected[kMedian]);
    if (!(expected[kStdDev] > 0.0)) return;
    const double toNearer = std::min(5.0 - expected[kMean], expected[kMean] + 2.0);
    EXPECT_THAT(m.GetColumnCp(c, -2.0, 5.0), IsNear(7.0 / 6.0 / expected[kStdDev], kTolerance));
    EXPECT_THAT(m.GetColumnCpk(c, -2.0, 5.0), IsNear(toNearer / 3.0 / expected[kStdDev], kTolerance));
  }
};

using ElementTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Statistics, ElementTypes);

/// R 4.2 on its data sets: sum, mean, var, sd, median; quantile() of type 6 for an odd and type 2 for an even number;
/// skewness and kurtosis from the central moments, as type 2 of e1071 defines them.
TYPED_TEST(Statistics, PublishedValues) {
  using T = TypeParam;
  const double mpg[] = {21.0, 21.0, 22.8, 21.4, 18.7, 18.1, 14.3, 24.4, 22.8, 19.2, 17.8, 16.4, 17.3, 15.2, 10.4, 10.4,
                        14.7, 32.4, 30.4, 33.9, 21.5, 15.5, 15.2, 13.3, 19.2, 27.3, 26.0, 30.4, 15.8, 19.7, 15.0, 21.4};
  const Values ofMpg = {642.9,
                        20.090625,
                        36.324102822580642,
                        6.0269480520891037,
                        0.67237713762908269,
                        1.6223072021293947,
                        -0.022006291424083928,
                        15.35,
                        19.2,
                        22.8};
  const std::vector<T> stackLoss = {42, 37, 37, 28, 18, 18, 19, 20, 15, 14, 14, 13, 11, 12, 8, 7, 8, 8, 9, 15, 15};
  const Values ofStackLoss = {368,
                              17.523809523809526,
                              103.46190476190476,
                              10.171622523565489,
                              1.3420334634195279,
                              2.6776686652313733,
                              0.93705947318864957,
                              10,
                              15,
                              19.5};
  const double rounding = sizeof(T) == sizeof(float) ? 1e-6 : kTolerance;
  this->ExpectVectorStatistics({std::begin(mpg), std::end(mpg)}, ofMpg, rounding);
  this->ExpectVectorStatistics(stackLoss, ofStackLoss, rounding);
}

/// From nothing missing to nothing present; an element is twice as large as the one before, so that each shows.
TYPED_TEST(Statistics, EqualTheDefinitionsForEveryPatternOfGaps) {
  using T = TypeParam;
  for (unsigned pattern = 0; pattern < 128; ++pattern) {
    SCOPED_TRACE(::testing::Message() << "gaps " << pattern);
    std::vector<T> values;
    NCDataMatrix<T> m;
    for (unsigned i = 0; i < 7; ++i) {
      values.push_back((pattern >> i & 1) != 0 ? this->kGap : static_cast<T>(1u << (i * 5 % 7)) - T{3});
      m.push_back({T{1}, values.back(), this->kGap});
    }
    this->ExpectVectorStatistics(values);
    this->ExpectColumnStatistics(m, 2);
  }
  this->ExpectVectorStatistics({});
  this->ExpectVectorStatistics({2, 2, -99, 2, 2, 2});  // without a shape
  this->ExpectColumnStatistics(NCDataMatrix<T>(5, 1, 2), 1);
}

TYPED_TEST(Statistics, EqualTheDefinitionsAcrossBlocks) {
  for (const double gaps : {0.0, 0.3}) {
    const NCDataMatrix<TypeParam> m = Matrix(this->RandomRows(3000, 40, gaps));
    for (const int c : {1, 17, 40}) {
      this->ExpectColumnStatistics(m, c);
      this->ExpectVectorStatistics(Elements(m.GetColumn(c)));
    }
    long double sum = 0;
    long double squares = 0;
    long double around = 0;
    for (const auto& row : m) {
      for (const TypeParam x : row) {
        if (!plain::Present(x)) continue;
        sum += static_cast<long double>(x);
        squares += static_cast<long double>(plain::Rounded(x, x));
      }
    }
    for (int c = 1; c <= 40; ++c) around += static_cast<long double>(m.GetColumnSS(c, m.GetColumnMean(c)));
    EXPECT_THAT(m.GetMean(), IsNear(static_cast<double>(sum / (120000 - m.GetNumMisVal())), kTolerance));
    EXPECT_THAT(m.GetSS(), IsNear(static_cast<double>(squares), kTolerance));
    EXPECT_THAT(m.GetSSAroundColumnMeans(), IsNear(static_cast<double>(around), kTolerance));
  }
}

/// The factor of a thousand elements as a float is off by 2e-8, which the sums are not.
TYPED_TEST(Statistics, FactorsInNAreFormedInFloat) {
  const auto values = plain::RandomElements<TypeParam>(1000, 3);
  const NCDataVector<TypeParam> v = Vector(values);
  const double mean = v.GetMean();
  const double s = v.GetStdDev();
  double cubes = 0.0;
  double fourths = 0.0;
  for (const TypeParam x : values) {
    const double z = (static_cast<double>(x) - mean) / s;
    cubes += z * z * z;
    fourths += z * z * z * z;
  }
  const volatile float n = 1000.0f;
  const float ofCubes = n / ((n - 1) * (n - 2));
  const float ofFourths = (n + 1) * n / ((n - 1) * (n - 2) * (n - 3));
  const float subtracted = 3 * (n - 1) * (n - 1) / ((n - 2) * (n - 3));
  EXPECT_THAT(v.GetSkewness(), IsNear(static_cast<double>(ofCubes) * cubes, 1e-13));
  EXPECT_THAT(v.GetKurtosis(),
              IsNear(static_cast<double>(ofFourths) * fourths - static_cast<double>(subtracted), 1e-12));
}

TYPED_TEST(Statistics, AMeanOnTheMarkerIsMovedAside) {
  using T = TypeParam;
  const NCDataVector<T> v{-98, -100};
  EXPECT_EQ(v.GetMean(), -99.00001);
  EXPECT_NEAR(v.GetVariance(), 2.0 + 2e-10, 1e-12);
  const NCDataMatrix<T> m = Matrix<T>({{-98, 1}, {-100, 2}});
  EXPECT_EQ(m.GetColumnMean(1), -99.00001);
  EXPECT_EQ(m.GetColumnMeans()[1], -99.00001);
  EXPECT_EQ(m.GetColumnMeans().GetNumMisVal(), 0);
  EXPECT_THAT(m.GetColumnStdDev(1, -1.0f), IsNear(std::sqrt(2.0), 1e-9));
  EXPECT_EQ(Matrix<T>({{-98}, {-100}}).GetMean(), -99.0) << "the matrix's own mean stays where it falls";
  EXPECT_EQ(Matrix<T>({{T{-49.5}, T{-49.5}}, {1, 2}}).GetMean(), -24.0) << "a row's sum may fall on the marker";
}

TYPED_TEST(Statistics, ANaNIsLargerThanAnyNumber) {
  const TypeParam nan = std::numeric_limits<TypeParam>::quiet_NaN();
  const NCDataVector<TypeParam> v{nan, 3, -99, 1, nan, 2, 0};
  EXPECT_EQ(v.GetMedian(), 2.5);
  double lower;
  double median;
  double upper;
  ASSERT_TRUE(v.GetInterquartiles(lower, median, upper));
  EXPECT_EQ(lower, 1.0);
  EXPECT_TRUE(std::isnan(upper));
  EXPECT_TRUE(std::isnan(v.GetMean()) && std::isnan(v.GetKurtosis()));
}

TYPED_TEST(Statistics, MatricesWithNothingToCompute) {
  using M = NCDataMatrix<TypeParam>;
  const M noRows(0, 2, 0);
  EXPECT_EQ(noRows.GetMean(), kNone);
  EXPECT_EQ(noRows.GetSSAroundColumnMeans(), -198.0);
  EXPECT_THAT(Elements(noRows.GetColumnMeans()), ElementsAre(0, 0));
  EXPECT_EQ(noRows.GetColumnStdDev(1, -1.0f), kNone);
  EXPECT_EQ(noRows.GetColumnStdDev(1, 2.0f), 0.0);
  const M missing(3, 1, -99);
  EXPECT_EQ(missing.GetMean(), kNone);
  EXPECT_EQ(missing.GetSS(), 0.0);
  EXPECT_EQ(missing.GetColumnStdDevs(2.0f).GetNumMisVal(), 1);
  EXPECT_EQ(missing.GetColumnCp(1, 0.0, 594.0), -1.0) << "an impossible deviation is used as it stands";
  EXPECT_EQ(missing.GetColumnCpk(1, 0.0, 198.0), -1.0);
  EXPECT_EQ(Matrix<TypeParam>({{1, -99}, {3, -99}}).GetSSAroundColumnMeans(), 2.0 - 99.0);
  EXPECT_EQ(M(5, 1, 2).GetColumnCp(1, 1.0, 3.0), std::numeric_limits<double>::infinity());
  const M noColumns(3, 0, 0);
  EXPECT_EQ(noColumns.GetMean(), kNone);
  EXPECT_EQ(noColumns.GetSSAroundColumnMeans(), 0.0);
  EXPECT_EQ(noColumns.GetColumnMeans().Size(), 0);
  EXPECT_EQ(noColumns.GetColumnCorrelation({1, 2, 3}, true).Size(), 0);
}

/// Of more cells than other tests compare over threads.
TYPED_TEST(Statistics, HaveTheSameBitsColumnByColumnAndOnSeveralThreads) {
  using T = TypeParam;
  constexpr std::size_t kColumns = 363;
  for (const double gaps : {0.0, 0.0001}) {
    const NCDataMatrix<T> m = Matrix(this->RandomRows(11601, kColumns, gaps));
    const auto v = Vector(plain::RandomElements<T>(11601, 1, gaps));
    const auto results = [&] {
      std::vector<double> all = {m.GetSS(), m.GetMean(), m.GetSSAroundColumnMeans()};
      for (const auto& bulk : {m.GetColumnMeans(), m.GetColumnStdDevs(-1.0f), m.GetColumnStdDevs(7.0f)}) {
        all.insert(all.end(), bulk.begin(), bulk.end());
      }
      for (const bool centred : {false, true}) {
        for (const T r : m.GetColumnCorrelation(v, centred)) all.push_back(static_cast<double>(r));
      }
      return all;
    };
    ThreadingControl::SetThreadingIsOn(false);
    const auto expected = results();
    for (std::size_t c = 0; c < kColumns; ++c) {
      const int column = static_cast<int>(c) + 1;
      EXPECT_EQ(m.GetColumnMean(column), expected[3 + c]) << column;
      EXPECT_EQ(m.GetColumnStdDev(column, -1.0f), expected[3 + kColumns + c]) << column;
      EXPECT_EQ(m.GetColumnStdDev(column, 7.0f), expected[3 + 2 * kColumns + c]) << column;
    }
    ThreadingControl::SetThreadingIsOn(true);
    for (const int threads : {2, 7}) {
      ThreadingControl::SetNumberOfProcessors(threads);
      EXPECT_EQ(results(), expected) << threads << " threads, gaps " << gaps;
    }
  }
}

// Correlation.

TYPED_TEST(Statistics, CorrelationsRunOverPairsAboutTheMeansOfAllThatIsPresent) {
  using T = TypeParam;
  const std::vector<T> x = {1, 5, 2, 9};
  const std::vector<T> y = {2, 3, 7, 4};
  for (unsigned pattern = 0; pattern < 256; ++pattern) {
    auto xGapped = x;
    auto yGapped = y;
    NCDataMatrix<T> m;
    for (unsigned i = 0; i < 4; ++i) {
      if ((pattern >> i & 1) != 0) xGapped[i] = this->kGap;
      if ((pattern >> (i + 4) & 1) != 0) yGapped[i] = this->kGap;
      m.push_back({xGapped[i]});
    }
    for (const bool centred : {false, true}) {
      const double xMean = centred ? Plain(xGapped).values[kMean] : 0.0;
      const double yMean = centred ? Plain(yGapped).values[kMean] : 0.0;
      double products = 0.0;
      double xSquares = 0.0;
      double ySquares = 0.0;
      for (std::size_t i = 0; i < 4; ++i) {
        if (!plain::Present(xGapped[i]) || !plain::Present(yGapped[i])) continue;
        const double dx = static_cast<double>(xGapped[i]) - xMean;
        const double dy = static_cast<double>(yGapped[i]) - yMean;
        products += dx * dy;
        xSquares += dx * dx;
        ySquares += dy * dy;
      }
      const double squares = xSquares * ySquares;
      const double expected = squares > 1e-30 ? products / std::sqrt(squares) : kNone;
      const auto r = m.GetColumnCorrelation(Vector(yGapped), centred);
      EXPECT_NEAR(r[1], expected, 1e-6) << "gaps " << pattern << (centred ? ", centred" : "");
      EXPECT_EQ(r.GetNumMisVal(), expected == kNone ? 1 : 0);
    }
  }
  const NCDataMatrix<T> m = Matrix<T>({{1, 4}, {2, 4}, {3, 4}});
  EXPECT_THAT(Elements(m.GetColumnCorrelation({2, 3, 4}, true)), ElementsAre(1, -99)) << "a constant column";
  EXPECT_THAT(Elements(m.GetColumnCorrelation({2, 1}, false)),
              ElementsAre(static_cast<T>(0.8), static_cast<T>(12 / std::sqrt(160.0))))
      << "a short v";
}

// Density.

/// One pass over the grids, with a map from cells to counts.
template <typename T>
void AddPlainHistograms(const Rows<T>& x, int bins, int shifts, bool second, std::vector<double>& scores) {
  const std::size_t points = x.front().size();
  for (int s = 1; s <= shifts; s *= 2) {
    const int cells = s * (bins + (second ? 1 : 0));
    std::map<std::vector<int>, int> counts;
    std::vector<std::vector<int>> paths(points);
    for (const auto& row : x) {
      const Plain present(row);
      const double min = present.sorted.front();
      const double max = present.sorted.back();
      const double width = (max > min ? (max - min) / bins : static_cast<double>(0.001f)) / s;
      const double origin = second ? min - width * 0.5 : min;
      for (std::size_t p = 0; p < points; ++p) {
        const int index = static_cast<int>((static_cast<double>(row[p]) - origin) / width) + 1;
        paths[p].push_back(index > cells ? index - 1 : index);
      }
    }
    const auto hasGap = [&](std::size_t p) {
      return std::any_of(x.begin(), x.end(), [p](const auto& row) { return !plain::Present(row[p]); });
    };
    for (std::size_t p = 0; p < points; ++p) counts[paths[p]] += hasGap(p) ? 0 : (s + 2) / 2;
    for (std::size_t p = 0; p < points; ++p) scores[p] += hasGap(p) ? 0 : counts[paths[p]];
  }
}

TYPED_TEST(Statistics, DensityEqualsTheDefinition) {
  using T = TypeParam;
  struct Case {
    std::size_t dimensions, points;
    int bins, shifts;
    bool force;
    double gaps;
    int usedBins, usedShifts;
    bool second;
  };
  const Case cases[] = {
      {1, 40, 5, 2, false, 0.0, 5, 2, true},       {2, 60, 3, 8, false, 0.1, 3, 8, true},
      {3, 100, 0, 0, false, 0.02, 3, 16, true},    {2, 200, 51, 0, false, 0.0, 51, 8, true},
      {1, 200, 201, 0, true, 0.0, 201, 4, true},   {1, 200, 501, 0, true, 0.0, 501, 2, true},
      {1, 200, 1001, 0, true, 0.0, 1001, 1, true}, {1, 50, 50, 3, true, 0.0, 50, 2, true},
      {1, 5000, 0, 0, false, 0.0, 70, 8, false},   {1, 5000, 0, 0, true, 0.0, 70, 8, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.dimensions << " x " << c.points << ", bins " << c.bins);
    const Rows<T> x = this->RandomRows(c.dimensions, c.points, c.gaps);
    std::vector<double> scores(c.points);
    AddPlainHistograms(x, c.usedBins, c.usedShifts, false, scores);
    if (c.second) AddPlainHistograms(x, c.usedBins, c.usedShifts, true, scores);
    const auto [min, max] = std::minmax_element(scores.begin(), scores.end());
    const NCDataVector<T> density = Matrix(x).GetDensity(c.bins, c.shifts, c.force);
    ASSERT_EQ(density.Size(), static_cast<int>(c.points));
    EXPECT_EQ(density.GetNumMisVal(), 0);
    for (std::size_t p = 0; p < c.points; ++p) {
      EXPECT_EQ(density[static_cast<int>(p) + 1], static_cast<T>((scores[p] - *min) / (*max - *min))) << p;
    }
  }
}

TYPED_TEST(Statistics, DensityOfPointsOutOfTheOrdinary) {
  using T = TypeParam;
  const T nan = std::numeric_limits<T>::quiet_NaN();
  const T infinity = std::numeric_limits<T>::infinity();
  EXPECT_THAT(Elements(Matrix<T>({{0, 0, 10}}).GetDensity(2, 1, false)), ElementsAre(1, 1, 0));
  EXPECT_THAT(Elements(Matrix<T>({{0, 0, 10, -99}, {5, 5, 5, 5}}).GetDensity(2, 1, false)),
              ElementsAre(1, 1, static_cast<T>(0.5), 0))
      << "no range in the second dimension";
  EXPECT_THAT(Elements(Matrix<T>({{0, 0, 10, nan}}).GetDensity(2, 1, false)),
              ElementsAre(1, 1, static_cast<T>(0.5), 0));
  EXPECT_THAT(Elements(Matrix<T>({{nan, nan}}).GetDensity(2, 1, false)), ElementsAre(0, 0));
  EXPECT_EQ((Matrix<T>({{0, infinity, -infinity}}).GetDensity(2, 1, false).Size()), 3);
  EXPECT_EQ(NCDataMatrix<T>(2, 0, 0).GetDensity(0, 0, false).Size(), 0);
  NCDataMatrix<T> flat(0, 3, 0);
  EXPECT_THROW(flat.GetDensity(2, 1, false), Exception) << "no dimension to be dense in";
}

}  // namespace
