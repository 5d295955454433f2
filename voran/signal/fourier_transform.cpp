#include "voran/signal/fourier_transform.h"

#include <algorithm>
#include <bit>

inline namespace voran {
namespace detail {

namespace {

/// What a strip has of each row: two lines of the cache, which are fetched together.
constexpr std::size_t kStrip = 32;
/// From this length on, rows lie so far apart that strips of them are copied together before they are joined.
constexpr std::size_t kLong = std::size_t{1} << 15;

/// Most rows are this short, too short for a call.
void CopyRow(const float* from, std::size_t width, float* to) {
  if (width == kStrip) {
    std::copy_n(from, kStrip, to);
  } else {
    std::copy_n(from, width, to);
  }
}

}  // namespace

FourierTransform::FourierTransform(std::size_t greatestLength)
    : kernels_(ButterflyKernels::Current()), factors_(TurningTable::UpTo(greatestLength)) {
  decimated_.resize(std::size_t{1} << std::bit_width(greatestLength) / 2);
  for (std::size_t row = 1; row < decimated_.size(); ++row) {
    decimated_[row] = (decimated_[row / 2] + row % 2 * decimated_.size()) / 2;
  }
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
  stripRe_.resize(rows * width);
  stripIm_.resize(rows * width);
  for (std::size_t first = 0; first < columns; first += width) {
    for (std::size_t row = 0; row < rows; ++row) {
      const std::size_t source = Decimated(row, rows) * columns + first;
      CopyRow(re + source, width, stripRe_.data() + row * width);
      CopyRow(im + source, width, stripIm_.data() + row * width);
    }
    kernels_.transformColumns(stripRe_.data(), stripIm_.data(), rows, width, {factors_->Cosines(), factors_->Sines()});
    for (std::size_t c = 0; c < width; ++c) {
      const std::size_t target = Decimated(first + c, columns) * rows;
      for (std::size_t row = 0; row < rows; ++row) {
        outRe[target + row] = stripRe_[row * width + c];
        outIm[target + row] = stripIm_[row * width + c];
      }
    }
  }
}

void FourierTransform::JoinRows(float* re, float* im, std::size_t rows, std::size_t columns) {
  const TurningFactors factors{factors_->Cosines(), factors_->Sines()};
  if (rows * columns < kLong) {
    kernels_.joinRows(re, im, rows, columns, columns, factors, columns, 0);
    return;
  }
  stripRe_.resize(rows * kStrip);
  stripIm_.resize(rows * kStrip);
  for (std::size_t first = 0; first < columns; first += kStrip) {
    for (std::size_t row = 0; row < rows; ++row) {
      std::copy_n(re + row * columns + first, kStrip, stripRe_.data() + row * kStrip);
      std::copy_n(im + row * columns + first, kStrip, stripIm_.data() + row * kStrip);
    }
    kernels_.joinRows(stripRe_.data(), stripIm_.data(), rows, kStrip, kStrip, factors, columns, first);
    for (std::size_t row = 0; row < rows; ++row) {
      std::copy_n(stripRe_.data() + row * kStrip, kStrip, re + row * columns + first);
      std::copy_n(stripIm_.data() + row * kStrip, kStrip, im + row * columns + first);
    }
  }
}

}  // namespace detail
}  // namespace voran
