#include "voran/signal/fourier_transform.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

#include <omp.h>

#include "voran/platform/threading_control.h"

inline namespace voran {
namespace detail {

namespace {

/// What a strip has of each row: two lines of the cache, which are fetched together.
constexpr std::size_t kStrip = 32;
/// From this length on, rows lie so far apart that strips of them are copied together before they are joined.
constexpr std::size_t kLong = std::size_t{1} << 15;

/// From this length on, a second thread gains more than its start costs.
constexpr std::size_t kManyThreads = std::size_t{1} << 17;

int ThreadsFor(std::size_t n) {
  return n < kManyThreads ? 1 : ParallelWidth();
}

/// Most rows are this short, too short for a call.
void CopyRow(const float* from, std::size_t width, float* to) {
  if (width == kStrip) {
    std::copy_n(from, kStrip, to);
  } else {
    std::copy_n(from, width, to);
  }
}

}  // namespace

/// The recurrence for the factors of one stage.
struct FourierTransform::Rotation {
  explicit Rotation(std::size_t h) : half(h) {
    const double angle = std::numbers::pi / static_cast<double>(h);
    const double sine = std::sin(0.5 * angle);
    stepRe = -2.0 * sine * sine;
    stepIm = std::sin(angle);
  }
  void Step() {
    const double before = re;
    re = before * stepRe - im * stepIm + before;
    im = im * stepRe + before * stepIm + im;
  }

  std::size_t half;
  double stepRe;
  double stepIm;
  double re = 1.0;
  double im = 0.0;
};

FourierTransform::FourierTransform(std::size_t greatestLength)
    : kernels_(ButterflyKernels::Current()),
      cosines_(MakeLargeArray<double>(greatestLength + 1)),
      sines_(MakeLargeArray<double>(greatestLength + 1)) {
  TabulateFactors(greatestLength / 2);
  decimated_.resize(std::size_t{1} << std::bit_width(greatestLength) / 2);
  for (std::size_t row = 1; row < decimated_.size(); ++row) {
    decimated_[row] = (decimated_[row / 2] + row % 2 * decimated_.size()) / 2;
  }
}

// Every stage is one long chain of dependent steps, so all of them advance side by side.
void FourierTransform::TabulateStages(std::vector<Rotation>& stages) {
  const std::size_t greatestHalf = stages.empty() ? 0 : stages.front().half;
  for (std::size_t k = 0; k < greatestHalf; ++k) {
    while (stages.back().half <= k) stages.pop_back();
    for (Rotation& stage : stages) {
      cosines_[stage.half + k] = stage.re;
      sines_[stage.half + k] = stage.im;
      stage.Step();
    }
  }
}

// The last stage has as many factors as all the others together.
void FourierTransform::TabulateFactors(std::size_t greatestHalf) {
  std::vector<Rotation> halves[2];
  for (std::size_t half = greatestHalf; half > 0; half /= 2) halves[half == greatestHalf ? 0 : 1].emplace_back(half);
#pragma omp parallel for num_threads(ThreadsFor(greatestHalf))
  for (int i = 0; i < 2; ++i) TabulateStages(halves[i]);
}

// With n = rows * columns, the first stages are transforms of the columns of the series as a matrix with `columns`
// elements to a row. The columns come out as rows, in the order of decimation, and the last stages join those.
void FourierTransform::Forward(const float* re, const float* im, std::size_t n, float* outRe, float* outIm) {
  const std::size_t rows = std::size_t{1} << (std::bit_width(n) - 1) / 2;
  TransformColumns(re, im, rows, n / rows, outRe, outIm);
  JoinRows(outRe, outIm, n / rows, rows);
}

void FourierTransform::TransformColumns(const float* re, const float* im, std::size_t rows, std::size_t columns,
                                        float* outRe, float* outIm) {
  const std::size_t width = std::min(kStrip, columns);
  const int threads = ThreadsFor(rows * columns);
  ReserveStrips(threads, rows * width);
#pragma omp parallel for num_threads(threads)
  for (std::size_t first = 0; first < columns; first += width) {
    const Strip strip = OwnStrip(rows * width);
    for (std::size_t row = 0; row < rows; ++row) {
      const std::size_t source = Decimated(row, rows) * columns + first;
      CopyRow(re + source, width, strip.re + row * width);
      CopyRow(im + source, width, strip.im + row * width);
    }
    kernels_.transformColumns(strip.re, strip.im, rows, width, {cosines_.get(), sines_.get()});
    for (std::size_t c = 0; c < width; ++c) {
      const std::size_t target = Decimated(first + c, columns) * rows;
      for (std::size_t row = 0; row < rows; ++row) {
        outRe[target + row] = strip.re[row * width + c];
        outIm[target + row] = strip.im[row * width + c];
      }
    }
  }
}

void FourierTransform::JoinRows(float* re, float* im, std::size_t rows, std::size_t columns) {
  const TurningFactors factors{cosines_.get(), sines_.get()};
  if (rows * columns < kLong) {
    kernels_.joinRows(re, im, rows, columns, columns, factors, columns, 0);
    return;
  }
  const int threads = ThreadsFor(rows * columns);
  ReserveStrips(threads, rows * kStrip);
#pragma omp parallel for num_threads(threads)
  for (std::size_t first = 0; first < columns; first += kStrip) {
    const Strip strip = OwnStrip(rows * kStrip);
    for (std::size_t row = 0; row < rows; ++row) {
      std::copy_n(re + row * columns + first, kStrip, strip.re + row * kStrip);
      std::copy_n(im + row * columns + first, kStrip, strip.im + row * kStrip);
    }
    kernels_.joinRows(strip.re, strip.im, rows, kStrip, kStrip, factors, columns, first);
    for (std::size_t row = 0; row < rows; ++row) {
      std::copy_n(strip.re + row * kStrip, kStrip, re + row * columns + first);
      std::copy_n(strip.im + row * kStrip, kStrip, im + row * columns + first);
    }
  }
}

// Memory is taken here and not by the threads, which must not throw.
void FourierTransform::ReserveStrips(int threads, std::size_t size) {
  strips_.resize(std::max(strips_.size(), 2 * size * static_cast<std::size_t>(threads)));
}

FourierTransform::Strip FourierTransform::OwnStrip(std::size_t size) {
  float* const re = strips_.data() + 2 * size * static_cast<std::size_t>(omp_get_thread_num());
  return {re, re + size};
}

}  // namespace detail
}  // namespace voran
