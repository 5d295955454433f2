#include <memory>
#include <string>
#include <vector>

#include "tests/same_bits/tables.h"
#include "tests/same_bits/works.h"
#include "voran/containers/bool_vector.h"
#include "voran/containers/string_vector.h"
#include "voran/containers/svd.h"
#include "voran/preprocessing/scale.h"
#include "voran/preprocessing/transform.h"

namespace same_bits {
namespace {

template <typename T>
void VectorWork(Digest& digest, const NCDataVector<T>& a, const NCDataVector<T>& b) {
  digest(a + b, a - b, a * 1.5, a - 2.5, a * b, a.DotMultiplication(b), a.DotDivide(b), a.VectorDivide(2.0));
  digest(a.GetSS(), a.GetSS(1.5), a.Regress(b), a.SpecialNipalsRegressFix(b), a.Correlation(b), a.Difference(b));
  digest(a.GetSum(), a.GetMean(), a.GetVariance(), a.GetStdDev(), a.GetSkewness(), a.GetSkewnessTest(), a.GetKurtosis(),
         a.GetMedian(), a.GetInterquartileRange(), a.GetRobustStdDev());
  NCDataVector<T> v = a;
  digest(v.Normalise(), v.TransformTo_Sub_d_x_Vt(0.3, b), v.SNV(), v.Sort(nullptr, true), v);
  double intercept = 0.0;
  double slope = 0.0;
  v = a;
  v.DetrendLinear(intercept, slope);
  digest(v, intercept, slope, v.LeastSquare(&b, intercept, slope), intercept, slope);
  digest(v.InterpolateMisVals(nullptr), v);
  v.DetrendMean(intercept);
  v.Abs();
  v.Sqrt();
  digest(v, intercept);
  digest.Written(v);
}

void Vectors(Digest& digest, bool hasGaps) {
  const Vector a = Series(1003, hasGaps);
  const Vector b = Series(1013, hasGaps);
  Vector sameSize = b;
  sameSize.Resize(a.Size(), 0.0f);
  VectorWork(digest, a, sameSize);
  const NCDataMatrix<double> x = InDouble(SmallTable(hasGaps).x);
  VectorWork(digest, x.GetColumn(1), x.GetColumn(2));
}

template <typename T>
void NipalsWork(Digest& digest, NCDataMatrix<T> x) {
  const NCDataVector<T> column = x.GetColumn(2);
  const NCDataVector<T> row = x[2];
  NCIntegralVector<int, -99> groups(x.SizeColumns(), 0);
  for (int j = 1; j <= x.SizeColumns(); ++j) groups(j, j % 3);
  digest(x.PreMultiply(column), x * row, x.RegressColumns(column), x.RegressRows(row));
  digest(x.SpecialNipalsRegressColumnsFix(column), x.SpecialNipalsRegressColumnsFix(column, &groups, 1),
         x.SpecialNipalsRegressRowsFix(row), x.SpecialNipalsRegressRowsFix(row, &groups, 1));
  digest(x.GetNIPALSStartColumn());
  digest(x.AddVprimV(column, row, -0.7f), x);
}

/// Small enough for every form of the product, and for the inverse; large enough for several threads.
template <typename T>
NCDataMatrix<T> Square(NCDataMatrix<T> x) {
  constexpr int kSize = 201;
  x.RemoveColumns(kSize + 1, x.SizeColumns() - kSize);
  return x.GetRowSubMatrix(1, kSize);
}

template <typename T>
void ProductWork(Digest& digest, const NCDataMatrix<T>& a, const NCDataMatrix<T>& b) {
  for (const bool first : {false, true}) {
    for (const bool second : {false, true}) digest(a.MatrixMultiply(b, first, second, first == second));
  }
  digest(a * b, a * 0.3, a + b, a - b, a.DotMultiplyVector(b[1]), a.DotDivideVector(b[1]), a.SNV());
  NCDataMatrix<T> m = a;
  digest(m.TransformToMprim_mul_M(), m.Transpose());
  digest(m.TransformToInverse(), m);
  if (a.GetNumMisVal() != 0) return;
  digest(a.GetRowSubMatrix(1, 20).GetRegressionCoefficients(b.GetRowSubMatrix(1, 3)));
}

template <typename T>
void StatisticsWork(Digest& digest, const NCDataMatrix<T>& x) {
  digest(x.GetMean(), x.GetSS(), x.GetSSAroundColumnMeans(), x.GetColumnMeans(), x.GetColumnStdDevs(1.0f),
         x.GetColumnCorrelation(x.GetColumn(1), true), x.GetColumnCorrelation(x.GetColumn(1), false));
  for (int j = 1; j <= x.SizeColumns(); j += 50) {
    digest(x.GetColumnMean(j), x.GetColumnStdDev(j, 1.0f), x.GetColumnSS(j, 0.5), x.GetColumnSkewness(j, 1),
           x.GetColumnSkewnessTest(j, 1), x.GetColumnKurtosis(j), x.GetColumnMedian(j), x.GetColumnCp(j, -1.0, 1.0),
           x.GetColumnCpk(j, -1.0, 1.0));
  }
  digest(x.GetRowSubMatrix(1, 2).GetDensity(0, 0, false));
}

/// Two threads have work in its decomposition.
Matrix Narrow() {
  Matrix x = LargeTable(false).x;
  x.RemoveColumns(131, x.SizeColumns() - 130);
  return x;
}

template <typename T>
void SvdWork(Digest& digest, const NCDataMatrix<T>& x) {
  const std::unique_ptr<NCSVD<T>> svd(x.GetSVD());
  digest(*svd->GetU(), *svd->GetV(), *svd->GetW(), svd->GetConditionNumber(), svd->GetLogDeterminant());
  const std::unique_ptr<NCDataMatrix<T>> inverse(svd->GetInverse(-99.0f));
  digest(*inverse);
}

void Scaling(Digest& digest, bool hasGaps) {
  const Matrix& rows = LargeTable(hasGaps).x;
  Matrix x = rows;
  for (int i = 0; i < 7; ++i) x.ConcatRows(rows);  // a single reading is shared from four million cells on
  NCScale scale(x.SizeColumns());
  constexpr NCScale::Scaling kTypes[] = {NCScale::kNone, NCScale::kCenter, NCScale::kPareto, NCScale::kUnitVariance};
  for (int j = 1; j <= x.SizeColumns(); ++j) scale.SetType(j, kTypes[j % 4]);
  scale.ScaleMatrix(&x, true);
  digest(x, scale.GetMeans(), scale.GetScales());
  Matrix others = MiddleTable(hasGaps).x;
  others.InsertColumns(1, x.SizeColumns() - others.SizeColumns());
  scale.ScaleMatrix(&others, false);
  digest(others);
  digest.Written(scale);
}

void Transforms(Digest& digest, bool hasGaps) {
  Matrix x = MiddleTable(hasGaps).x;
  NCTransform transforms(x.SizeColumns());
  for (int j = 1; j <= x.SizeColumns(); ++j) {
    transforms[j].SetTransform(static_cast<TransformE::Transform>(1 + j % 7));
    transforms[j].SetConstant(1, transforms[j].GetTransform() == TransformE::kLogit ? -60.0f : 0.01f);
    transforms[j].SetConstant(2, 60.0f);
    transforms[j].SetConstant(3, 1.5f);
  }
  transforms.TransformMatrix(&x);
  digest(x);
  for (int j = 1; j <= x.SizeColumns(); ++j) delete transforms[j].BackTransformColumn(&x, j);
  digest(x);
  digest.Written(transforms);
  digest.Written(transforms[6]);
}

void SmallStreams(Digest& digest) {
  digest.Written(NCIntegralVector<int, -99>(3, 5));
  digest.Written(NCIntegralVector<unsigned long, 0>(3, 5));
  digest.Written(BoolVector(9, true));
  digest.Written(NCStringVector(std::vector<std::string>{"a", "", "bc"}));
}

/// The same in float and in double.
template <class Run>
void AddOfBothTypes(std::vector<Work>& works, const std::string& name, const Run& run) {
  AddBoth(works, name, [run](Digest& digest, bool hasGaps) { run(digest, LargeTable(hasGaps).x); });
  AddBoth(works, name + "_in_double",
          [run](Digest& digest, bool hasGaps) { run(digest, InDouble(MiddleTable(hasGaps).x)); });
}

}  // namespace

std::vector<Work> ContainerWorks() {
  std::vector<Work> works = {{"small_streams", SmallStreams}};
  AddBoth(works, "vectors", Vectors);
  AddBoth(works, "scaling", Scaling);
  AddBoth(works, "transforms", Transforms);
  AddOfBothTypes(works, "nipals_passes", [](Digest& digest, const auto& x) { NipalsWork(digest, x); });
  AddOfBothTypes(works, "statistics_of_columns", [](Digest& digest, const auto& x) {
    StatisticsWork(digest, x);
    digest.Written(x);
  });
  AddOfBothTypes(works, "products", [](Digest& digest, const auto& x) {
    auto others = x;
    others.RemoveColumns(1, 201);
    ProductWork(digest, Square(x), Square(others));
  });
  works.push_back({"singular_values", [](Digest& digest) { SvdWork(digest, Narrow()); }});
  works.push_back({"singular_values_in_double", [](Digest& digest) { SvdWork(digest, InDouble(Narrow())); }});
  return works;
}

}  // namespace same_bits
