#include "voran/models/pca_prediction.h"

#include <cstddef>
#include <exception>
#include <mutex>
#include <set>
#include <vector>

#include "voran/containers/missing_value.h"
#include "voran/containers/parallel.h"
#include "voran/models/score_estimator.h"

inline namespace voran {

using detail::kMissing;
using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

NCPCAPred::NCPCAPred(const Matrix* X, const Matrix* Pprim, int iterationLimit, float maxMissingFraction)
    : X_(*X),
      TPredPrim_(Pprim->SizeRows(), X->SizeRows(), kMissing<float>),
      Pprim_(*Pprim),
      maxMissingFraction_(maxMissingFraction) {
  CalculateScores(iterationLimit);
}

void NCPCAPred::CalculateScores(int iterationLimit) {
  const int components = Pprim_.SizeRows();
  const ScoreEstimator estimator(Pprim_, iterationLimit);
  std::vector<Vector> scores(static_cast<std::size_t>(X_.SizeRows()), Vector(components));
  std::exception_ptr failure;
  std::mutex failureMutex;
  const auto width = static_cast<float>(X_.SizeColumns());
  const double readings = X_.GetNumMisVal() == 0 ? components : detail::kManyPasses;  // rows with gaps are iterated
  const int threads = detail::ThreadsForMatrix(X_.SizeRows(), X_.SizeColumns(), readings);
  detail::ParallelFor(X_.SizeRows(), threads, [&](int i) {
    try {
      const Vector& row = X_[i + 1];
      if (static_cast<float>(row.GetNumMisVal()) / width > maxMissingFraction_) return;
      estimator.GetT(scores[static_cast<std::size_t>(i)], row);
    } catch (...) {  // must not leave a parallel region
      const std::lock_guard<std::mutex> guard(failureMutex);
      failure = std::current_exception();
    }
  });
  if (failure) std::rethrow_exception(failure);
  for (int i = 1; i <= X_.SizeRows(); ++i) TPredPrim_.SetColumn(i, scores[static_cast<std::size_t>(i) - 1]);
}

void NCPCAPred::CalcNextResidual() {
  ++residualComponents_;
  X_.AddVprimV(TPredPrim_[residualComponents_], Pprim_[residualComponents_], -1.0f);
}

void NCPCAPred::RemoveObservations(const NCIntegralVector<int, -99>& observations) {
  const std::set<int> removed(observations.begin(), observations.end());
  Matrix rows(0, X_.SizeColumns(), kMissing<float>);
  for (int i = 1; i <= X_.SizeRows(); ++i) {
    if (removed.count(i) == 0) rows.push_back(X_[i]);
  }
  Matrix scores(0, rows.SizeRows(), kMissing<float>);
  for (Vector ofComponent : TPredPrim_) {
    ofComponent.Remove(observations);
    scores.push_back(ofComponent);
  }
  X_ = rows;
  TPredPrim_ = scores;
}

}  // namespace voran
