#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/tools/picture_check.h"
#include "tests/tools/program_runner.h"
#include "voran/signal/fft.h"

namespace program {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using Series = std::vector<double>;

// Relative to the largest value: the library transforms in floats, over few elements here.
constexpr double kTolerance = 2e-6;

class SignalCommands : public Program {
 protected:
  // Series as columns a, b, ... of t.csv, and as rows of turned.csv; a NaN is a gap.
  void PutSeries(const std::vector<Series>& series) const {
    TextCells along = {{"id"}};
    for (std::size_t i = 1; i <= series.front().size(); ++i) along[0].push_back(fmt::format("r{}", i));
    for (const Series& values : series) {
      auto& row = along.emplace_back(1, std::string(1, static_cast<char>('a' + along.size() - 1)));
      for (const double value : values) row.push_back(std::isnan(value) ? "" : fmt::format("{}", value));
    }
    TextCells down(along[0].size());
    for (const auto& row : along) {
      for (std::size_t i = 0; i < row.size(); ++i) down[i].push_back(row[i]);
    }
    Put("t.csv", down);
    Put("turned.csv", along);
  }

  Series Column(const std::string& file, std::size_t column) const {
    Series values;
    for (const auto& row : Numbers(Path(file))) values.push_back(column < row.size() ? row[column] : std::nan(""));
    return values;
  }
};

void ExpectSeries(const Series& got, const Series& expected, const std::string& what) {
  ASSERT_EQ(got.size(), expected.size()) << what;
  double largest = 1.0;
  for (const double value : expected) largest = std::fmax(largest, std::abs(value));
  for (std::size_t i = 0; i < got.size(); ++i) {
    EXPECT_EQ(std::isnan(got[i]), std::isnan(expected[i])) << what << " " << i;
    if (std::isnan(expected[i])) continue;
    EXPECT_NEAR(got[i], expected[i], kTolerance * largest) << what << " " << i;
  }
}

// Something without symmetry.
Series Irregular(int n, double shift = 0.0) {
  Series x;
  for (int i = 0; i < n; ++i) x.push_back(3.0 + 0.2 * i + std::sin(1.3 * i + shift) * std::cos(0.31 * i * i + shift));
  return x;
}

TEST_F(SignalCommands, SmoothingTakesTheWeightsOfSavitzkyAndGolay) {
  // Their tables (1964) of convoluting integers for five points.
  const std::pair<const char*, Series> cases[] = {
      {"", {-3 / 35.0, 12 / 35.0, 17 / 35.0, 12 / 35.0, -3 / 35.0}},
      {"--derivative 1 --step 0.5", {-0.4, -0.2, 0.0, 0.2, 0.4}},
      {"--derivative 2 --step 2", {2 / 28.0, -1 / 28.0, -2 / 28.0, -1 / 28.0, 2 / 28.0}},
      {"--derivative 1 --order 3", {1 / 12.0, -8 / 12.0, 0.0, 8 / 12.0, -1 / 12.0}},
      {"--derivative 3 --order 3", {-0.5, 1.0, 0.0, -1.0, 0.5}}};
  const std::vector<Series> series = {Irregular(12), Irregular(12, 0.7)};
  PutSeries(series);
  for (const auto& [options, weights] : cases) {
    Do(fmt::format("smooth t.csv --window 5 --no-edges --out down {}", options));
    Do(fmt::format("smooth turned.csv --along rows --window 5 --no-edges --out along {}", options));
    for (std::size_t s = 0; s < 2; ++s) {
      Series expected(12, std::nan(""));
      for (std::size_t i = 2; i < 10; ++i) {
        expected[i] = 0.0;
        for (std::size_t k = 0; k < 5; ++k) expected[i] += weights[k] * series[s][i + k - 2];
      }
      ExpectSeries(Column("down/smooth.csv", s), expected, options);
      ExpectSeries(Numbers(Path("along/smooth.csv"))[s], expected, options);
    }
  }
}

TEST_F(SignalCommands, SmoothingKeepsAPolynomialAcrossEdgesAndGaps) {
  Series x;
  for (int i = 0; i < 20; ++i) x.push_back(2.0 - 0.5 * i + 0.25 * i * i);
  Series gapped = x;
  gapped[0] = gapped[9] = gapped[10] = std::nan("");
  PutSeries({x, gapped});
  const json summary = Told("smooth t.csv --window 9 --out o --svg s.svg");
  ExpectSeries(Column("o/smooth.csv", 0), x, "complete");
  ExpectSeries(Column("o/smooth.csv", 1), x, "with gaps");
  EXPECT_EQ(summary["series"][1]["missing"], 3);
  EXPECT_EQ(summary["series"][1]["missing_after"], 0);
  EXPECT_LT(summary["series"][1]["residual"].get<double>(), 1e-4);
  EXPECT_EQ(summary["series"][0]["minimum"]["at"], "r2");
  EXPECT_EQ(json::parse(ContentOf(Path("o/summary.json"))), summary);
  ExpectWellFormed(ContentOf(Path("s.svg")));
  Do("smooth t.csv --window 9 --derivative 1 --svg s.svg");
  EXPECT_EQ(CountOf(ContentOf(Path("s.svg")), "<path"), 4u) << "both series and both slopes";
}

TEST_F(SignalCommands, ANumberThatEqualsTheMarkOfGapsIsNoGap) {
  // Parabolas through three values: (0 - 198) / 2 is -99, as is (10 - 109) / 2 with a step of a half.
  const Series x = {198.0, 0.0, 0.0, 198.0, 109.0, 7.0, 10.0};
  PutSeries({x});
  Do("smooth t.csv --window 3 --out o");
  ExpectSeries(Column("o/smooth.csv", 0), x, "whose second polynomial has a slope of -99");
  for (const double step : {1.0, 2.0, 0.5}) {
    Do(fmt::format("smooth t.csv --window 3 --derivative 1 --step {} --out o", step));
    Series expected = {-297.0, -99.0, 99.0, 54.5, -95.5, -49.5, 55.5};
    for (double& slope : expected) slope /= step;
    ExpectSeries(Column("o/smooth.csv", 0), expected, fmt::format("slopes, step {}", step));
  }
  // The straight line over the gap passes through -99.
  const Series filled = {-98.0, -99.0, -100.0, -107.0, -95.0, 3.0, 2.0, -7.0};
  Series gapped = filled;
  Series near = filled;
  gapped[1] = std::nan("");
  near[1] = -99.00001;
  PutSeries({gapped, near});
  for (const std::string detrend : {"none", "linear"}) {
    for (const std::string command : {"spectrum", "correlate", "wavelet"}) {
      Do(command + " t.csv --out o --detrend " + detrend);
      const std::size_t first = command == "spectrum" ? 1 : 0;
      const std::string file = "o/" + command + ".csv";
      ExpectSeries(Column(file, first), Column(file, first + 1), command + " " + detrend);
    }
    Do("wavelet o/wavelet.csv --inverse --out back");
    ExpectSeries(Column("back/wavelet.csv", 0), filled, "restored");
  }
  // A coefficient: without the mean of 99 the last one is -99, and an odd level leaves it so.
  PutSeries({{200.0, 97.0, 0.0}});
  Do("wavelet t.csv --out o");
  EXPECT_NEAR(Column("o/wavelet.csv", 0)[2], -99.0, 1e-4);
  Do("wavelet o/wavelet.csv --inverse --out back");
  ExpectSeries(Column("back/wavelet.csv", 0), {200.0, 97.0, 0.0}, "restored");
}

TEST_F(SignalCommands, ValuesBetweenGapsAreDrawn) {
  Series x = Irregular(21);
  for (std::size_t i = 1; i < 20; i += 2) x[i] = std::nan("");
  PutSeries({x});
  Do("smooth t.csv --window 9 --svg s.svg");
  EXPECT_EQ(CountOf(ContentOf(Path("s.svg")), "m-1 0h2"), 11u);
}

TEST_F(SignalCommands, SpectraAreThoseOfTheLibraryPerUnitOfFrequency) {
  const Series series = Irregular(20);
  PutSeries({series});
  const std::vector<float> floats(series.begin(), series.end());
  NCDataVector<float> x;
  x.CopyZeroBasedVector(floats.data(), 20);
  const std::string windows[] = {"bartlett", "hann", "welch"};
  for (int w = 0; w < 3; ++w) {
    for (const bool isDensity : {true, false}) {
      const std::string options = fmt::format("--window {} --scaling {} --overlap {}", windows[w],
                                              isDensity ? "density" : "spectrum", isDensity ? "half" : "none");
      Do("spectrum t.csv --segment 8 --step 0.25 --out o " + options);
      ExpectSeries(Column("o/spectrum.csv", 0), {std::nan(""), 2.0, 1.0, 2.0 / 3.0, 0.5}, "periods");
      NCDataVector<float> powers(5, 0.0F);
      FFT::PowerSpectrum(&x, 8, isDensity, FFT::DetrendMode::kMean, static_cast<FFT::ScalingMode>(isDensity ? 0 : 1),
                         static_cast<FFT::DataWindowMode>(w), &powers);
      Series expected;
      for (const float power : powers) expected.push_back(power * (isDensity ? 0.25 : 1.0));
      ExpectSeries(Column("o/spectrum.csv", 1), expected, options);
    }
  }
}

TEST_F(SignalCommands, SunspotsComeInElevenYears) {
  const json summary = Told("spectrum @sunspots --svg s.svg");
  EXPECT_EQ(summary["segment"], 1024);
  EXPECT_NEAR(summary["series"][0]["peaks"][0]["period"].get<double>() / 12.0, 11.0, 0.5);
  ExpectWellFormed(ContentOf(Path("s.svg")));
  // R 4.2.2, acf(sunspots, 200): its first local maximum, and the highest one.
  const json lags = Told("correlate @sunspots --lags 200 --svg s.svg");
  ExpectWellFormed(ContentOf(Path("s.svg")));
  EXPECT_NEAR(lags["series"][0]["highest"]["correlation"].get<double>(), 0.5485329, 1e-6);
  EXPECT_EQ(lags["series"][0]["highest"]["lag"], 125);
}

TEST_F(SignalCommands, ACorrelationHasItsHighestValueWhereOneSeriesFollowsTheOther) {
  // b is a, three later: so b comes behind a.
  Series late = Irregular(40);
  late.insert(late.begin(), {3.0, 2.5, 3.5});
  late.resize(40);
  PutSeries({Irregular(40), late});
  const json summary = Told("correlate t.csv --with a --detrend linear");
  EXPECT_EQ(summary["series"].size(), 1u);
  EXPECT_EQ(summary["series"][0]["highest"]["lag"], 3);
  EXPECT_EQ(summary["lags"], 10);

  Do("correlate turned.csv --along rows --with b --detrend linear --lags 5 --out o");
  const TextCells cells = CellsOf(Path("o/correlate.csv"));
  EXPECT_EQ(cells[0], (TextCells::value_type{"lag", "a"}));
  EXPECT_EQ(cells[1][0], "-5");
  const Series values = Column("o/correlate.csv", 0);
  EXPECT_EQ(std::max_element(values.begin(), values.end()) - values.begin(), 5 - 3);

  for (double& value : late) value = -value;
  PutSeries({Irregular(40), late});
  Do("correlate t.csv --with a --detrend linear --svg s.svg");
  EXPECT_THAT(ContentOf(Path("s.svg")), HasSubstr(">lag 3<")) << "the strongest one, though it is the lowest";
}

TEST_F(SignalCommands, TransformsOfTheHaarWaveletByHand) {
  // 4 2 5 5: differences 2 and 0 by sqrt 2, then of the sums 6 and 10 by 2; the sum of all by 2 is left.
  Put("t.csv", "id,a\nr1,4\nr2,2\nr3,5\nr4,5\n");
  const json summary = Told("wavelet t.csv --family Biorthogonal1 --order 1 --detrend none --out o --svg s.svg");
  Series magnitudes = Column("o/wavelet.csv", 0);
  for (double& value : magnitudes) value = std::abs(value);
  ExpectSeries(magnitudes, {8.0, 2.0, std::sqrt(2.0), 0.0}, "coefficients");
  EXPECT_NEAR(summary["levels"][0]["energy"].get<double>(), 1.0 / 3.0, kTolerance);
  EXPECT_NEAR(summary["levels"][1]["energy"].get<double>(), 2.0 / 3.0, kTolerance);
  EXPECT_EQ(summary["series"][0]["holding_90"], 1) << "64 of 70";
  EXPECT_EQ(summary["series"][0]["holding_99"], 3);
  EXPECT_EQ(CellsOf(Path("o/wavelet.csv"))[3][0], "w_2_1");
  ExpectWellFormed(ContentOf(Path("s.svg")));
}

TEST_F(SignalCommands, TheInverseTransformGivesTheSeriesBack) {
  for (const int n : {32, 37}) {  // a power of two, to which nothing is padded
    std::vector<Series> series = {Irregular(n), Irregular(n, 2.0), Series(static_cast<std::size_t>(n), std::nan(""))};
    series[1][0] = 100.0;
    PutSeries(series);
    for (const std::string options :
         {"t.csv --family Beylkin --order N/A --detrend none", "t.csv --pad --detrend none",
          "t.csv --pad --family Symmlet --order 10 --detrend mean", "t.csv --pad --detrend linear",
          "t.csv --best-basis --family Biorthogonal2 --order 4 --detrend none", "t.csv --best-basis --detrend linear",
          "turned.csv --along rows --detrend mean",
          "turned.csv --along rows --pad --detrend linear --family Coiflet --order 2"}) {
      SCOPED_TRACE(fmt::format("{} {}", n, options));
      Do("wavelet --out o " + options);
      Do("wavelet o/wavelet.csv --inverse --out back");
      const bool areRows = options[1] == 'u';
      EXPECT_EQ(CellsOf(Path("back/wavelet.csv"))[0], CellsOf(Path(areRows ? "turned.csv" : "t.csv"))[0]);
      const Cells rows = Numbers(Path("back/wavelet.csv"));
      for (std::size_t s = 0; s < series.size(); ++s) {
        Series got = areRows ? rows[s] : Column("back/wavelet.csv", s);
        got.resize(series[s].size(), std::nan(""));  // empty cells at the end of a row
        ExpectSeries(got, series[s], "restored");
      }
    }
  }
}

TEST_F(SignalCommands, GapsLieOnStraightLinesAndConstantsHaveNoPeak) {
  const Series x = Irregular(16);
  Series gapped = x;
  Series filled = x;
  gapped[4] = gapped[5] = std::nan("");
  filled[4] = x[3] + (x[6] - x[3]) / 3.0;
  filled[5] = x[3] + (x[6] - x[3]) * 2.0 / 3.0;
  PutSeries({gapped, filled, Series(16, 5.0), Series(16, std::nan(""))});
  for (const std::string command : {"spectrum", "correlate", "wavelet"}) {
    const std::string file = "o/" + command + ".csv";
    const json summary = Told(command + " t.csv --out o");
    const std::size_t first = command == "spectrum" ? 1 : 0;
    ExpectSeries(Column(file, first), Column(file, first + 1), command);
    EXPECT_EQ(summary["missing"]["cells"], 18);
    EXPECT_EQ(summary["empty_series"], json({"d"}));
    EXPECT_THAT(Run({command, "t.csv", "--quiet"}).out, HasSubstr("filled on straight lines\n  without a value: d"));
  }
  EXPECT_EQ(Told("spectrum t.csv")["series"][2]["peaks"], json::array());
  EXPECT_TRUE(Told("correlate t.csv")["series"][2]["highest"].is_null());
}

TEST_F(SignalCommands, WhatDoesNotFitIsRefused) {
  Put("t.csv", "id,a,b,none\nr1,1,2,\nr2,4,1,\nr3,2,5,\nr4,1,3,\nr5,3,4,\nr6,6,6,\n");
  Put("short.csv", "id,a\nr1,1\n");
  Put("big.csv", "id,a\nr1,3e38\nr2,-3e38\nr3,3e38\nr4,3e38\n");
  const std::vector<Refusal> refusals = {
      {"smooth t.csv --window 4", 2, "--window: a window has a centre"},
      {"smooth t.csv --window 7", 2,
       "a window of 7 elements is longer than the series of t.csv, which have 6; give 5 at most"},
      {"smooth short.csv", 3, "short.csv: a polynomial of order 2 needs series of 3 elements or more"},
      {"smooth t.csv --window 3 --order 3", 2, "needs a window of 5 elements or more"},
      {"smooth t.csv --window 5 --derivative 3", 2, "add --order 3"},
      {"smooth t.csv --window 5 --step 2", 2, "--step goes with --derivative alone"},
      {"smooth t.csv --window 5 --derivative 1 --step 0", 2, "--step: 0 is no distance"},
      {"smooth t.csv --window 5 --x none", 3, "t.csv: no column holds a value"},
      {"spectrum t.csv --segment 6", 2, "a power of two; 6 is none"},
      {"spectrum t.csv --step 0", 2, "--step: 0 is no distance between elements; give a number above 0"},
      {"spectrum t.csv --segment 8", 2, "8 elements are more than the series of t.csv have, 6"},
      {"spectrum short.csv", 3, "a spectrum needs series of two elements or more"},
      {"spectrum t.csv --x none --along rows", 3, "t.csv: no row holds a value"},
      {"correlate t.csv --lags 7", 2, "--lags: 7 is more than the 6 elements of the series of t.csv"},
      {"correlate t.csv --with c", 2, "no column \"c\""},
      {"correlate t.csv --exclude b --with b", 2, "\"b\" names no column of numbers that is used"},
      {"smooth big.csv --window 3 --derivative 1 --step 0.01", 1, "big.csv, a: a result is larger"},
      {"spectrum big.csv", 1, "big.csv, a: Power spectrum could not be computed"},
      {"wavelet big.csv", 1, "big.csv, a: the transform overflowed"},
      {"correlate t.csv --along rows --with 7", 2, "--with: no row is called \"7\""},
      {"correlate t.csv --with a,b", 2, "--with: \"a,b\" selects several series"},
      {"correlate t.csv --with none", 3, "--with: \"none\" holds no value"},
      {"correlate t.csv --x a --with a", 2, "there is no other series"},
      {"wavelet t.csv --family Symmlet --order 5", 2, "Symmlet has no order \"5\"; there are 4, 6, 8, 10"},
      {"wavelet t.csv --svg s.svg", 2, "which are 6; add --pad"},
      {"wavelet t.csv --svg s.svg --best-basis", 2, "which --best-basis does not have"},
      {"wavelet t.csv --inverse", 3, "summary.json: cannot be read; --inverse needs this file"},
      {"wavelet - --inverse", 2, "name the file"},
      {"wavelet t.csv --inverse --pad", 2, "--pad"},
      {"wavelet t.csv --inverse --svg s.svg", 2, "--svg does not go with --inverse"},
  };
  ExpectRefusals("", refusals);
}

TEST_F(SignalCommands, TheInverseChecksWhatItReads) {
  PutSeries({Irregular(16), Irregular(16, 1.0)});
  Do("wavelet t.csv --best-basis --out o");
  const std::string coefficients = ContentOf(Path("o/wavelet.csv"));
  const json summary = json::parse(ContentOf(Path("o/summary.json")));
  const auto refuses = [this](int code, const std::string& says, const std::string& folder = "back") {
    ExpectRefusal({"wavelet", "o/wavelet.csv", "--inverse", "--out", folder}, code, says);
  };
  refuses(2, "is the input itself", "o");
  EXPECT_EQ(ContentOf(Path("o/wavelet.csv")), coefficients);

  for (const json& change : json::parse(R"([
           ["command", "pca"], ["inverse", true], ["family", "Haar"], ["order", "7"], ["detrend", "cubic"],
           ["basis", "10"], ["elements", []], ["series", 5], ["coefficients", 3], ["coefficients", 0],
           ["coefficients", -2147483648], ["coefficients", 4294967312], ["coefficients", 8e57]])")) {
    SCOPED_TRACE(change.dump());
    json changed = summary;
    changed[change[0].get<std::string>()] = change[1];
    Put("o/summary.json", changed.dump());
    refuses(3, "o/summary.json: is no summary of a wavelet transform");
  }
  Put("o/summary.json", "{");
  refuses(3, "is no summary");

