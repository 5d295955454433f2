#pragma once

#include <cstddef>
#include <optional>

#include "benchmarks/made_data.h"
#include "voran/containers/nipals_pass.h"

/// A matrix and what a round of the iteration needs.
class NipalsRound {
 public:
  NipalsRound(int rows, int columns, double gaps)
      : x_(MadeMatrix(rows, columns, gaps)),
        scores_{x_.GetNIPALSStartColumn(), NCDataVector<float>(rows)},
        p_(columns) {}

  const NCDataMatrix<float>& X() const { return x_; }

  /// To be called after the number of threads has been set.
  void Prepare() {
    pass_.emplace(x_);
    pass_->SumColumns(scores_[newest_]);
  }

  /// Returns how far the scores have moved.
  double Run() {
    const NCDataVector<float>& old = scores_[newest_];
    newest_ = 1 - newest_;
    pass_->FinishColumns(old, detail::NipalsPass<float>::Floor::kThirdOfAll, nullptr, 0, true, p_);
    p_.Normalise();
    pass_->RegressRowsAndSumColumns(p_, scores_[newest_]);
    return scores_[newest_].Difference(old);
  }

 private:
  NCDataMatrix<float> x_;
  NCDataVector<float> scores_[2];
  std::size_t newest_ = 0;
  NCDataVector<float> p_;
  std::optional<detail::NipalsPass<float>> pass_;
};
