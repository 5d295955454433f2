#include "voran/signal/wavelet.h"

#include <cmath>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/catalogue.h"
#include "tests/signal/owned_filters.h"
#include "tests/signal/series.h"
#include "voran/containers/simd_target.h"
#include "voran/platform/nc_error.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsNull;
using Detrend = Wavelet::DetrendMode;
using Type = Wavelet::WaveletFunctionType;
using Vec = NCDataVector<float>;
using Mat = NCDataMatrix<float>;
using VecPtr = std::unique_ptr<Vec>;
using MatPtr = std::unique_ptr<Mat>;
using FlagsPtr = std::unique_ptr<BoolVector>;
using Values = std::vector<float>;

/// Eight levels of sums of up to fifty products in float, there and back.
constexpr double kRoundTrip = 2e-5;

struct Function {
  Type type;
  int order;
};

std::string NameOf(const Function& f) {
  return std::string(Wavelet::WaveletFunctionStr(f.type)) + " " + Wavelet::GetFunctionOrderName(f.type, f.order);
}

std::vector<Function> AllFunctions() {
  std::vector<Function> all;
  for (int type = 0; type <= 9; ++type) {
    const auto family = static_cast<Type>(type);
    for (int order = 1; order <= Wavelet::GetNumFunctionOrder(family); ++order) all.push_back({family, order});
  }
  return all;
}

double LargestDifference(const Vec& v, const Values& expected) {
  EXPECT_EQ(v.Size(), static_cast<int>(expected.size()));
  double largest = 0.0;
  for (int i = 1; i <= v.Size(); ++i) {
    largest = std::max(largest, std::abs(static_cast<double>(v[i] - expected[static_cast<std::size_t>(i - 1)])));
  }
  return largest;
}

VecPtr Forward(const Vec& x, const Function& f, bool pad) {
  const Filters filters(Wavelet::GetDecompositionFilter(f.type, f.order));
  double trends[2] = {};
  return VecPtr(Wavelet::ForwardTransform(&x, filters, Detrend::kNone, trends[0], trends[1], nullptr, pad));
}

/// One level as it is defined, with 1-based positions and every index reduced by itself.
Values PlainLevel(const Values& block, const Vec& highPass, const Vec& lowPass) {
  const int n = static_cast<int>(block.size());
  const auto x = [&](int i) { return block[static_cast<std::size_t>(((i - 1) % n + n) % n)]; };
  Values level(static_cast<std::size_t>(n));
  for (int i = 1; i <= n / 2; ++i) {
    float& low = level[static_cast<std::size_t>(i - 1)];
    float& high = level[static_cast<std::size_t>(n / 2 + i - 1)];
    for (int j = 1; j <= highPass.Size(); ++j) high += highPass[j] * x(2 * i - j + 1);
    for (int j = 1; j <= lowPass.Size(); ++j) low += lowPass[j] * x(2 * i + lowPass.Size() - 1 - j);
  }
  return level;
}

Values PlainTransform(Values x, const Wavelet::WaveletFilters& filters) {
  for (std::size_t n = x.size(); n > 1; n /= 2) {
    n -= n % 2;
    const auto end = x.begin() + static_cast<std::ptrdiff_t>(n);
    const Values level = PlainLevel(Values(x.begin(), end), *filters.highPass, *filters.lowPass);
    std::copy(level.begin(), level.end(), x.begin());
  }
  return x;
}

// Names and orders.

TEST(Wavelets, NamesAndOrdersFindEachOther) {
  for (const auto& [type, order] : AllFunctions()) {
    EXPECT_EQ(Wavelet::WaveletFunction(Wavelet::WaveletFunctionStr(type), Type::kCoiflet), type);
    EXPECT_EQ(Wavelet::GetFunctionOrderIndex(type, Wavelet::GetFunctionOrderName(type, order)), order);
  }
  EXPECT_EQ(AllFunctions().size(), 31u);
  EXPECT_EQ(Wavelet::GetFunctionOrderIndex(Type::kSymmlet, "5"), 0);
  EXPECT_THAT(Wavelet::GetFunctionOrderName(Type::kCoiflet, 5), IsNull());
  EXPECT_EQ(Wavelet::WaveletFunction("daubechies", Type::kSymmlet), Type::kSymmlet);
  EXPECT_THAT(Wavelet::WaveletFunctionStr(static_cast<Type>(10)), IsNull());
  EXPECT_EQ(Wavelet::Detrend("Linear", Detrend::kNone), Detrend::kLinear);
  EXPECT_EQ(Wavelet::Detrend("linear", Detrend::kMean), Detrend::kMean);
  EXPECT_THAT(Wavelet::DetrendStr(static_cast<Detrend>(3)), IsNull());
  const WithCatalogue catalogue(Texts{InContext("Wavelet detrend mode", "Mean")});
  EXPECT_EQ(Wavelet::DetrendStrLocal(Detrend::kMean), "Wavelet detrend mode: Mean");
}

