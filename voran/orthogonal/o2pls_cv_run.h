#pragma once

#include <atomic>
#include <cstddef>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"
#include "voran/orthogonal/group_team.h"
#include "voran/orthogonal/o2pls.h"
#include "voran/orthogonal/o2pls_prediction.h"
#include "voran/platform/exception.h"
#include "voran/platform/progress.h"

inline namespace voran {
namespace detail {

/// The caller's progress object, if there is one.
class CvProgress {
 public:
  explicit CvProgress(NCProgress* progress) : progress_(progress) {}

  void SetRange(int from, int to) {
    if (progress_ != nullptr) progress_->SetRange(static_cast<float>(from), static_cast<float>(to));
  }
  void SetValue(int value) {
    if (progress_ != nullptr) progress_->SetValue(static_cast<float>(value));
  }
  void SetText(const std::string& translated) {
    if (progress_ != nullptr) progress_->SetText(translated.c_str());
  }
  /// One stretch of the whole.
  void Push(int from) {
    if (progress_ != nullptr) progress_->PushSubRange(static_cast<float>(from), static_cast<float>(from + 1));
  }
  void Pop() {
    if (progress_ != nullptr) progress_->PopSubRange();
  }
  bool IsStopAsked() const { return progress_ != nullptr && progress_->IsBreakPressed(); }
  void StopIfAsked() const {
    if (IsStopAsked()) throw CancelException();
  }

 private:
  NCProgress* progress_;
};

/// Numbers of components, given or, if negative, free.
struct O2PLSCounts {
  int predictive;
  int xOrtho;
  int yOrtho;
};

/// A group of observations, the model of all others, and what that predicts.
struct CVData {
  /// The sum of squares of the errors with which the model predicts the group's Y, or its X. `kept` receives the
  /// prediction.
  double YPress(NCDataMatrix<float>* kept) const;
  double XPress() const;

  NCO2PLS model;
  NCDataMatrix<float> testX;
  NCDataMatrix<float> testY;
  std::optional<NCO2PLSYPred> yPred;
  std::optional<NCO2PLSXPred> xPred;
};

/// One pass through all steps.
struct O2PLSRun {
  /// Throws NCError if a group has all observations, or there is no group.
  O2PLSRun(const NCDataMatrix<float>& X, const NCDataMatrix<float>& Y, const NCIntegralVector<int, -99>& groups,
           int iterations, const O2PLSCounts& askedFor, CvProgress display);

  /// Calls work(g) for each group, several at a time, unless the user has broken off. The caller's thread, which has a
  /// part in the work, asks that for all: the display is the host's, and no other thread may turn up in it.
  template <class Work>
  void ForEach(const Work& work) const {
    const std::thread::id caller = std::this_thread::get_id();
    std::atomic<bool> isStopped = false;
    ForEachGroup(static_cast<int>(data.size()), [&](std::size_t g) {
      if (std::this_thread::get_id() == caller && progress.IsStopAsked()) isStopped = true;
      if (isStopped) throw CancelException();
      work(g);
    });
  }

  /// The sum over the groups, in their order, of what work(g) returns.
  template <class Work>
  double SumOf(const Work& work) const {
    std::vector<double> parts(data.size());
    ForEach([&](std::size_t g) { parts[g] = work(g); });
    double sum = 0.0;
    for (const double part : parts) sum += part;
    return sum;
  }

  const NCIntegralVector<int, -99>& cvGroups;
  O2PLSCounts asked;
  CvProgress progress;
  int columnsX;
  int columnsY;
  int leastTrain;           ///< observations that the smallest model is fitted to
  NCDataVector<float> ySS;  ///< by response
  double ssX;
  double ssY;
  std::vector<CVData> data;  ///< by group
};

/// A search for orthogonal components, one after the other.
struct O2PLSSearch {
  bool xSide;
  int maxComps;
  float ss;          ///< of the block that is predicted
  double lastQ2;     ///< of that block, without the first component
  bool stopAtLimit;  ///< as soon as a component adds too little
  NCDataVector<float>& q2;
  NCIntegralVector<int, -99>& significance;
  std::vector<NCDataMatrix<float>>* predictions;  ///< of all observations group by group, or null
};

}  // namespace detail
}  // namespace voran
