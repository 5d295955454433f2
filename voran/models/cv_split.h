#pragma once

#include <algorithm>
#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/integral_vector.h"
#include "voran/containers/missing_value.h"

inline namespace voran {
namespace detail {

/// The rows of X and Y that a round of cross-validation fits, and those of X that it leaves out: the ones of its group.
/// All share their elements with the whole.
struct CvSplit {
  CvSplit(const NCDataMatrix<float>& x, const NCDataMatrix<float>& y, const NCIntegralVector<int, -99>& rowGroups,
          int group)
      : xTrain(0, x.SizeColumns(), kMissing<float>),
        yTrain(0, y.SizeColumns(), kMissing<float>),
        xTest(0, x.SizeColumns(), kMissing<float>) {
    const auto left = static_cast<int>(std::count(rowGroups.begin(), rowGroups.end(), group));
    xTest.ReserveRows(left);
    for (NCDataMatrix<float>* m : {&xTrain, &yTrain}) m->ReserveRows(x.SizeRows() - left);
    for (int i = 1; i <= x.SizeRows(); ++i) {
      if (rowGroups[i] == group) {
        xTest.push_back(x[i]);
        test.push_back(i);
      } else {
        xTrain.push_back(x[i]);
        yTrain.push_back(y[i]);
        train.push_back(i);
      }
    }
  }

  NCDataMatrix<float> xTrain;
  NCDataMatrix<float> yTrain;
  NCDataMatrix<float> xTest;
  std::vector<int> train;  ///< the positions in the whole
  std::vector<int> test;
};

}  // namespace detail
}  // namespace voran