TEST(Wavelets, CoefficientsAreNamedByNumberOrByBand) {
  const auto list = [](const NCStringVector& names) { return std::vector<std::string>(names.begin(), names.end()); };
  EXPECT_THAT(list(Wavelet::MakeVarNames("c", 3)), ElementsAre("c_1", "c_2", "c_3"));
  EXPECT_THAT(list(Wavelet::MakeVarNames("c", 5, true)), ElementsAre("c_0_1", "c_1_1", "c_2_1", "c_2_2", "c_3_1"));
  EXPECT_THAT(list(Wavelet::MakeVarNames(NCStringVector(std::vector<std::string>{"a", "b"}))),
              ElementsAre("a_1", "b_2"));
}

// Filters.

/// Sum over n of a[n] b[n + shift].
double ProductAtShift(const Vec& a, const Vec& b, int shift) {
  double sum = 0.0;
  for (int i = std::max(1, 1 - shift); i <= std::min(a.Size(), b.Size() - shift); ++i) {
    sum += static_cast<double>(a[i]) * static_cast<double>(b[i + shift]);
  }
  return sum;
}

/// The moments of a wavelet, relative to those of its magnitudes. The taps are floats.
void ExpectVanishingMoments(const Vec& wavelet, int count) {
  for (int k = 0; k < count; ++k) {
    double moment = 0.0;
    double magnitude = 0.0;
    for (int i = 1; i <= wavelet.Size(); ++i) {
      const double term = static_cast<double>(wavelet[i]) * std::pow(i - 0.5 * wavelet.Size(), k);
      moment += term;
      magnitude += std::abs(term);
    }
    EXPECT_NEAR(moment, 0.0, 1e-7 * magnitude) << "moment " << k;
  }
}

/// A filter of either side has the sum sqrt(2), and the two sides are orthogonal to each other at every even shift but
/// none, where they are 1. For orthogonal wavelets the sides are one.
TEST(Wavelets, FiltersReconstructAndHaveTheirMoments) {
  constexpr int kCoifletMoments[] = {4, 6, 8, 10};
  constexpr int kReconstructionZeros[][5] = {{1, 1, 1}, {2, 2, 2, 2}, {3, 3, 3, 3, 3}, {4}, {6}, {6}};
  constexpr int kDecompositionZeros[][5] = {{1, 3, 5}, {2, 4, 6, 8}, {1, 3, 5, 7, 9}, {4}, {4}, {8}};
  for (const Function& f : AllFunctions()) {
    SCOPED_TRACE(NameOf(f));
    const Filters decompose(Wavelet::GetDecompositionFilter(f.type, f.order));
    const Filters reconstruct(Wavelet::GetReconstructionFilter(f.type, f.order));
    const int length = decompose.lowPass->Size();
    for (const Filters* side : {&decompose, &reconstruct}) {
      EXPECT_NEAR(side->lowPass->GetSum(), std::sqrt(2.0), 5e-7);
      EXPECT_NEAR(side->highPass->GetSum(), 0.0, 5e-7);
    }
    for (int shift = -length; shift <= length; shift += 2) {
      const double expected = shift == 0 ? 1.0 : 0.0;
      EXPECT_NEAR(ProductAtShift(*decompose.lowPass, *reconstruct.lowPass, shift), expected, 5e-7) << shift;
      EXPECT_NEAR(ProductAtShift(*decompose.highPass, *reconstruct.highPass, shift), expected, 5e-7) << shift;
    }
    const int type = static_cast<int>(f.type);
    if (f.type == Type::kCoiflet) ExpectVanishingMoments(*decompose.highPass, kCoifletMoments[f.order - 1]);
    if (f.type == Type::kDaubechies || f.type == Type::kSymmlet) {
      ExpectVanishingMoments(*decompose.highPass, length / 2);
    }
    if (type >= 4) {
      ExpectVanishingMoments(*decompose.highPass, kReconstructionZeros[type - 4][f.order - 1]);
      ExpectVanishingMoments(*reconstruct.highPass, kDecompositionZeros[type - 4][f.order - 1]);
    }
  }
}

