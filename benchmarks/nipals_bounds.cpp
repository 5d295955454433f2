// How near a NIPALS round comes to what the machine can do. One line for each thread count and matrix; see README.md.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <omp.h>

#include "benchmarks/in_turn.h"
#include "benchmarks/machine_bounds.h"
#include "benchmarks/nipals_round.h"
#include "voran/containers/simd_target.h"
#include "voran/platform/threading_control.h"

namespace {

using NCMultiThreading::ThreadingControl;

constexpr int kRepeats = 25;

double sink = 0.0;

}  // namespace

int main(int argc, char** argv) {
  const int rows = argc > 2 ? std::atoi(argv[1]) : 20000;
  const int columns = argc > 2 ? std::atoi(argv[2]) : 1000;
  NipalsRound complete(rows, columns, 0.0);
  NipalsRound oneGap(rows, columns, -1.0);
  NipalsRound manyGaps(rows, columns, 0.05);
  std::printf("%d x %d, %s, median of %d, milliseconds\n", rows, columns, SimdTarget::GetName().c_str(), kRepeats);
  std::printf("threads      read  products     round  /bound   one gap /complete   5%% gaps /complete\n");
  omp_set_dynamic(0);
  for (const int threads : {1, 2}) {
    ThreadingControl::SetNumberOfProcessors(threads);
    ThreadingControl::SetThreadingIsOn(true);
    for (NipalsRound* round : {&complete, &oneGap, &manyGaps}) round->Prepare();
    const long products = 2L * rows * columns;
    const auto ms = MediansInTurn(
        kRepeats, {[&] { sink += bounds::ReadOnce(complete.X(), threads); },
                   [&] { sink += bounds::FormProducts(products, false, threads); }, [&] { sink += complete.Run(); },
                   [&] { sink += oneGap.Run(); }, [&] { sink += manyGaps.Run(); }});
    std::printf("%7d %9.3f %9.3f %9.3f %7.2f %9.3f %9.2f %9.3f %9.2f\n", threads, 1e3 * ms[0], 1e3 * ms[1], 1e3 * ms[2],
                ms[2] / std::max(ms[0], ms[1]), 1e3 * ms[3], ms[3] / ms[2], 1e3 * ms[4], ms[4] / ms[2]);
  }
  return sink == 0.125 ? 1 : 0;
}
