#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/tools/picture_check.h"
#include "tests/tools/program_runner.h"

namespace program {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using Arguments = std::vector<std::string>;
using Series = std::vector<double>;

const std::string kSunspots = DataFile("sunspots");
const std::string kGasoline = DataFile("gasoline");

// Relative to the largest value: the library transforms in floats, over few elements here.
constexpr double kTolerance = 2e-6;

class SignalCommands : public Program {
 protected:
  // Series as columns a, b, ... of t.csv, and as rows of turned.csv; a NaN is a gap.
  void PutSeries(const std::vector<Series>& columns) const {
    const auto text = [](double value) { return std::isnan(value) ? std::string() : fmt::format("{}", value); };
    TextCells down(columns.front().size() + 1, TextCells::value_type(1));
    TextCells along(columns.size() + 1, TextCells::value_type(1));
    down[0][0] = along[0][0] = "id";
    for (std::size_t i = 0; i < columns.front().size(); ++i) {
      down[i + 1][0] = fmt::format("r{}", i + 1);
      along[0].push_back(fmt::format("r{}", i + 1));
    }
    for (std::size_t c = 0; c < columns.size(); ++c) {
      const std::string name(1, static_cast<char>('a' + c));
      down[0].push_back(name);
      along[c + 1][0] = name;
      for (std::size_t i = 0; i < columns[c].size(); ++i) {
        down[i + 1].push_back(text(columns[c][i]));
        along[c + 1].push_back(text(columns[c][i]));
      }
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

Series WithoutMean(Series x) {
  double mean = 0.0;
  for (const double value : x) mean += value / static_cast<double>(x.size());
  for (double& value : x) value -= mean;
  return x;
}

TEST_F(SignalCommands, SmoothingTakesTheWeightsOfSavitzkyAndGolay) {
  // Their tables (1964) of convoluting integers for five points: -3 12 17 12 -3 by 35; -2 -1 0 1 2 by 10; 2 -1 -2 -1 2
  // by 7; for a cubic, 1 -8 0 8 -1 by 12 and -1 2 0 -2 1 by 2.
  struct Case {
    Arguments options;
    Series weights;
  };
  const std::vector<Case> cases = {
      {{}, {-3 / 35.0, 12 / 35.0, 17 / 35.0, 12 / 35.0, -3 / 35.0}},
      {{"--derivative", "1"}, {-0.2, -0.1, 0.0, 0.1, 0.2}},
      {{"--derivative", "1", "--step", "0.5"}, {-0.4, -0.2, 0.0, 0.2, 0.4}},
      {{"--derivative", "2", "--step", "2"}, {2 / 28.0, -1 / 28.0, -2 / 28.0, -1 / 28.0, 2 / 28.0}},
      {{"--derivative", "1", "--order", "3"}, {1 / 12.0, -8 / 12.0, 0.0, 8 / 12.0, -1 / 12.0}},
      {{"--derivative", "3", "--order", "3"}, {-0.5, 1.0, 0.0, -1.0, 0.5}}};
  const std::vector<Series> series = {Irregular(12), Irregular(12, 0.7)};
  PutSeries(series);
  for (const Case& c : cases) {
    for (const bool areRows : {false, true}) {
      Arguments arguments = {"smooth", areRows ? "turned.csv" : "t.csv", "--window", "5", "--no-edges", "--out", "o"};
      arguments.insert(arguments.end(), c.options.begin(), c.options.end());
      if (areRows) arguments.insert(arguments.end(), {"--along", "rows"});
      Done(arguments);
      for (std::size_t s = 0; s < 2; ++s) {
        Series expected(12, std::nan(""));
        for (std::size_t i = 2; i < 10; ++i) {
          expected[i] = 0.0;
          for (std::size_t k = 0; k < 5; ++k) expected[i] += c.weights[k] * series[s][i + k - 2];
        }
        ExpectSeries(areRows ? Numbers(Path("o/smooth.csv"))[s] : Column("o/smooth.csv", s), expected,
                     fmt::format("{}", fmt::join(c.options, " ")));
      }
    }
  }
}

TEST_F(SignalCommands, SmoothingKeepsAPolynomialAcrossEdgesAndGaps) {
  Series x;
  Series slope;
  for (int i = 0; i < 20; ++i) {
    x.push_back(2.0 - 0.5 * i + 0.25 * i * i);
    slope.push_back(-0.5 + 0.5 * i);
  }
  Series gapped = x;
  gapped[0] = gapped[9] = gapped[10] = std::nan("");
  PutSeries({x, gapped});
  const json summary = RunJson({"smooth", "t.csv", "--window", "9", "--out", "o", "--svg", "s.svg"});
  ExpectSeries(Column("o/smooth.csv", 0), x, "complete");
  ExpectSeries(Column("o/smooth.csv", 1), x, "with gaps");
  EXPECT_EQ(summary["series"][1]["missing"], 3);
  EXPECT_EQ(summary["series"][1]["missing_after"], 0);
  EXPECT_LT(summary["series"][1]["residual"].get<double>(), 1e-4);
  EXPECT_EQ(summary["series"][0]["minimum"]["at"], "r2");
  EXPECT_EQ(json::parse(ContentOf(Path("o/summary.json"))), summary);
  ExpectWellFormed(ContentOf(Path("s.svg")));
  Done({"smooth", "t.csv", "--window", "9", "--derivative", "1", "--out", "o", "--svg", "s.svg"});
  ExpectSeries(Column("o/smooth.csv", 0), slope, "slope");
  EXPECT_EQ(CountOf(ContentOf(Path("s.svg")), "<path"), 4u) << "both series and both slopes";
}

TEST_F(SignalCommands, ANumberThatEqualsTheMarkOfGapsIsNoGap) {
  // Parabolas through three values: (0 - 198) / 2 is -99, as is (10 - 109) / 2 with a step of a half.
  const Series x = {198.0, 0.0, 0.0, 198.0, 109.0, 7.0, 10.0};
  const Series slopes = {-297.0, -99.0, 99.0, 54.5, -95.5, -49.5, 55.5};
  PutSeries({x});
  Done({"smooth", "t.csv", "--window", "3", "--out", "o"});
  ExpectSeries(Column("o/smooth.csv", 0), x, "whose second polynomial has a slope of -99");
  for (const double step : {1.0, 2.0, 0.5}) {
    Done({"smooth", "t.csv", "--window", "3", "--derivative", "1", "--step", fmt::format("{}", step), "--out", "o"});
    Series expected = slopes;
    for (double& slope : expected) slope /= step;
    ExpectSeries(Column("o/smooth.csv", 0), expected, fmt::format("slopes, step {}", step));
  }
  // The straight line over the gap passes through -99.
  const Series filled = {-98.0, -99.0, -100.0, -107.0, -95.0, 3.0, 2.0, -7.0};
  Series gapped = filled;
  gapped[1] = std::nan("");
  PutSeries({gapped, {-98.0, -99.00001, -100.0, -107.0, -95.0, 3.0, 2.0, -7.0}});
  for (const std::string detrend : {"none", "linear"}) {
    for (const std::string command : {"spectrum", "correlate", "wavelet"}) {
      Done({command, "t.csv", "--detrend", detrend, "--out", "o"});
      const std::size_t first = command == "spectrum" ? 1 : 0;
      const std::string file = "o/" + command + ".csv";
      ExpectSeries(Column(file, first), Column(file, first + 1), command + " " + detrend);
    }
    Done({"wavelet", "o/wavelet.csv", "--inverse", "--out", "back"});
    ExpectSeries(Column("back/wavelet.csv", 0), filled, "restored");
  }
}

TEST_F(SignalCommands, ValuesBetweenGapsAreDrawn) {
  Series x = Irregular(21);
  for (std::size_t i = 1; i < 20; i += 2) x[i] = std::nan("");
  PutSeries({x});
  Done({"smooth", "t.csv", "--window", "9", "--svg", "s.svg"});
  EXPECT_EQ(CountOf(ContentOf(Path("s.svg")), "m-1 0h2"), 11u);
}

// The averaged periodogram from its definition, in double.
Series PlainSpectrum(const Series& x, std::size_t segment, bool overlap, const std::string& window, bool isDensity) {
  Series w(segment);
  double sum = 0.0;
  double squares = 0.0;
  const double m = 0.5 * static_cast<double>(segment);
  for (std::size_t j = 0; j < segment; ++j) {
    const double t = (static_cast<double>(j) - m + 0.5) / (m + 0.5);
    w[j] = window == "bartlett" ? 1.0 - std::abs(t) : 1.0 - t * t;
    if (window == "hann") w[j] = 0.5 * (1.0 - std::cos(std::numbers::pi * (static_cast<double>(j) + 1.0) / (m + 0.5)));
    sum += w[j];
    squares += w[j] * w[j];
  }
  Series powers(segment / 2 + 1, 0.0);
  double segments = 0.0;
  for (std::size_t at = 0; at + segment <= x.size(); at += overlap ? segment / 2 : segment) {
    segments += 1.0;
    for (std::size_t k = 0; k < powers.size(); ++k) {
      std::complex<double> z;
      for (std::size_t j = 0; j < segment; ++j) {
        z += w[j] * x[at + j] * std::polar(1.0, -2.0 * std::numbers::pi * static_cast<double>(j * k) / (2.0 * m));
      }
      powers[k] += std::norm(z) * (k == 0 || k == segment / 2 ? 1.0 : 2.0);
    }
  }
  for (double& power : powers) power /= segments * (isDensity ? squares : sum * sum);
  return powers;
}

TEST_F(SignalCommands, SpectraAreAveragedPeriodograms) {
  // Lengths that segments of 8 fill exactly.
  for (const bool overlap : {false, true}) {
    const std::vector<Series> series = {Irregular(overlap ? 20 : 16), Irregular(overlap ? 20 : 16, 0.4)};
    PutSeries(series);
    for (const std::string window : {"bartlett", "hann", "welch"}) {
      for (const bool isDensity : {true, false}) {
        SCOPED_TRACE(fmt::format("{} {} {}", overlap, window, isDensity));
        const json summary =
            RunJson({"spectrum", "t.csv", "--segment", "8", "--overlap", overlap ? "half" : "none", "--window", window,
                     "--scaling", isDensity ? "density" : "spectrum", "--step", "0.25", "--out", "o"});
        ExpectSeries(Column("o/spectrum.csv", 0), {std::nan(""), 2.0, 1.0, 2.0 / 3.0, 0.5}, "periods");
        for (std::size_t s = 0; s < 2; ++s) {
          Series expected = PlainSpectrum(WithoutMean(series[s]), 8, overlap, window, isDensity);
          if (isDensity) {
            for (double& power : expected) power *= 0.25;
          }
          ExpectSeries(Column("o/spectrum.csv", s + 1), expected, "powers");
        }
        EXPECT_EQ(summary["segment"], 8);
      }
    }
  }
}

TEST_F(SignalCommands, SunspotsComeInElevenYears) {
  const json summary = RunJson({"spectrum", kSunspots, "--svg", "s.svg"});
  EXPECT_EQ(summary["segment"], 1024);
  EXPECT_NEAR(summary["series"][0]["peaks"][0]["period"].get<double>() / 12.0, 11.0, 0.5);
  ExpectWellFormed(ContentOf(Path("s.svg")));
  // R 4.2.2, acf(sunspots, 200): its first local maximum, and the highest one.
  const json lags = RunJson({"correlate", kSunspots, "--lags", "200", "--svg", "s.svg"});
  ExpectWellFormed(ContentOf(Path("s.svg")));
  EXPECT_NEAR(lags["series"][0]["highest"]["correlation"].get<double>(), 0.5485329, 1e-6);
  EXPECT_EQ(lags["series"][0]["highest"]["lag"], 125);
}

TEST_F(SignalCommands, CorrelationsAreSumsOfProducts) {
  const std::vector<Series> series = {Irregular(23), Irregular(23, 1.1)};
  PutSeries(series);
  const auto plain = [&](std::size_t a, std::size_t b, int lag) {
    const Series x = WithoutMean(series[a]);
    const Series y = WithoutMean(series[b]);
    double sum = 0.0;
    double xx = 0.0;
    double yy = 0.0;
    for (int l = 0; l < 23; ++l) {
      const auto i = static_cast<std::size_t>(l);
      const int other = l + lag;
      if (other >= 0 && other < 23) sum += x[static_cast<std::size_t>(other)] * y[i];
      xx += x[i] * x[i];
      yy += y[i] * y[i];
    }
    return sum / std::sqrt(xx * yy);
  };
  Done({"correlate", "t.csv", "--lags", "23", "--out", "auto"});
  Done({"correlate", "turned.csv", "--along", "rows", "--with", "b", "--lags", "5", "--out", "cross"});
  Series automatic;
  Series cross;
  for (int lag = 0; lag <= 23; ++lag) automatic.push_back(plain(1, 1, lag));
  for (int lag = -5; lag <= 5; ++lag) cross.push_back(plain(0, 1, lag));
  ExpectSeries(Column("auto/correlate.csv", 1), automatic, "auto");
  ExpectSeries(Column("cross/correlate.csv", 0), cross, "cross");
  EXPECT_EQ(CellsOf(Path("cross/correlate.csv"))[0], (Arguments{"lag", "a"}));
  EXPECT_EQ(CellsOf(Path("cross/correlate.csv"))[1][0], "-5");

  // b is a, three later: so b comes behind a.
  Series late = Irregular(40);
  late.insert(late.begin(), {3.0, 2.5, 3.5});
  late.resize(40);
  PutSeries({Irregular(40), late});
  const json summary = RunJson({"correlate", "t.csv", "--with", "a", "--detrend", "linear"});
  EXPECT_EQ(summary["series"].size(), 1u);
  EXPECT_EQ(summary["series"][0]["highest"]["lag"], 3);
  EXPECT_EQ(summary["lags"], 10);
  for (double& value : late) value = -value;
  PutSeries({Irregular(40), late});
  Done({"correlate", "t.csv", "--with", "a", "--detrend", "linear", "--svg", "s.svg"});
  EXPECT_THAT(ContentOf(Path("s.svg")), HasSubstr(">lag 3<")) << "the strongest one, though it is the lowest";
}

TEST_F(SignalCommands, TransformsOfTheHaarWaveletByHand) {
  // 4 2 5 5: differences 2 and 0 by sqrt 2, then of the sums 6 and 10 by 2; the sum of all by 2 is left.
  Put("t.csv", "id,a\nr1,4\nr2,2\nr3,5\nr4,5\n");
  const json summary = RunJson({"wavelet", "t.csv", "--family", "Biorthogonal1", "--order", "1", "--detrend", "none",
                                "--out", "o", "--svg", "s.svg"});
  const Series got = Column("o/wavelet.csv", 0);
  ASSERT_EQ(got.size(), 4u);
  const Series magnitudes = {std::abs(got[0]), std::abs(got[1]), std::abs(got[2]), std::abs(got[3])};
  ExpectSeries(magnitudes, {8.0, 2.0, std::sqrt(2.0), 0.0}, "coefficients");
  EXPECT_NEAR(summary["levels"][0]["energy"].get<double>(), 1.0 / 3.0, kTolerance);
  EXPECT_NEAR(summary["levels"][1]["energy"].get<double>(), 2.0 / 3.0, kTolerance);
  EXPECT_EQ(summary["series"][0]["holding_90"], 1) << "64 of 70";
  EXPECT_EQ(summary["series"][0]["holding_99"], 3);
  EXPECT_EQ(CellsOf(Path("o/wavelet.csv"))[3][0], "w_2_1");
  ExpectWellFormed(ContentOf(Path("s.svg")));
}

TEST_F(SignalCommands, TheInverseTransformGivesTheSeriesBack) {
  for (const int n : {32, 37}) {
    std::vector<Series> series = {Irregular(n), Irregular(n, 2.0), Series(static_cast<std::size_t>(n), std::nan(""))};
    series[1][0] = 100.0;
    PutSeries(series);
    for (const Arguments& wavelet : std::vector<Arguments>{
             {"Daubechies", "4"}, {"Symmlet", "10"}, {"Coiflet", "2"}, {"Beylkin", "N/A"}, {"Biorthogonal2", "4"}}) {
      if (n == 32 && wavelet[0] != "Daubechies") continue;  // a power of two: nothing is padded
      for (const char* detrend : {"none", "mean", "linear"}) {
        for (const char* form : {"--along", "--pad", "--best-basis"}) {
          const bool areRows = form == std::string("--along");
          SCOPED_TRACE(fmt::format("{} {} {} {}", n, wavelet[0], detrend, form));
          Arguments forward = {"wavelet",   areRows ? "turned.csv" : "t.csv",
                               "--family",  wavelet[0],
                               "--order",   wavelet[1],
                               "--detrend", detrend,
                               "--out",     "o",
                               form};
          if (areRows) forward.emplace_back("rows");
          Done(forward);
          Done({"wavelet", "o/wavelet.csv", "--inverse", "--out", "back"});
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
  }
}

TEST_F(SignalCommands, ACoefficientThatEqualsTheMarkOfGapsIsKept) {
  PutSeries({{200.0, 97.0, 0.0}});  // without the mean of 99 the last one is -99, and an odd level leaves it so
  Done({"wavelet", "t.csv", "--out", "o"});
  EXPECT_NEAR(Column("o/wavelet.csv", 0)[2], -99.0, 1e-4);
  Done({"wavelet", "o/wavelet.csv", "--inverse", "--out", "back"});
  ExpectSeries(Column("back/wavelet.csv", 0), {200.0, 97.0, 0.0}, "restored");
}

TEST_F(SignalCommands, GapsLieOnStraightLinesAndConstantsHaveNoPeak) {
  const Series x = Irregular(16);
  Series gapped = x;
  Series filled = x;
  gapped[4] = gapped[5] = std::nan("");
  filled[4] = x[3] + (x[6] - x[3]) / 3.0;
  filled[5] = x[3] + (x[6] - x[3]) * 2.0 / 3.0;
  PutSeries({gapped, filled, Series(16, 5.0), Series(16, std::nan(""))});
  for (const Arguments& command : std::vector<Arguments>{{"spectrum"}, {"correlate"}, {"wavelet"}}) {
    const std::string file = "o/" + command[0] + ".csv";
    const json summary = RunJson({command[0], "t.csv", "--out", "o"});
    const std::size_t first = command[0] == "spectrum" ? 1 : 0;
    ExpectSeries(Column(file, first), Column(file, first + 1), command[0]);
    EXPECT_EQ(summary["missing"]["cells"], 18);
    EXPECT_EQ(summary["empty_series"], json({"d"}));
    EXPECT_THAT(Run({command[0], "t.csv", "--quiet"}).out, HasSubstr("filled on straight lines\n  without a value: d"));
  }
  EXPECT_EQ(RunJson({"spectrum", "t.csv"})["series"][2]["peaks"], json::array());
  EXPECT_TRUE(RunJson({"correlate", "t.csv"})["series"][2]["highest"].is_null());
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
      {"smooth t.csv --window 5 --derivative 4", 2, "--derivative"},
      {"smooth t.csv --window 5 --step 2", 2, "--step goes with --derivative alone"},
      {"smooth t.csv --window 5 --derivative 1 --step 0", 2, "--step: 0 is no distance"},
      {"smooth t.csv --window 5 --x none", 3, "t.csv: no column holds a value"},
      {"spectrum t.csv --segment 6", 2, "a power of two; 6 is none"},
      {"spectrum t.csv --segment 1.5", 2, "no whole number from 2"},
      {"spectrum t.csv --segment 8", 2, "8 elements are more than the series of t.csv have, 6"},
      {"spectrum t.csv --step -1", 2, "--step"},
      {"spectrum short.csv", 3, "a spectrum needs series of two elements or more"},
      {"spectrum t.csv --x none --along rows", 3, "t.csv: no row holds a value"},
      {"correlate t.csv --lags 7", 2, "--lags: 7 is more than the 6 elements of the series of t.csv"},
      {"correlate t.csv --lags -1", 2, "--lags"},
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
      {"wavelet t.csv --family Haar", 2, "--family"},
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
  Done({"wavelet", "t.csv", "--best-basis", "--out", "o"});
  const std::string coefficients = ContentOf(Path("o/wavelet.csv"));
  const json summary = json::parse(ContentOf(Path("o/summary.json")));
  const Arguments inverse = {"wavelet", "o/wavelet.csv", "--inverse", "--out", "back"};
  ExpectRefusal({"wavelet", "o/wavelet.csv", "--inverse", "--out", "o"}, 2, "is the input itself");
  EXPECT_EQ(ContentOf(Path("o/wavelet.csv")), coefficients);

  const auto refuses = [&](const char* key, const json& value) {
    json changed = summary;
    changed[key] = value;
    Put("o/summary.json", changed.dump());
    ExpectRefusal(inverse, 3, "o/summary.json: is no summary of a wavelet transform");
  };
  refuses("command", "pca");
  refuses("inverse", true);
  refuses("family", "Haar");
  refuses("order", "7");
  refuses("detrend", "cubic");
  refuses("basis", "10");
  refuses("elements", json::array());
  for (const int count : {3, 0, std::numeric_limits<int>::min()}) refuses("coefficients", count);
  refuses("coefficients", 16 + (std::int64_t{1} << 32));
  refuses("coefficients", 8e57);
  refuses("series", 5);
  Put("o/summary.json", "{");
  ExpectRefusal(inverse, 3, "is no summary");

  Put("o/summary.json", summary.dump());
  Put("o/wavelet.csv", coefficients.substr(0, coefficients.rfind("w_16")));
  ExpectRefusal(inverse, 3, "there are 15 coefficients of a series, and the summary beside it tells of 16");
  Put("o/wavelet.csv", "coefficient,a,c" + coefficients.substr(coefficients.find('\n')));
  ExpectRefusal(inverse, 3, "the summary beside it knows no series \"c\"");
  Put("o/wavelet.csv", coefficients.substr(0, coefficients.rfind("w_16")) + "w_16,,1\n");
  ExpectRefusal(inverse, 3, "\"a\" lacks coefficients; write 0 for those to be left out");
}

TEST_F(SignalCommands, SpectraOfGasolineRunAlongRows) {
  Done({"smooth", kGasoline, "--x", "900..1700", "--along", "rows", "--window", "11", "--derivative", "1", "--step",
        "2", "--out", "o", "--svg", "s.svg"});
  EXPECT_EQ(CellsOf(Path("o/smooth.csv"))[0].size(), 402u);
  EXPECT_EQ(CellsOf(Path("o/smooth.csv"))[0][1], "nm900");
  ExpectWellFormed(ContentOf(Path("s.svg")));
  EXPECT_THAT(ContentOf(Path("s.svg")), HasSubstr(">1600<")) << "wavelengths along the axis";
  const json summary = RunJson({"wavelet", kGasoline, "--x", "900..1700", "--along", "rows", "--pad"});
  EXPECT_EQ(summary["coefficients"], 512);
  EXPECT_EQ(summary["series"].size(), 60u);
}

}  // namespace
}  // namespace program