TEST(Wavelets, FiltersStandInThePublishedOrder) {
  const auto begins = [](Type type, int order, const Values& expected) {
    const Filters filters(Wavelet::GetDecompositionFilter(type, order));
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const float sign = i % 2 == 0 ? 1.0f : -1.0f;
      EXPECT_NEAR((*filters.highPass)[static_cast<int>(i) + 1], sign * expected[i], 1e-6f);
      EXPECT_NEAR((*filters.lowPass)[filters.lowPass->Size() - static_cast<int>(i)], expected[i], 1e-6f);
    }
  };
  begins(Type::kBeylkin, 1, {0.099306f, 0.424215f, 0.699825f});
  begins(Type::kDaubechies, 1, {0.482963f, 0.836516f, 0.224144f, -0.129410f});
  begins(Type::kCoiflet, 1, {0.016387f, -0.041465f});
  const float half = std::sqrt(0.5f);
  begins(Type::kSymmlet, 1, {-0.107149f * half, -0.041911f * half, 0.703739f * half, 1.136658f * half});
  for (const Function& f : {Function{Type::kBeylkin, 2}, {Type::kCoiflet, 0}, {static_cast<Type>(10), 1}}) {
    const Filters none(Wavelet::GetDecompositionFilter(f.type, f.order));
    EXPECT_THAT(none.highPass, IsNull());
    EXPECT_THAT(none.lowPass, IsNull());
  }
}

// The dyadic transform.

/// Every length that pads, drops elements or wraps a filter around several times; every set of instructions.
TEST(Wavelets, ATransformHasTheBitsOfItsDefinition) {
  const std::string before = SimdTarget::GetName();
  for (const std::string& target : SimdTarget::GetAvailable()) {
    SimdTarget::Set(target);
    for (const Function& f : AllFunctions()) {
      const Filters filters(Wavelet::GetDecompositionFilter(f.type, f.order));
      for (const int n : {1, 2, 3, 4, 7, 13, 64, 100, 361}) {
        const Values x = RandomSeries(n);
        EXPECT_EQ(Elements(*Forward(Vector(x), f, false)), PlainTransform(x, filters))
            << target << ", " << NameOf(f) << ", " << n << " elements";
      }
    }
  }
  SimdTarget::Set(before);
}

/// Lengths of the filters need not be even.
TEST(Wavelets, AFilterMayHaveAnOddLength) {
  Vec high{0.5f, -1.0f, 0.25f};
  Vec low{0.125f, 0.5f, 2.0f, 0.5f, 0.25f};
  Wavelet::WaveletFilters filters;
  filters.highPass = &high;
  filters.lowPass = &low;
  const Values x = RandomSeries(6);
  double t = 0.0;
  const Vec v = Vector(x);
  const VecPtr y(Wavelet::ForwardTransform(&v, filters, Detrend::kNone, t, t, nullptr, false));
  EXPECT_EQ(Elements(*y), PlainTransform(x, filters));
  // What is merged with the same filters is the transpose: <Wx, y> = <x, W'y>.
  const Vec other = Vector(RandomSeries(6, 2));
  const VecPtr merged(Wavelet::BackwardTransform(&other, filters, Detrend::kNone, 0.0, 0.0, 0, nullptr));
  EXPECT_NEAR(*y * other, v * *merged, 1e-6);
}

/// As PyWavelets 1.1.1 has them: wavedec(roll(x, 1), "db2", mode="periodization"), turned back by one; its details
/// stand one place later and have the other sign.
TEST(Wavelets, TheCoarsestStandsInFront) {
  const VecPtr y = Forward(Vector<float>({1, 4, -2, 3, 0, 5, 2, -1}), {Type::kDaubechies, 1}, false);
  EXPECT_LT(LargestDifference(
                *y, {4.242641f, -0.400921f, -1.491025f, -3.473076f, 1.130011f, 4.147906f, 2.828427f, -1.035276f}),
            1e-6);
}

