#include "voran/orthogonal/covariances.h"

#include <cstddef>

#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "voran/platform/threading_control.h"

namespace samples {
namespace {

FloatMatrix Filled(FloatMatrix m) {
  for (int i = 1; i <= m.SizeRows(); ++i) {
    for (int j = 1; j <= m.SizeColumns(); ++j) {
      if (m[i][j] == kGap) m(i, j, 0.0f);
    }
  }
  return m;
}

class Covariances : public ModelTest {};

/// On both sides of a chunk of 512 columns, in one and in several blocks of rows, and on both sides of the width from
/// which the product of matrices takes over.
TEST_F(Covariances, AreTheProductOfTheFilledMatrices) {
  for (const std::size_t rows : {1U, 5U, 130U}) {
    for (const std::size_t columns : {0U, 1U, 511U, 1026U}) {
      for (const std::size_t responses : {1U, 6U, 7U}) {
        const FloatMatrix x = WithGaps(Related(rows, columns, 1, 3).x, 2);
        FloatMatrix y = WithGaps(Related(rows, responses, 1, 4).x, 5);
        y.SetColumn(1, kGap);  // has no pair
        const FloatMatrix expected = Filled(y).MatrixMultiply(Filled(x), true, false, false);
        for (const int threads : {1, 3}) {
          NCMultiThreading::ThreadingControl::SetNumberOfProcessors(threads);
          NCMultiThreading::ThreadingControl::SetThreadingIsOn(true);
          EXPECT_TRUE(detail::Covariances(y, x) == expected) << rows << " x " << columns << ", " << responses;
          EXPECT_EQ(detail::Covariances(y, x).GetNumMisVal(), 0);
          const FloatMatrix f = FloatMatrix(y).Transpose();
          EXPECT_TRUE(detail::RowCovariances(f, x) == f.MatrixMultiply(x, false, false, false));
        }
      }
    }
  }
}

}  // namespace
}  // namespace samples
