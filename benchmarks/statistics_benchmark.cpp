// What the statistics of all columns cost, against one reading of the matrix. One line for each thread count and share
// of gaps; see README.md.

#include <cstdio>
#include <cstdlib>

#include <omp.h>

#include "benchmarks/in_turn.h"
#include "benchmarks/machine_bounds.h"
#include "benchmarks/made_data.h"
#include "voran/containers/simd_target.h"
#include "voran/platform/threading_control.h"

namespace {

using NCMultiThreading::ThreadingControl;

constexpr int kRepeats = 15;

double sink = 0.0;

double MeansColumnByColumn(const NCDataMatrix<float>& x) {
  double sum = 0.0;
  for (int c = 1; c <= x.SizeColumns(); ++c) sum += x.GetColumnMean(c);
  return sum;
}

void PrintLine(int threads, double gaps, const NCDataMatrix<float>& x) {
  const auto seconds = MediansInTurn(
      kRepeats, {[&] { sink += bounds::ReadOnce(x, threads); }, [&] { sink += x.GetColumnMeans().back(); },
                 [&] { sink += x.GetColumnStdDevs(-1.0f).back(); }, [&] { sink += x.GetSS(); }});
  const double byColumn = Seconds([&] { sink += MeansColumnByColumn(x); });
  const double read = seconds[0];
  const double means = seconds[1];
  const double deviations = seconds[2];
  std::printf("%7d %4.0f %% %9.3f %9.3f %6.2f %11.3f %14.2f %9.3f %6.2f %11.1f\n", threads, 100.0 * gaps, 1e3 * read,
              1e3 * means, means / read, 1e3 * deviations, deviations / 2.0 / read, 1e3 * seconds[3], seconds[3] / read,
              1e3 * byColumn);
}

}  // namespace

int main(int argc, char** argv) {
  const int rows = argc > 2 ? std::atoi(argv[1]) : 20000;
  const int columns = argc > 2 ? std::atoi(argv[2]) : 1000;
  std::printf("%d x %d, %s, median of %d, milliseconds\n", rows, columns, SimdTarget::GetName().c_str(), kRepeats);
  std::printf("threads   gaps      read     means  /read  deviations  /read per pass        SS  /read   by column\n");
  omp_set_dynamic(0);
  for (const double gaps : {0.0, 0.05}) {
    const NCDataMatrix<float> x = MadeMatrix(rows, columns, gaps);
    for (const int threads : {1, 2}) {
      ThreadingControl::SetNumberOfProcessors(threads);
      ThreadingControl::SetThreadingIsOn(true);
      PrintLine(threads, gaps, x);
    }
  }
  return sink == 0.125 ? 1 : 0;
}
