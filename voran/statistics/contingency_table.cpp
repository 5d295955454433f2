#include "voran/statistics/contingency_table.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "voran/platform/exception_message.h"
#include "voran/platform/progress.h"
#include "voran/statistics/cancel_poll.h"
#include "voran/statistics/fisher_exact.h"
#include "voran/statistics/incomplete_beta.h"

inline namespace voran {
namespace Sta {
namespace {

constexpr int kMultiplier = 30;                  // paths that the workspace holds for each key
constexpr std::size_t kUnitsPerProbability = 4;  // its nine log gammas, in those of CancelPoll

double LogFactorial(double n) {
  return detail::LogGamma(n + 1.0);
}

double LogBinomial(double n, double k) {
  return LogFactorial(n) - LogFactorial(k) - LogFactorial(n - k);
}

/// Counts as doubles, in which no sum of them overflows.
struct TwoByTwo {
  TwoByTwo(double first, double second, double third, double fourth) : a(first), b(second), c(third), d(fourth) {}

  double a;
  double b;
  double c;
  double d;

  double Probability() const {
    return std::exp(LogBinomial(a + b, a) + LogBinomial(c + d, c) - LogBinomial(a + b + (c + d), a + c));
  }

  /// The table of the same margins with its first cell larger by `change`.
  TwoByTwo Moved(double change) const { return {a + change, b - change, c - change, d + change}; }
};

/// The probabilities, none above `most`, of the tables whose first cell is larger by `change`, 2 * `change` and so on
/// up to `steps` times.
double SumOfTail(TwoByTwo table, double change, double steps, double most, voran::detail::CancelPoll& poll) {
  double sum = 0.0;
  for (; steps > 0.0; --steps) {
    poll.Add(kUnitsPerProbability);
    table = table.Moved(change);
    const double p = table.Probability();
    if (most >= p) sum += p;
  }
  return sum;
}

double TwoByTwoProbability(const TwoByTwo& table, SidedNess sidedness) {
  NCProgress progress(voran::detail::TranslateText(detail::kTestName).c_str(), 0.0F, 0.0F, false, true, true, "");
  voran::detail::CancelPoll poll([&] { return !progress.NextSpin(); });
  const double p0 = table.Probability();
  const double most = sidedness == SidedNess::kTwoSided ? p0 : HUGE_VAL;
  double sum = 0.0;
  if (sidedness != SidedNess::kGreater) sum += SumOfTail(table, -1.0, std::min(table.a, table.d), most, poll);
  if (sidedness != SidedNess::kLess) sum += SumOfTail(table, 1.0, std::min(table.b, table.c), most, poll);
  return p0 + sum;
}

std::vector<int> ByColumns(const int* table, int rows, int columns) {
  std::vector<int> transposed;
  transposed.reserve(static_cast<std::size_t>(std::max(rows, 0)) * static_cast<std::size_t>(std::max(columns, 0)));
  for (int j = 0; j < columns; ++j) {
    for (int i = 0; i < rows; ++i) transposed.push_back(table[static_cast<std::ptrdiff_t>(i) * columns + j]);
  }
  return transposed;
}

}  // namespace

double GetTableProbability(int a, int b, int c, int d) {
  return TwoByTwo(a, b, c, d).Probability();
}

double BinomialCoefficient(int n, int k) {
  return std::floor(std::exp(LogBinomial(n, k)) + 0.5);
}

double GetFisherExactProbability(const int* table, int rows, int columns, bool hybrid, SidedNess sidedness,
                                 int workspace) {
  if (rows == 2 && columns == 2) {
    detail::ExpectNoNegativeCell(table, table + 4);
    return TwoByTwoProbability(TwoByTwo(table[0], table[1], table[2], table[3]), sidedness);
  }
  const detail::HybridControls controls = hybrid ? detail::HybridControls{5.0, 80.0, 1.0} : detail::HybridControls{};
  double observed = 0.0;
  double p = 0.0;
  detail::fexact(rows, columns, ByColumns(table, rows, columns).data(), rows, controls, observed, p, workspace,
                 kMultiplier);
  return p;
}

}  // namespace Sta
}  // namespace voran
