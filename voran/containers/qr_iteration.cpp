#include "voran/containers/qr_iteration.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "voran/containers/parallel.h"

inline namespace voran {
namespace detail {

namespace {

constexpr int kIterationLimit = 32000;

/// The length of (x, y), without overflow or underflow on the way.
double Hypotenuse(double x, double y) {
  const double a = std::abs(x);
  const double b = std::abs(y);
  const auto times = [](double longer, double ratio) { return longer * std::sqrt(1.0 + ratio * ratio); };
  if (a > b) return times(a, b / a);
  return b == 0.0 ? 0.0 : times(b, a / b);
}

/// The rotation that takes (x, y) to (length, 0).
struct PlaneRotation {
  PlaneRotation(double x, double y) : length(Hypotenuse(x, y)) {
    if (length == 0.0) return;
    cosine = x / length;
    sine = y / length;
  }

  double length;
  double cosine = 1.0;
  double sine = 0.0;
};

}  // namespace

// Rotations.

template <typename T>
RotationBatch<T>::RotationBatch(ColumnMatrix<T>& matrix) : matrix_(matrix) {
  constexpr std::size_t kSweeps = 16;
  RotationKernels<T>::Current();  // throws here if at all
  rotations_.reserve(kSweeps * static_cast<std::size_t>(matrix.Columns()) + 1);
}

template <typename T>
void RotationBatch<T>::Add(int first, int second, double cosine, double sine) {
  if (rotations_.size() == rotations_.capacity()) Apply();
  rotations_.push_back({first, second, static_cast<T>(cosine), static_cast<T>(sine)});
}

template <typename T>
void RotationBatch<T>::Apply() {
  constexpr int kRowsTogether = 128;
  const int rows = matrix_.Rows();
  const RotationKernels<T>& kernels = RotationKernels<T>::Current();
  ParallelFor((rows + kRowsTogether - 1) / kRowsTogether, ThreadsForMatrix(rows, matrix_.Columns(), kManyPasses),
              [&](int block) {
                const int from = block * kRowsTogether;
                kernels.rotate(matrix_.Pointers(), from, std::min(kRowsTogether, rows - from), rotations_.data(),
                               static_cast<int>(rotations_.size()));
              });
  rotations_.clear();
}

// The iteration. An index pair (i - 1, i) has e[i] between them.

template <typename T>
QrIteration<T>::QrIteration(std::vector<T>& w, std::vector<T>& e, ColumnMatrix<T>& p, ColumnMatrix<T>& q)
    : w_(w), e_(e), q_(q), left_(p), right_(q), isAlone_(w.size()) {}

template <typename T>
bool QrIteration<T>::Run(T noiseShare) {
  norm_ = T{0};
  for (std::size_t i = 0; i < w_.size(); ++i) {
    norm_ = std::max(norm_, std::abs(w_[i]) + std::abs(e_[i]));
    isAlone_[i] = e_[i] == T{0} && (i + 1 == w_.size() || e_[i + 1] == T{0});
  }
  for (int k = static_cast<int>(w_.size()) - 1; k >= 0; --k) {
    if (!Converge(k)) return false;
  }
  left_.Apply();
  right_.Apply();
  Finish(noiseShare * norm_);
  return true;
}

template <typename T>
void QrIteration<T>::Finish(T noise) {
  for (std::size_t k = 0; k < w_.size(); ++k) {
    if (std::abs(w_[k]) <= noise && !isAlone_[k]) w_[k] = T{0};
    if (!(w_[k] < T{0})) continue;
    w_[k] = -w_[k];
    q_.NegateColumn(static_cast<int>(k));
  }
}

/// Iterates until nothing stands above w[k].
template <typename T>
bool QrIteration<T>::Converge(int k) {
  for (int iteration = 1;; ++iteration) {
    const int first = FindBlock(k);
    if (first == k) return true;
    if (iteration == kIterationLimit) return false;
    Sweep(first, k);
  }
}

/// Where the block that ends at k begins: the elements above its diagonal are not negligible, and neither are those of
/// its diagonal, except the last.
template <typename T>
int QrIteration<T>::FindBlock(int k) {
  for (int first = k;; --first) {
    if (IsNegligible(e_[static_cast<std::size_t>(first)])) return first;  // e[0] is
    if (!IsNegligible(w_[static_cast<std::size_t>(first - 1)])) continue;
    Cancel(first, k);
    return first;
  }
}

/// Rotates e[first] away, which stands beside a zero on the diagonal.
template <typename T>
void QrIteration<T>::Cancel(int first, int k) {
  double cosine = 0.0;
  double sine = 1.0;
  for (int i = first; i <= k; ++i) {
    const auto at = static_cast<std::size_t>(i);
    const double f = sine * static_cast<double>(e_[at]);
    e_[at] = static_cast<T>(cosine * static_cast<double>(e_[at]));
    if (IsNegligible(static_cast<T>(f))) return;
    const PlaneRotation rotation(static_cast<double>(w_[at]), f);
    w_[at] = static_cast<T>(rotation.length);
    cosine = rotation.cosine;
    sine = -rotation.sine;
    left_.Add(first - 1, i, cosine, sine);
  }
}

/// What the first rotation of a sweep is formed from, beside e[first + 1]: with the shift from the last two by two of
/// the block.
template <typename T>
double QrIteration<T>::ShiftedStart(int first, int k) const {
  const auto last = static_cast<std::size_t>(k);
  const auto x = static_cast<double>(w_[static_cast<std::size_t>(first)]);
  const auto y = static_cast<double>(w_[last - 1]);
  const auto z = static_cast<double>(w_[last]);
  const auto g = static_cast<double>(e_[last - 1]);
  const auto h = static_cast<double>(e_[last]);
  const double f = ((y - z) * (y + z) + (g - h) * (g + h)) / (2.0 * h * y);
  const double root = f + std::copysign(Hypotenuse(f, 1.0), f);
  return ((x - z) * (x + z) + h * (y / root - h)) / x;
}

/// One step of the QR iteration on the block first..k.
template <typename T>
void QrIteration<T>::Sweep(int first, int k) {
  double f = ShiftedStart(first, k);
  double x = static_cast<double>(w_[static_cast<std::size_t>(first)]);
  double cosine = 1.0;
  double sine = 1.0;
  for (int j = first; j < k; ++j) {
    const auto at = static_cast<std::size_t>(j);
    const auto above = static_cast<double>(e_[at + 1]);
    const auto y = static_cast<double>(w_[at + 1]);

    const PlaneRotation right(f, sine * above);
    e_[at] = static_cast<T>(right.length);
    double g = cosine * above;
    f = x * right.cosine + g * right.sine;
    g = g * right.cosine - x * right.sine;
    const double h = y * right.sine;
    const double rest = y * right.cosine;
    right_.Add(j, j + 1, right.cosine, right.sine);

    const PlaneRotation left(f, h);
    w_[at] = static_cast<T>(left.length);
    f = left.cosine * g + left.sine * rest;
    x = left.cosine * rest - left.sine * g;
    cosine = left.cosine;
    sine = left.sine;
    left_.Add(j, j + 1, cosine, sine);
  }
  e_[static_cast<std::size_t>(first)] = T{0};
  e_[static_cast<std::size_t>(k)] = static_cast<T>(f);
  w_[static_cast<std::size_t>(k)] = static_cast<T>(x);
}

template class QrIteration<float>;
template class QrIteration<double>;

}  // namespace detail
}  // namespace voran