TEST(Wavelets, ASeriesComesBackFromEveryTransform) {
  for (const Function& f : AllFunctions()) {
    const Filters decompose(Wavelet::GetDecompositionFilter(f.type, f.order));
    const Filters reconstruct(Wavelet::GetReconstructionFilter(f.type, f.order));
    for (const int n : {1, 2, 3, 5, 16, 97, 250}) {
      for (const Detrend mode : {Detrend::kNone, Detrend::kMean, Detrend::kLinear}) {
        for (const bool pad : {false, true}) {
          SCOPED_TRACE(::testing::Message() << NameOf(f) << ", " << n << ", " << Wavelet::DetrendStr(mode) << pad);
          Values x = RandomSeries(n);
          for (std::size_t i = 0; i < x.size(); ++i) x[i] += 3.0f - 0.01f * static_cast<float>(i);
          const Vec series = Vector(x);
          double trend1 = 0.0, trend2 = 0.0;
          const VecPtr y(Wavelet::ForwardTransform(&series, decompose, mode, trend1, trend2, nullptr, pad));
          ASSERT_EQ(y->Size(), pad ? static_cast<int>(std::pow(2.0, std::ceil(std::log2(n)))) : n);
          const VecPtr back(Wavelet::BackwardTransform(y.get(), reconstruct, mode, trend1, trend2, n, nullptr));
          EXPECT_LT(LargestDifference(*back, x), kRoundTrip * 4.0);

          const FlagsPtr flags(Wavelet::FindBestBasis(&series, decompose, mode));
          Vec z;
          ASSERT_EQ(Wavelet::ForwardTransformBestBasis(&series, decompose, flags.get(), mode, trend1, trend2, &z), &z);
          ASSERT_EQ(Wavelet::BackwardTransformBestBasis(&z, reconstruct, flags.get(), mode, trend1, trend2, n, &z), &z);
          EXPECT_LT(LargestDifference(z, x), kRoundTrip * 4.0);
        }
      }
    }
  }
}

TEST(Wavelets, TrendsAreTakenOffAndReported) {
  const Filters filters(Wavelet::GetDecompositionFilter(Type::kDaubechies, 2));
  const Vec line{3.0f, 5.0f, 7.0f, 9.0f};
  double trend1 = 12.0;
  double trend2 = 34.0;
  delete Wavelet::ForwardTransform(&line, filters, Detrend::kNone, trend1, trend2, nullptr, true);
  EXPECT_EQ(std::pair(trend1, trend2), std::pair(12.0, 34.0));
  delete Wavelet::ForwardTransform(&line, filters, Detrend::kMean, trend1, trend2, nullptr, true);
  EXPECT_EQ(std::pair(trend1, trend2), std::pair(6.0, 34.0));
  const VecPtr flat(Wavelet::ForwardTransform(&line, filters, Detrend::kLinear, trend1, trend2, nullptr, true));
  EXPECT_EQ(std::pair(trend1, trend2), std::pair(1.0, 2.0));
  EXPECT_EQ(flat->GetSS(), 0.0);
}

/// A line back to the first value; one new element is half the difference.
TEST(Wavelets, PaddingReturnsToTheFirstValue) {
  struct Padding : Wavelet {
    using Wavelet::PadVector;
  };
  const auto padded = [](Vec v, int length) {
    Padding::PadVector(v, length);
    return Elements(v);
  };
  EXPECT_THAT(padded({1, 5, 9}, 8), ElementsAre(1, 5, 9, 9, 7, 5, 3, 1));
  EXPECT_THAT(padded({1, 5, 9}, 4), ElementsAre(1, 5, 9, 4));
  EXPECT_THAT(padded({1, 5, 9}, 2), ElementsAre(1, 5, 9));
}

