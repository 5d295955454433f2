// The singular value decomposition beside LAPACK's gesvd, which also iterates by QR. One line for each number of
// threads and element type; see README.md.

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <vector>

#include <omp.h>

#include "benchmarks/in_turn.h"
#include "benchmarks/made_data.h"
#include "voran/containers/simd_target.h"
#include "voran/containers/svd.h"
#include "voran/platform/threading_control.h"

#if VORAN_BENCHMARK_LAPACK
extern "C" {
void sgesvd_(const char* jobU, const char* jobVt, const int* m, const int* n, float* a, const int* lda, float* s,
             float* u, const int* ldu, float* vt, const int* ldvt, float* work, const int* lwork, int* info);
void dgesvd_(const char* jobU, const char* jobVt, const int* m, const int* n, double* a, const int* lda, double* s,
             double* u, const int* ldu, double* vt, const int* ldvt, double* work, const int* lwork, int* info);
/// OpenBLAS has it; other libraries keep the threads that they start with.
__attribute__((weak)) void openblas_set_num_threads(int threads);
}
#endif

namespace {

using NCMultiThreading::ThreadingControl;

constexpr int kRepeats = 11;

#if VORAN_BENCHMARK_LAPACK
void Gesvd(int m, int n, float* a, float* s, float* u, float* vt, float* work, int lwork, int* info) {
  const int k = std::min(m, n);
  sgesvd_("S", "S", &m, &n, a, &m, s, u, &m, vt, &k, work, &lwork, info);
}
void Gesvd(int m, int n, double* a, double* s, double* u, double* vt, double* work, int lwork, int* info) {
  const int k = std::min(m, n);
  dgesvd_("S", "S", &m, &n, a, &m, s, u, &m, vt, &k, work, &lwork, info);
}

/// Singular values with thin U and V of a matrix that it keeps by columns.
template <typename T>
class Lapack {
 public:
  explicit Lapack(const NCDataMatrix<T>& x) : m_(x.SizeRows()), n_(x.SizeColumns()), s_(Elements(n_, 1)) {
    for (int j = 1; j <= n_; ++j) {
      for (const auto& row : x) x_.push_back(row[j]);
    }
    T best;
    int info;
    Gesvd(m_, n_, nullptr, nullptr, nullptr, nullptr, &best, -1, &info);
    work_.resize(static_cast<std::size_t>(best));
  }

  void Run() {
    std::vector<T> a(x_);
    std::vector<T> u(Elements(m_, std::min(m_, n_)));
    std::vector<T> vt(Elements(std::min(m_, n_), n_));
    int info;
    Gesvd(m_, n_, a.data(), s_.data(), u.data(), vt.data(), work_.data(), static_cast<int>(work_.size()), &info);
  }

  double LargestValue() const { return static_cast<double>(s_[0]); }

 private:
  static std::size_t Elements(int rows, int columns) {
    return static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
  }

  int m_;
  int n_;
  std::vector<T> x_;
  std::vector<T> s_;
  std::vector<T> work_;
};
#endif

template <typename T>
void Compare(const char* name, int threads, const NCDataMatrix<T>& x) {
  double largest = 0.0;
  std::vector<std::function<void()>> works = {[&] {
    const std::unique_ptr<NCSVD<T>> svd(x.GetSVD());
    largest = static_cast<double>((*svd->GetW())[1]);
  }};
#if VORAN_BENCHMARK_LAPACK
  Lapack<T> lapack(x);
  works.emplace_back([&] { lapack.Run(); });
  if (openblas_set_num_threads != nullptr) openblas_set_num_threads(threads);
#endif
  const std::vector<double> seconds = MediansInTurn(kRepeats, works);
  std::printf("%7d  %-7s %9.1f", threads, name, 1e3 * seconds[0]);
  if (seconds.size() > 1) std::printf(" %9.1f %7.2f", 1e3 * seconds[1], seconds[0] / seconds[1]);
#if VORAN_BENCHMARK_LAPACK
  std::printf("    %.7g %.7g", largest, lapack.LargestValue());
#endif
  std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
  const int rows = argc > 2 ? std::atoi(argv[1]) : 2000;
  const int columns = argc > 2 ? std::atoi(argv[2]) : 300;
  const NCDataMatrix<float> x = MadeMatrix(rows, columns);
  NCDataMatrix<double> wide(rows, columns, 0.0);
  for (int i = 1; i <= rows; ++i) std::copy(x[i].begin(), x[i].end(), wide(i).GetWritableVector() + 1);
  std::printf("%d x %d, %s, median of %d, milliseconds\n", rows, columns, SimdTarget::GetName().c_str(), kRepeats);
  std::printf("threads  element     voran     gesvd  /gesvd    largest value of each\n");
  omp_set_dynamic(0);
  for (const int threads : {1, 2}) {
    ThreadingControl::SetNumberOfProcessors(threads);
    ThreadingControl::SetThreadingIsOn(true);
    Compare("float", threads, x);
    Compare("double", threads, wide);
  }
}
