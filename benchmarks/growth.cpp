// How time and memory grow with rows, columns and gaps, as a table in Markdown and a picture; see README.md.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include "benchmarks/growth_picture.h"
#include "benchmarks/growth_works.h"
#include "benchmarks/in_turn.h"
#include "voran/platform/threading_control.h"

namespace {

using growth::Shape;
using growth::Work;

constexpr int kRepeats = 3;
constexpr double kGapShares[] = {0.0, 0.01, 0.05, 0.2};

struct Cost {
  double seconds;
  double mebibytes;  ///< beyond the data
};

/// A line of what Linux tells of this process, in MiB.
double MebibytesOf(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(name + ":", 0) == 0) return std::atof(line.c_str() + name.size() + 1) / 1024.0;
  }
  return std::nan("");
}

Cost MeasureHere(const Work& work, const Shape& shape) {
  const auto run = work.prepare(shape);
  std::ofstream("/proc/self/clear_refs") << "5";  // the peak begins anew
  const double before = MebibytesOf("VmRSS");
  run();
  const double peak = MebibytesOf("VmHWM") - before;
  std::vector<double> seconds(kRepeats);
  for (double& s : seconds) s = Seconds(run);
  return {Median(seconds), peak};
}

/// In a process of its own, whose memory nothing else has used.
Cost Measure(const Work& work, const Shape& shape) {
  int ends[2];
  if (pipe(ends) != 0) std::abort();
  const pid_t child = fork();
  if (child == 0) {
    const Cost cost = MeasureHere(work, shape);
    _exit(write(ends[1], &cost, sizeof cost) == sizeof cost ? 0 : 1);
  }
  close(ends[1]);
  Cost cost{std::nan(""), std::nan("")};
  if (read(ends[0], &cost, sizeof cost) != sizeof cost) std::fprintf(stderr, "%s has failed\n", work.name.c_str());
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return cost;
}

/// The slope of log y over log x by least squares.
double Exponent(const std::vector<double>& sizes, const std::vector<double>& values) {
  const auto n = static_cast<double>(sizes.size());
  double x = 0.0;
  double y = 0.0;
  double xx = 0.0;
  double xy = 0.0;
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    const double a = std::log(sizes[i]);
    const double b = std::log(values[i]);
    x += a;
    y += b;
    xx += a * a;
    xy += a * b;
  }
  return (xy - x * y / n) / (xx - x * x / n);
}

/// One line of the table: the milliseconds and the MiB at each size, and how they grow.
growth::Curve PrintGrowth(const Work& work, const char* what, const std::vector<int>& sizes,
                          const std::function<Shape(int size)>& shapeOf) {
  growth::Curve curve{work.name, {}, {}, {}};
  std::printf("| %s | %s |", work.name.c_str(), what);
  for (const int size : sizes) {
    const Cost cost = Measure(work, shapeOf(size));
    curve.sizes.push_back(size);
    curve.milliseconds.push_back(1e3 * cost.seconds);
    curve.mebibytes.push_back(cost.mebibytes);
    std::printf(" %d: %.3g ms, %.3g MiB |", size, 1e3 * cost.seconds, cost.mebibytes);
    std::fflush(stdout);
  }
  std::printf(" %.2f | %.2f |\n", Exponent(curve.sizes, curve.milliseconds), Exponent(curve.sizes, curve.mebibytes));
  return curve;
}

void PrintGaps(const Work& work, int rows, int columns) {
  Cost complete{};
  Cost last{};
  std::printf("| %s | gaps |", work.name.c_str());
  for (const double share : kGapShares) {
    last = Measure(work, {rows, columns, share});
    if (share == 0.0) complete = last;
    std::printf(" %g %%: %.3g ms, %.3g MiB |", 100.0 * share, 1e3 * last.seconds, last.mebibytes);
    std::fflush(stdout);
  }
  std::printf(" x %.2f | x %.2f |\n", last.seconds / complete.seconds, last.mebibytes / complete.mebibytes);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string picture = argc > 1 ? argv[1] : "";
  const std::string only = argc > 2 ? argv[2] : "";
  std::vector<growth::Curve> byRows;
  std::vector<growth::Curve> byColumns;
  std::printf("%d threads, median of %d\n\n", NCMultiThreading::ThreadingControl::GetNumberOfProcessors(), kRepeats);
  std::printf("| work | grows | | | | time | memory |\n|---|---|---|---|---|---|---|---|\n");
  for (const Work& work : growth::Works()) {
    if (work.name.find(only) == std::string::npos) continue;
    const int rows = work.rows[1];
    const int columns = work.columns[1];
    byRows.push_back(PrintGrowth(work, "rows", work.rows, [&](int n) { return Shape{n, columns, 0.0}; }));
    byColumns.push_back(PrintGrowth(work, "columns", work.columns, [&](int n) { return Shape{rows, n, 0.0}; }));
    PrintGaps(work, rows, columns);
  }
  if (!picture.empty()) std::ofstream(picture) << growth::Picture(byRows, byColumns);
}