TEST(Wavelets, WhatCannotBeTransformedGivesNull) {
  const Function f{Type::kDaubechies, 1};
  const Filters filters(Wavelet::GetDecompositionFilter(f.type, f.order));
  const Wavelet::WaveletFilters none;
  const Vec x{1, 2, 3, 4};
  const Vec three{1, 2, 3};
  const Vec gap{1, -99, 3, 4};
  const BoolVector tooFew(2, false);
  double t = 0.0;
  Vec kept{7};
  EXPECT_THAT(Wavelet::ForwardTransform(nullptr, filters, Detrend::kMean, t, t, &kept, true), IsNull());
  EXPECT_THAT(Wavelet::ForwardTransform(&x, none, Detrend::kMean, t, t, &kept, true), IsNull());
  for (const int n : {0, 4}) EXPECT_THAT(Forward(Vec(n), f, true), IsNull());
  EXPECT_THAT(Wavelet::BackwardTransform(&gap, filters, Detrend::kNone, t, t, 0, &kept), IsNull());
  EXPECT_THAT(Wavelet::FindBestBasis(&x, none, Detrend::kNone), IsNull());
  EXPECT_THAT(Wavelet::FindBestBasisObswise(nullptr, filters, Detrend::kNone), IsNull());
  for (const BoolVector* flags : {&tooFew, static_cast<const BoolVector*>(nullptr)}) {
    EXPECT_THAT(Wavelet::ForwardTransformBestBasis(&x, filters, flags, Detrend::kNone, t, t, &kept), IsNull());
  }
  EXPECT_THAT(Wavelet::BackwardTransformBestBasis(&three, filters, &tooFew, Detrend::kNone, t, t, 0, &kept), IsNull());
  EXPECT_THAT(Wavelet::PowerSpectrum(&three, false, nullptr), IsNull());
  EXPECT_THAT(Wavelet::CalcWCEnergy(nullptr), IsNull());
  EXPECT_THAT(Elements(kept), ElementsAre(7));
}

// Matrices.

TEST(Wavelets, RowsAndColumnsOfAMatrixAreTransformedEachForItself) {
  const Filters filters(Wavelet::GetDecompositionFilter(Type::kCoiflet, 2));
  Mat x;
  for (unsigned i = 0; i < 280; ++i) x.push_back(WithGaps(RandomSeries(1000, i), i, 97));
  x.SetRow(3, Vec(1000));
  Mat turned(x);
  turned.Transpose();
  const FlagsPtr flags(Wavelet::FindBestBasisObswise(&x, filters, Detrend::kMean));
  NCDataVector<double> trends[4];
  const MatPtr y(Wavelet::ForwardTransformObswise(&x, filters, Detrend::kLinear, trends[0], trends[1], nullptr, true));
  const MatPtr b(Wavelet::ForwardTransformBestBasisObswise(&x, filters, flags.get(), Detrend::kMean, trends[2],
                                                           trends[3], nullptr));
  ASSERT_EQ(y->SizeColumns(), 1024);
  ExpectRightCounts(*y);
  for (int i = 1; i <= x.SizeRows(); ++i) {
    double t[4] = {-99.0, -99.0, -99.0, 0.0};
    const Vec& row = x[i];
    const VecPtr expected(Wavelet::ForwardTransform(&row, filters, Detrend::kLinear, t[0], t[1], nullptr, true));
    const VecPtr best(
        Wavelet::ForwardTransformBestBasis(&row, filters, flags.get(), Detrend::kMean, t[2], t[3], nullptr));
    EXPECT_EQ((*y)[i], i == 3 ? Vec(1024) : *expected) << i;
    EXPECT_EQ((*b)[i], i == 3 ? Vec(1024) : *best) << i;
    for (int k = 0; k < 3; ++k) EXPECT_EQ(trends[k][i], t[k]) << i;
  }
  Mat m(turned);
  ASSERT_EQ(Wavelet::ForwardTransformVarwise(&m, filters, Detrend::kLinear, trends[0], trends[1], &m, true), &m);
  EXPECT_EQ(m.Transpose(), *y);
  const MatPtr c(Wavelet::ForwardTransformBestBasisVarwise(&turned, filters, flags.get(), Detrend::kMean, trends[2],
                                                           trends[3], nullptr));
  EXPECT_EQ(c->Transpose(), *b);
}

// The best basis.

struct Access : Wavelet {
  using Wavelet::CalcEntropy;
  using Wavelet::GetBestBasisTree;
  using Wavelet::MakeEntropyTree;
  using Wavelet::SubBackwardTransform;
  using Wavelet::SubForwardTransform;
};

TEST(BestBasis, EntropyIsThatOfTheSharesOfEnergy) {
  const Vec v{3, 0, -4, 2};
  const double p = 9.0 / 25.0;
  EXPECT_NEAR(Access::CalcEntropy(v, 1, 3, 5.0), -p * std::log(p) - (1 - p) * std::log(1 - p), 1e-15);
  EXPECT_EQ(Access::CalcEntropy(v, 1, 0, 5.0), 0.0);
  EXPECT_EQ(Access::CalcEntropy(Vec{0, 0}, 1, 2, 0.0), 0.0);
}

