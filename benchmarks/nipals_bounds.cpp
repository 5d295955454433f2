// How near a NIPALS round comes to what the machine can do. One line for each thread count and matrix; see README.md.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <vector>

#include <omp.h>

#include "benchmarks/in_turn.h"
#include "benchmarks/machine_bounds.h"
#include "benchmarks/made_data.h"
#include "voran/containers/nipals_pass.h"
#include "voran/containers/simd_target.h"
#include "voran/platform/threading_control.h"

namespace {

using NCMultiThreading::ThreadingControl;
using Pass = detail::NipalsPass<float>;

constexpr int kRepeats = 25;

double sink = 0.0;

/// A matrix and what a round of the iteration needs.
class Round {
 public:
  Round(int rows, int columns, double gaps)
      : x_(MadeMatrix(rows, columns, gaps)),
        scores_{x_.GetNIPALSStartColumn(), NCDataVector<float>(rows)},
        p_(columns) {}

  const NCDataMatrix<float>& X() const { return x_; }

  /// To be called after the number of threads has been set.
  void Prepare() {
    pass_.emplace(x_);
    pass_->SumColumns(scores_[newest_]);
  }

  void Run() {
    const NCDataVector<float>& old = scores_[newest_];
    newest_ = 1 - newest_;
    pass_->FinishColumns(old, Pass::Floor::kThirdOfAll, nullptr, 0, true, p_);
    p_.Normalise();
    pass_->RegressRowsAndSumColumns(p_, scores_[newest_]);
    sink += scores_[newest_].Difference(old);
  }

 private:
  NCDataMatrix<float> x_;
  NCDataVector<float> scores_[2];
  std::size_t newest_ = 0;
  NCDataVector<float> p_;
  std::optional<Pass> pass_;
};

}  // namespace

int main(int argc, char** argv) {
  const int rows = argc > 2 ? std::atoi(argv[1]) : 20000;
  const int columns = argc > 2 ? std::atoi(argv[2]) : 1000;
  Round complete(rows, columns, 0.0);
  Round oneGap(rows, columns, -1.0);
  Round manyGaps(rows, columns, 0.05);
  std::printf("%d x %d, %s, median of %d, milliseconds\n", rows, columns, SimdTarget::GetName().c_str(), kRepeats);
  std::printf("threads      read  products     round  /bound   one gap /complete   5%% gaps /complete\n");
  omp_set_dynamic(0);
  for (const int threads : {1, 2}) {
    ThreadingControl::SetNumberOfProcessors(threads);
    ThreadingControl::SetThreadingIsOn(true);
    for (Round* round : {&complete, &oneGap, &manyGaps}) round->Prepare();
    const long products = 2L * rows * columns;
    const auto ms = MediansInTurn(kRepeats, {[&] { sink += bounds::ReadOnce(complete.X(), threads); },
                                             [&] { sink += bounds::FormProducts(products, threads); },
                                             [&] { complete.Run(); }, [&] { oneGap.Run(); }, [&] { manyGaps.Run(); }});
    std::printf("%7d %9.3f %9.3f %9.3f %7.2f %9.3f %9.2f %9.3f %9.2f\n", threads, 1e3 * ms[0], 1e3 * ms[1], 1e3 * ms[2],
                ms[2] / std::max(ms[0], ms[1]), 1e3 * ms[3], ms[3] / ms[2], 1e3 * ms[4], ms[4] / ms[2]);
  }
  return sink == 0.125 ? 1 : 0;
}
