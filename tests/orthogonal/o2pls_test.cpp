#include "voran/orthogonal/o2pls.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "tests/orthogonal/o2pls_samples.h"
#include "tests/orthogonal/plain_o2pls.h"
#include "voran/orthogonal/o2pls_dimensionality.h"
#include "voran/orthogonal/o2pls_prediction.h"
#include "voran/platform/nc_error.h"

namespace samples {
namespace {

/// An iterate stops within a relative squared change of 1e-10, and float elements lose a digit with each deflation.
constexpr double kTolerance = 3e-4;
/// Float elements alone.
constexpr double kRounding = 1e-5;

/// Rows that agree but for the sign of a row in all matrices: that of the first one decides.
void ExpectNearUpToSigns(const std::vector<const FloatMatrix*>& matrices, std::vector<PlainMatrix> expected) {
  ASSERT_EQ(static_cast<std::size_t>(matrices.front()->SizeRows()), expected.front().size());
  for (std::size_t a = 0; a < expected.front().size(); ++a) {
    const auto first = ToPlain((*matrices.front())[static_cast<int>(a) + 1]);
    if (plain_o2pls::Dot(first, expected.front()[a]) > 0.0) continue;
    for (PlainMatrix& m : expected) plain_o2pls::Scale(m[a], -1.0);
  }
  for (std::size_t k = 0; k < matrices.size(); ++k) {
    SCOPED_TRACE(::testing::Message() << "matrix " << k);
    ExpectNear(*matrices[k], expected[k], kTolerance);
  }
}

TEST(O2pls, EqualsThePlainAlgorithm) {
  const struct {
    BlockSizes sizes;
    int joint, xOrtho, yOrtho;
  } cases[] = {{{}, 2, 2, 1}, {{.xColumns = 5, .yColumns = 14, .joint = 1, .yAlone = 3}, 1, 1, 3}, {{}, 3, 0, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.joint << " + " << c.xOrtho << " + " << c.yOrtho);
    const XY data = MadeBlocks(c.sizes, 0.2, 11);
    const NCO2PLS m = Fitted(data.x, data.y, c.joint, c.xOrtho, c.yOrtho);
    const auto plain = plain_o2pls::Fit(ToPlain(data.x), ToPlain(data.y), static_cast<std::size_t>(c.joint),
                                        static_cast<std::size_t>(c.xOrtho), static_cast<std::size_t>(c.yOrtho));
    ExpectNearUpToSigns({&m.GetW(), &m.GetT(), &m.GetP(), &m.GetC(), &m.GetU(), &m.GetQ()},
                        {plain.w, plain.t, plain.p, plain.c, plain.u, plain.q});
    ExpectNearUpToSigns({&m.GetWo(), &m.GetTo(), &m.GetPo()}, {plain.wo, plain.to, plain.po});
    ExpectNearUpToSigns({&m.GetCo(), &m.GetUo(), &m.GetQo()}, {plain.co, plain.uo, plain.qo});
  }
}

TEST(O2pls, StepByStepEqualsFit) {
  const XY data = MadeBlocks({}, 0.3, 5);
  NCO2PLS m(data.x, data.y, true, 500);
  m.NextOrthogonalComponent(true, 2);
  m.CalculatePredictiveComps(2);
  m.Finalise();
  ExpectSame(AllOf(m), AllOf(Fitted(data.x, data.y, 2, 1, 0)));
  const FloatMatrix before = m.GetT();
  m.NextOrthogonalComponent(false, m.SizePredComps());
  EXPECT_TRUE(m.GetT() == before) << "readable until it is calculated anew";
  EXPECT_EQ(m.SizePredComps(), 2);
  m.InitPredCompCalculation();
  EXPECT_EQ(m.SizePredComps(), 0);
  EXPECT_EQ(m.GetLambda().SizeRows(), 0);
  m.NextPredictiveComp();
  m.SubtractLastPredictiveComp();
  m.NextPredictiveComp();
  m.Finalise();
  m.EndFit();
  ExpectSame(AllOf(m), AllOf(Fitted(data.x, data.y, 2, 1, 1)));
  EXPECT_EQ(m.SizeXSideOrthoComps(), 1);
  EXPECT_EQ(m.SizeYSideOrthoComps(), 1);

  m.Fit(1, 0, 2);
  ExpectSame(AllOf(m), AllOf(Fitted(data.x, data.y, 1, 0, 2)));
  m.UnFit();
  for (const FloatMatrix& matrix : AllOf(m)) EXPECT_EQ(matrix.SizeRows(), 0);
  m.Fit(0, 0, 0);
  for (const FloatMatrix& matrix : AllOf(m)) EXPECT_EQ(matrix.SizeRows(), 0);
}

TEST(O2pls, CopiesAndSwappedModelsGoTheirOwnWays) {
  const XY data = MadeBlocks({}, 0.3, 5);
  NCO2PLS m = Fitted(data.x, data.y, 1, 1, 0);
  const auto all = AllOf(m);
  NCO2PLS copy(m);
  copy.NextOrthogonalComponent(true, 1);
  copy.CalculatePredictiveComps(1);
  copy.Finalise();
  copy.FlipXSideModel({true, true});
  ExpectSame(AllOf(m), all);
  const auto ofCopy = AllOf(copy);
  NCO2PLS other;
  other.swap(copy);
  ExpectSame(AllOf(other), ofCopy);
  EXPECT_EQ(copy.SizeXColumns(), 0);
  EXPECT_EQ(copy.GetSSXOrig(), 0.0f);
  EXPECT_EQ(other.GetSSXOrig(), m.GetSSXOrig());
  EXPECT_EQ(other.SizeXColumns(), 11);
  EXPECT_EQ(other.SizeYColumns(), 8);
  EXPECT_THROW(other.NextOrthogonalComponent(true, 10), NCO2PLSDimensionalityException) << "the check went along";
}

TEST(O2pls, FlipsTurnWhatBelongsTogether) {
  const XY data = MadeBlocks({}, 0.3, 5);
  const NCO2PLS whole = Fitted(data.x, data.y, 2, 2, 2);
  NCO2PLS m = whole;
  m.FlipPredictiveModel({false, true}, {true, false});
  m.FlipXSideModel({true, false});
  m.FlipYSideModel({false, true});
  const auto sign = [](const FloatVector& a, const FloatVector& b) { return a == b ? 1 : a == b * -1.0 ? -1 : 0; };
  const auto signs = [&](auto get) {
    return std::vector<int>{sign((m.*get)()[1], (whole.*get)()[1]), sign((m.*get)()[2], (whole.*get)()[2])};
  };
  for (const auto get : {&NCO2PLS::GetT, &NCO2PLS::GetP, &NCO2PLS::GetW, &NCO2PLS::GetUo, &NCO2PLS::GetCo,
                         &NCO2PLS::GetQo, &NCO2PLS::GetR}) {
    EXPECT_EQ(signs(get), (std::vector<int>{1, -1}));
  }
  for (const auto get : {&NCO2PLS::GetU, &NCO2PLS::GetC, &NCO2PLS::GetQ, &NCO2PLS::GetTo, &NCO2PLS::GetWo,
                         &NCO2PLS::GetPo, &NCO2PLS::GetS}) {
    EXPECT_EQ(signs(get), (std::vector<int>{-1, 1}));
  }
  ExpectNear(NCO2PLSYPred(&data.x, &m, 0).GetYPred(), ToPlain(NCO2PLSYPred(&data.x, &whole, 0).GetYPred()), kRounding);
  ExpectNear(NCO2PLSXPred(&data.y, &m, 0).GetXPred(), ToPlain(NCO2PLSXPred(&data.y, &whole, 0).GetXPred()), kRounding);
  m.FlipPredictiveModel({false, true}, {true, false});
  m.FlipXSideModel({true, false});
  m.FlipYSideModel({false, true});
  ExpectSame(AllOf(m), AllOf(whole));
}

TEST(O2pls, CoefficientsGiveThePrediction) {
  const XY data = MadeBlocks({}, 0.3, 5);
  for (const int xOrtho : {0, 2}) {
    const NCO2PLS m = Fitted(data.x, data.y, 2, xOrtho, 1);
    const FloatMatrix b =
        NCO2PLS::GetCoefficients(m.GetW(), m.GetP(), m.GetWo(), m.GetPo(), m.GetLambda(), m.GetS(), m.GetQ());
    ExpectNear(data.x * b, ToPlain(NCO2PLSYPred(&data.x, &m, 0).GetYPred()), kRounding);
  }
}

// Errors.

TEST(O2pls, RefusesDataThatDoNotFit) {
  const FloatMatrix x(5, 3, 1.0f);
  FloatMatrix gap(5, 2, 1.0f);
  gap(5, 2, kGap);
  EXPECT_EQ(TextOf<NCInternalError>([&] { NCO2PLS(x, FloatMatrix(4, 2, 1.0f), true, 10); }),
            "NCO2PLS::NCO2PLS: The X and Y matrices have different number of rows.");
  for (const bool inX : {true, false}) {
    EXPECT_EQ(TextOf<NCInternalError>([&] { inX ? NCO2PLS(gap, x, true, 10) : NCO2PLS(x, gap, true, 10); }),
              "NCO2PLS::NCO2PLS: The X and Y matrices can not contain missing values.");
  }
}

TEST(O2pls, TellsACallOutOfSequence) {
  const XY data = MadeBlocks({}, 0.3, 5);
  NCO2PLS m(data.x, data.y, true, 10);
  const std::string text = "NCO2PLS::NextPredictiveComp: Function call out of sequence.";
  EXPECT_EQ(TextOf<NCInternalError>([&] { m.NextPredictiveComp(); }), text);
  m.InitPredCompCalculation();
  m.NextOrthogonalComponent(false, 1);
  EXPECT_EQ(TextOf<NCInternalError>([&] { m.NextPredictiveComp(); }), text);
  m.Fit(1, 1, 1);
  EXPECT_EQ(TextOf<NCInternalError>([&] { m.NextPredictiveComp(); }), text);
}

TEST(O2pls, TellsAComponentThatCouldNotBeFormed) {
  const XY data = MadeBlocks({}, 0.3, 5);
  NCO2PLS m(data.x, FloatMatrix(40, 2, 0.0f), false, 10);
  EXPECT_EQ(ErrorOf([&] { m.Fit(1, 0, 0); }),
            std::pair(NCError::Level::kGeneral, std::string("OPLS model could not be calculated.")));
}

TEST(O2pls, StopsAtTheDimensionsOfTheData) {
  const struct {
    std::size_t rows, columns;
    int joint, possible;
  } cases[] = {{20, 4, 3, 2}, {5, 9, 1, 4}, {5, 9, 2, 3}, {20, 4, 5, 0}};
  for (const auto& c : cases) {
    for (const bool xSide : {true, false}) {
      SCOPED_TRACE(::testing::Message() << c.rows << " x " << c.columns << ", " << c.joint << " of " << xSide);
      const XY data = MadeBlocks(
          {.rows = c.rows, .xColumns = xSide ? c.columns : 15, .yColumns = xSide ? 15 : c.columns, .joint = 1}, 1.0, 7);
      NCO2PLS m(data.x, data.y, true, 20);
      NCO2PLS unchecked(data.x, data.y, false, 20);
      for (int j = 0; j < c.possible; ++j) m.NextOrthogonalComponent(xSide, c.joint);
      try {
        m.NextOrthogonalComponent(xSide, c.joint);
        FAIL() << "nothing thrown";
      } catch (const NCO2PLSDimensionalityException& error) {
        EXPECT_EQ(error.GetDimensionality(), xSide ? 1 : 2);
        EXPECT_EQ(error.GetPredictiveComps(), c.joint);
        EXPECT_EQ(error.GetXSideOrthoComps(), xSide ? c.possible : 0);
        EXPECT_EQ(error.GetYSideOrthoComps(), xSide ? 0 : c.possible);
        EXPECT_EQ(error.GetLevel(), NCError::Level::kGeneral);
        const std::unique_ptr<NCO2PLSDimensionalityException> clone(error.Clone());
        EXPECT_STREQ(clone->what(), error.what());
        EXPECT_EQ(clone->GetPredictiveComps(), c.joint);
      }
      EXPECT_EQ(xSide ? m.SizeXSideOrthoComps() : m.SizeYSideOrthoComps(), c.possible) << "what was there stays";
      EXPECT_NO_THROW(unchecked.NextOrthogonalComponent(xSide, c.joint));
    }
  }
}

TEST(O2pls, TellsWhichDimensionsRanOut) {
  using E = NCO2PLSDimensionalityException;
  const std::string end = "More components can not be calculated.";
  const struct {
    int sides, xOrtho, yOrtho;
    std::string text;
  } cases[] = {{1, 0, 5, "There are no OPLS-orthogonal dimensions in X.\n"},
               {1, 1, 0, "There is only 1 OPLS-orthogonal dimension in X.\n"},
               {2, 5, 1, "There is only 1 OPLS-orthogonal dimension in Y.\n"},
               {3, 0, 2,
                "There are no OPLS-orthogonal dimensions in X.\n"
                "There are only 2 OPLS-orthogonal dimensions in Y.\n"}};
  for (const auto& c : cases) {
    EXPECT_EQ(E::FormatException(static_cast<E::Dimensionality>(c.sides), c.xOrtho, c.yOrtho).GetText(), c.text + end);
  }
  EXPECT_EQ(E(E::kXSide, 2, 1, 0).what(), "There is only 1 OPLS-orthogonal dimension in X.\n" + end);
}

}  // namespace
}  // namespace samples