/// Every node from its parent by the definition of a level. The halves of every second node change places.
TEST(BestBasis, TheTreeHoldsEveryPacket) {
  const Filters filters(Wavelet::GetDecompositionFilter(Type::kDaubechies, 2));
  const int n = 16;
  std::vector<Values> packets(2 * n);
  packets[1] = RandomSeries(n);
  const Vec x = Vector(packets[1]);
  const Vec tree = Access::MakeEntropyTree(x, filters);
  ASSERT_EQ(tree.Size(), 2 * n - 1);
  const double norm = std::sqrt(x.GetSS());
  for (std::size_t node = 1; node < 2 * n; ++node) {
    const Vec packet = Vector(packets[node]);
    EXPECT_FLOAT_EQ(tree[static_cast<int>(node)],
                    static_cast<float>(Access::CalcEntropy(packet, 1, packet.Size(), norm)));
    if (packet.Size() == 1) continue;
    const Values level = PlainLevel(packets[node], *filters.highPass, *filters.lowPass);
    const auto middle = level.begin() + packet.Size() / 2;
    const auto levelStart = static_cast<std::size_t>(std::pow(2.0, std::floor(std::log2(node))));
    const bool isLowFirst = (node - levelStart) % 2 == 0;
    packets[2 * node + (isLowFirst ? 0 : 1)] = Values(level.begin(), middle);
    packets[2 * node + (isLowFirst ? 1 : 0)] = Values(middle, level.end());
  }
}

TEST(BestBasis, ANodeIsSplitWhereItsChildrenHaveLess) {
  Vec entropies{10, 5, 4, 2, 3, 1, 2.5f};
  BoolVector flags;
  Access::GetBestBasisTree(entropies, flags);
  EXPECT_THAT((std::vector<bool>(flags.begin(), flags.end())), ElementsAre(true, false, true));
  EXPECT_THAT(Elements(entropies), ElementsAre(8.5f, 5, 3.5f, 2, 3, 1, 2.5f));
}

/// A sine is one packet of its frequency, as the blocks stand in the order of frequencies.
TEST(BestBasis, TheBasisOfASineHoldsItInFewCoefficients) {
  const Filters filters(Wavelet::GetDecompositionFilter(Type::kDaubechies, 6));
  Vec x(256);
  for (int i = 1; i <= 256; ++i) x(i, static_cast<float>(std::sin(2.0 * 3.14159265358979 * 40.0 * (i - 1) / 256)));
  const FlagsPtr flags(Wavelet::FindBestBasis(&x, filters, Detrend::kNone));
  ASSERT_EQ(flags->Size(), 255);
  double t = 0.0;
  const VecPtr y(Wavelet::ForwardTransformBestBasis(&x, filters, flags.get(), Detrend::kNone, t, t, nullptr));
  double inBand = 0.0;  // frequency 40 of 128 lies in the third eighth
  for (int i = 65; i <= 96; ++i) inBand += static_cast<double>((*y)[i] * (*y)[i]);
  EXPECT_GT(inBand / y->GetSS(), 0.95);
  const VecPtr dyadic = Forward(x, {Type::kDaubechies, 6}, true);
  const double norm = std::sqrt(y->GetSS());
  EXPECT_LT(Access::CalcEntropy(*y, 1, 256, norm), Access::CalcEntropy(*dyadic, 1, 256, norm));
}

TEST(BestBasis, IsThatOfTheDetrendedSeriesAndOfTheColumnMeans) {
  const Filters filters(Wavelet::GetDecompositionFilter(Type::kDaubechies, 2));
  const auto basis = [&](const Vec& x, Detrend mode) {
    const FlagsPtr flags(Wavelet::FindBestBasis(&x, filters, mode));
    return std::vector<bool>(flags->begin(), flags->end());
  };
  Mat rows;
  for (unsigned seed = 1; seed <= 3; ++seed) rows.push_back(Vector(RandomSeries(64, seed)));
  Vec mean(64);
  for (int j = 1; j <= 64; ++j) mean(j, static_cast<float>(rows.GetColumnMean(j)));
  const FlagsPtr flags(Wavelet::FindBestBasisObswise(&rows, filters, Detrend::kNone));
  EXPECT_EQ(std::vector<bool>(flags->begin(), flags->end()), basis(mean, Detrend::kNone));
  EXPECT_NE(basis(mean, Detrend::kNone), basis(rows[1], Detrend::kNone));
  Vec rising(rows[1]);
  for (int j = 1; j <= 64; ++j) rising(j, rising[j] + 0.5f * static_cast<float>(j));
  Vec flat(rising);
  double intercept = 0.0, slope = 0.0;
  flat.DetrendLinear(intercept, slope);
  EXPECT_EQ(basis(rising, Detrend::kLinear), basis(flat, Detrend::kNone));
  EXPECT_NE(basis(rising, Detrend::kLinear), basis(rising, Detrend::kNone));
}

