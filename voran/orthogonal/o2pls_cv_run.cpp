#include "voran/orthogonal/o2pls_cv_run.h"

#include <algorithm>

#include "voran/models/cv_split.h"
#include "voran/orthogonal/o2pls_steps.h"
#include "voran/platform/nc_error.h"

inline namespace voran {
namespace detail {

using Groups = NCIntegralVector<int, -99>;
using Matrix = NCDataMatrix<float>;

namespace {

double SumOfSquaredErrors(Matrix predicted, const Matrix& observed) {
  predicted -= observed;
  return predicted.GetSS();
}

[[noreturn]] void ThrowNoModel() {
  throw NCError(ExceptionMessage::translate("OPLS model could not be calculated."), NCError::Level::kGeneral);
}

}  // namespace

double CVData::YPress(Matrix* kept) const {
  const Matrix predicted = NCO2PLSYPred(&testX, &model, 0).GetYPred();
  if (kept != nullptr) *kept = predicted;
  return SumOfSquaredErrors(predicted, testY);
}

double CVData::XPress() const {
  return SumOfSquaredErrors(NCO2PLSXPred(&testY, &model, 0).GetXPred(), testX);
}

O2PLSRun::O2PLSRun(const Matrix& X, const Matrix& Y, const Groups& groups, int iterations, const O2PLSCounts& askedFor,
                   CvProgress display)
    : cvGroups(groups),
      asked(askedFor),
      progress(display),
      columnsX(X.SizeColumns()),
      columnsY(Y.SizeColumns()),
      leastTrain(X.SizeRows()),
      ySS(Y.SizeColumns()),
      ssX(X.GetSS()) {
  for (int m = 1; m <= columnsY; ++m) ySS(m, static_cast<float>(Y.GetColumnSS(m, 0.0)));
  ssY = ySS.GetSum();
  const int last = groups.empty() ? -1 : *std::max_element(groups.begin(), groups.end());
  for (int g = 0; g <= last; ++g) {
    const CvSplit split(X, Y, groups, g);
    if (split.train.empty()) ThrowNoModel();
    leastTrain = std::min(leastTrain, split.xTrain.SizeRows());
    data.push_back(
        {NCO2PLS(split.xTrain, split.yTrain, false, iterations), split.xTest, TakeRows(Y, split.test), {}, {}});
  }
  if (data.empty()) ThrowNoModel();
}

}  // namespace detail
}  // namespace voran
