// How near the products of matrices come to what the machine can do, on one thread; see README.md.

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "benchmarks/in_turn.h"
#include "benchmarks/machine_bounds.h"
#include "benchmarks/made_data.h"
#include "voran/containers/simd_target.h"
#include "voran/platform/threading_control.h"

namespace {

constexpr int kRepeats = 7;

double sink = 0.0;

struct Case {
  std::string name;
  std::function<void()> run;
};

void AddCases(const std::string& gaps, const NCDataMatrix<float>& a, const NCDataMatrix<float>& b,
              NCDataMatrix<float>& result, std::vector<Case>& cases) {
  const auto product = [&](bool transposeThis, bool transposeOther) {
    return [&a, &b, &result, transposeThis, transposeOther] {
      a.MatrixMultiplyImpl(b, transposeThis, transposeOther, result, true);
      sink += static_cast<double>(result[1][1]);
    };
  };
  cases.push_back({"A B" + gaps, product(false, false)});
  cases.push_back({"A'B" + gaps, product(true, false)});
  cases.push_back({"A B'" + gaps, product(false, true)});
  cases.push_back({"A'B'" + gaps, product(true, true)});
  cases.push_back({"TransformToMprim_mul_M" + gaps, [&a] {
                     NCDataMatrix<float> m = a;
                     sink += static_cast<double>(m.TransformToMprim_mul_M()[1][1]);
                   }});
}

}  // namespace

int main(int argc, char** argv) {
  const int n = argc > 1 ? std::atoi(argv[1]) : 1000;
  NCMultiThreading::ThreadingControl::SetThreadingIsOn(false);
  const NCDataMatrix<float> complete = MadeMatrix(n, n);
  const NCDataMatrix<float> gapped = MadeMatrix(n, n, 0.05);
  NCDataMatrix<float> other;  // not the same rows, whose products by themselves are symmetric
  NCDataMatrix<float> otherGapped;
  other.CopyContent(complete);
  otherGapped.CopyContent(gapped);
  NCDataMatrix<float> result(n, n, 0.0f);
  std::vector<Case> cases = {{"bound", [n] { sink += bounds::FormProducts(static_cast<long>(n) * n * n, false, 1); }}};
  AddCases("", complete, other, result, cases);
  AddCases(", 5 % gaps", gapped, otherGapped, result, cases);

  std::vector<std::function<void()>> works;
  works.reserve(cases.size());
  for (const Case& c : cases) works.push_back(c.run);
  const std::vector<double> seconds = MediansInTurn(kRepeats, works);
  std::printf("%d x %d by %d x %d, float, %s, one thread, median of %d\n", n, n, n, n, SimdTarget::GetName().c_str(),
              kRepeats);
  std::printf("%-34s %12s %9s\n", "", "milliseconds", "bound/it");
  for (std::size_t k = 0; k < cases.size(); ++k) {
    std::printf("%-34s %12.1f %8.0f%%\n", cases[k].name.c_str(), 1e3 * seconds[k], 1e2 * seconds[0] / seconds[k]);
  }
  return sink == 0.125 ? 1 : 0;
}
