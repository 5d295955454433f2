#include <cstdio>
#include <sstream>

#include <voran/voran.h>

// Partial least squares: what three exercises (chin-ups, sit-ups, jumps) tell of the waist of a man, in inches. The
// model is fitted to seventeen men, cross-validated, kept in a stream, read back, and applied to three others. The
// measurements are those of A. C. Linnerud, as M. Tenenhaus gives them (La regression PLS, 1998).

namespace {

constexpr int kMen = 20, kFitted = 17, kExercises = 3, kGroups = 7;

const float kExercise[kMen][kExercises] = {
    {5, 162, 60}, {2, 110, 60},   {12, 101, 101}, {12, 105, 37}, {13, 155, 58},  {4, 101, 42},   {8, 101, 38},
    {6, 125, 40}, {15, 200, 40},  {17, 251, 250}, {17, 120, 38}, {13, 210, 115}, {14, 215, 105}, {1, 50, 50},
    {6, 70, 31},  {12, 210, 120}, {4, 60, 25},    {11, 230, 80}, {15, 225, 73},  {2, 110, 43},
};
const float kWaist[kMen] = {36, 37, 38, 35, 35, 36, 38, 34, 31, 33, 34, 33, 34, 46, 36, 37, 37, 32, 33, 33};

// The men from `first` to `last`; all positions count from 1.
NCDataMatrix<float> Exercises(int first, int last) {
  NCDataMatrix<float> x(last - first + 1, kExercises, 0.0f);
  for (int man = first; man <= last; ++man) {
    for (int e = 1; e <= kExercises; ++e) x(man - first + 1, e, kExercise[man - 1][e - 1]);
  }
  return x;
}

NCDataMatrix<float> Waists(int first, int last) {
  NCDataMatrix<float> y(last - first + 1, 1, 0.0f);
  for (int man = first; man <= last; ++man) y(man - first + 1, 1, kWaist[man - 1]);
  return y;
}

}  // namespace

int main() {
  // Every column is centred and brought to unit variance; the scales are kept for the new men.
  NCDataMatrix<float> x = Exercises(1, kFitted);
  NCScale xScale(kExercises);
  for (int e = 1; e <= kExercises; ++e) xScale.SetType(e, NCScale::kUnitVariance);
  xScale.ScaleMatrix(&x, true);
  NCDataMatrix<float> y = Waists(1, kFitted);
  const double meanWaist = y.GetColumnMean(1);
  NCScale yScale(1);
  yScale.SetType(1, NCScale::kCenter);
  yScale.ScaleMatrix(&y, true);

  NCPLS model(&x, &y, 200);  // at most 200 rounds for a component
  PLSCrossValidation validation(&model, kGroups, nullptr);
  const NCDataVector<float> total = {static_cast<float>(y.GetColumnSS(1, 0.0))};
  std::printf("component    Q2  Q2(cum)  limit\n");
  for (int component = 1; component <= 2; ++component) {
    model.NextComponent(nullptr, nullptr, true, true);  // default start; silent; stop if X and Y do not correlate
    validation.NextComponent(&model.GetWprim()->back(), 200, total, nullptr, true);
    model.CalculateResiduals();
    std::printf("%9d %5.2f %8.2f %6.2f\n", component, validation.GetQ2Tot(), validation.GetQ2TotCum(),
                validation.GetQ2Lim());
  }

  std::stringstream file;  // a std::fstream opened as binary does as well
  if (!WriteStreamable(file, model)) return 1;
  NCPLS kept;
  if (!ReadStreamable(file, kept)) return 1;

  NCDataMatrix<float> fresh = Exercises(kFitted + 1, kMen);
  xScale.ScaleMatrix(&fresh, false);
  constexpr float kMostMissing = 0.5f;  // of the values of a row that is still predicted
  NCPLSPred prediction(&fresh, kept.GetWprim(), kept.GetPprim(), kept.GetCprim(), kMostMissing);
  while (prediction.GetCompComputed() < prediction.GetMaxComp()) prediction.CalcNextComponent();
  std::printf("\nman  predicted  measured\n");
  for (int man = kFitted + 1; man <= kMen; ++man) {
    std::printf("%3d %10.1f %9.1f\n", man, meanWaist + (*prediction.GetYPred())[man - kFitted][1], kWaist[man - 1]);
  }
}