/// What a derived class may call, with filters as they are.
TEST(BestBasis, ABlockIsSplitAndMerged) {
  const Filters decompose(Wavelet::GetDecompositionFilter(Type::kBiorthogonal2, 1));
  const Filters reconstruct(Wavelet::GetReconstructionFilter(Type::kBiorthogonal2, 1));
  const Values x = RandomSeries(16);
  Vec v = Vector(x);
  Access::SubForwardTransform(v, v, 8, 13, 9, decompose);  // the second half of the block, the high-pass half in front
  Values expected(x.begin(), x.begin() + 8);
  const Values level = PlainLevel(Values(x.begin() + 8, x.end()), *decompose.highPass, *decompose.lowPass);
  expected.insert(expected.end(), level.begin() + 4, level.end());
  expected.insert(expected.end(), level.begin(), level.begin() + 4);
  EXPECT_EQ(Elements(v), expected);
  Access::SubBackwardTransform(v, v, 8, 13, 9, reconstruct);
  EXPECT_LT(LargestDifference(v, x), kRoundTrip);
}

// Summaries.

TEST(WaveletSummary, EnergyIsSharedOutByLevel) {
  const auto energies = [](const std::vector<Values>& rows) {
    const Mat m = Matrix<float>(rows);
    return Elements(*VecPtr(Wavelet::CalcWCEnergy(&m)));
  };
  EXPECT_THAT(energies({{9, 9}, {1, 0}, {0, 1}, {1, 1}}), ElementsAre(0.75f, 0.25f));
  EXPECT_THAT(energies({{9}, {0}, {0}, {0}}), ElementsAre(0.0f, 0.0f));
  EXPECT_THAT(energies({{9}, {2}, {1}, {2}, {-99}, {1}, {5}}), ElementsAre(0.06f * 100.0f / 91.0f, 85.0f / 91.0f));
  EXPECT_THAT(energies({{1}, {1}, {1}, {1}, {1}, {1}, {1}, {1}, {9}}), ElementsAre(0.5f, 0.25f, 0.25f));
  EXPECT_THROW(energies({{1}}), NCError);
  EXPECT_THROW(energies({{1}, {3e38f}}), NCError);
}

TEST(WaveletSummary, TheScalogramShowsEachCoefficientAsWideAsItIs) {
  const Vec x{50, 1, 0, 2, 0, 0, 0, 4};
  const MatPtr image(Wavelet::PowerSpectrum(&x, false, nullptr));
  ASSERT_EQ(image->SizeRows(), 7);
  ASSERT_EQ(image->SizeColumns(), 8);
  for (int i = 1; i <= 7; ++i) {
    for (int q = 1; q <= 8; ++q) {
      // Coefficients by sqrt(8), 2 and sqrt(2).
      const float square = i == 6 ? 8.0f : i == 4 && q > 4 ? 16.0f : i == 2 && q > 6 ? 32.0f : 0.0f;
      EXPECT_NEAR((*image)[i][q], square * 100.0f / 56.0f, 1e-4f) << i << ", " << q;
    }
  }
}

TEST(WaveletSummary, ALimitedScalogramShowsTheLargest) {
  const Vec x = Vector(RandomSeries(1024));
  const MatPtr whole(Wavelet::PowerSpectrum(&x, false, nullptr));
  Mat limited(3, 3, 7.0f);
  ASSERT_EQ(Wavelet::PowerSpectrum(&x, true, &limited), &limited);
  ASSERT_EQ(limited.SizeColumns(), 256);
  for (int i = 1; i <= 21; ++i) {
    for (int c = 1; c <= 256; ++c) {
      const Vec& row = (*whole)[i];
      EXPECT_EQ(limited[i][c], std::max({row[4 * c - 3], row[4 * c - 2], row[4 * c - 1], row[4 * c]}));
    }
  }
}

}  // namespace