  Put("o/summary.json", summary.dump());
  const std::string less = coefficients.substr(0, coefficients.rfind("w_16"));
  Put("o/wavelet.csv", less);
  refuses(3, "there are 15 coefficients of a series, and the summary beside it tells of 16");
  Put("o/wavelet.csv", "coefficient,a,c" + coefficients.substr(coefficients.find('\n')));
  refuses(3, "the summary beside it knows no series \"c\"");
  Put("o/wavelet.csv", less + "w_16,,1\n");
  refuses(3, "\"a\" lacks coefficients; write 0 for those to be left out");
}

TEST_F(SignalCommands, SpectraOfGasolineRunAlongRows) {
  Do("smooth @gasoline --x 900..1700 --along rows --window 11 --derivative 1 --step 2 --out o --svg s.svg");
  EXPECT_EQ(CellsOf(Path("o/smooth.csv"))[0].size(), 402u);
  EXPECT_EQ(CellsOf(Path("o/smooth.csv"))[0][1], "nm900");
  ExpectWellFormed(ContentOf(Path("s.svg")));
  EXPECT_THAT(ContentOf(Path("s.svg")), HasSubstr(">1600<")) << "wavelengths along the axis";
  const json summary = Told("wavelet @gasoline --x 900..1700 --along rows --pad");
  EXPECT_EQ(summary["coefficients"], 512);
  EXPECT_EQ(summary["series"].size(), 60u);
}

}  // namespace
}  // namespace program
