#include "voran/signal/fourier_transform.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "voran/containers/parallel.h"

inline namespace voran {
namespace detail {

namespace {

/// What a strip has of each row: two lines of the cache, which are fetched together.
constexpr std::size_t kStrip = 32;
/// So many elements of a column of a strip are written at a time: a line of the cache.
constexpr std::size_t kTile = 16;
/// From this length on, rows lie so far apart that strips of them are copied together before they are joined.
constexpr std::size_t kLong = std::size_t{1} << 15;
/// From this length on, several threads share the strips.
constexpr std::size_t kLongForTeam = std::size_t{1} << 17;

/// Most rows are as wide as a strip, too short for a call.
void CopyRow(const float* from, std::size_t width, float* to) {
  if (width == kStrip) {
    std::memcpy(to, from, kStrip * sizeof(float));
  } else {
    std::copy_n(from, width, to);
  }
}

/// Writes the columns of a strip as rows of `rows` elements: column c becomes row target(c).
template <class Target>
void Transpose(const float* strip, std::size_t rows, std::size_t width, float* out, const Target& target) {
  const std::size_t height = std::min(kTile, rows);
  for (std::size_t top = 0; top < rows; top += height) {
    for (std::size_t c = 0; c < width; ++c) {
      float* const to = out + target(c) * rows + top;
      for (std::size_t row = 0; row < height; ++row) to[row] = strip[(top + row) * width + c];
    }
  }
}

}  // namespace

FourierTransform::FourierTransform(std::size_t greatestLength)
    : kernels_(ButterflyKernels::Current()), factors_(TurningTable::UpTo(greatestLength)) {
  decimated_.resize(std::size_t{1} << std::bit_width(greatestLength) / 2);
  for (std::size_t row = 1; row < decimated_.size(); ++row) {
    decimated_[row] = (decimated_[row / 2] + row % 2 * decimated_.size()) / 2;
  }
  strips_.resize(2 * decimated_.size() * kStrip);  // one thread's
}

bool FourierTransform::IsForTeam(std::size_t n) {
  return n >= kLongForTeam;
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
  StripByStrip(rows, columns, width, [&](std::size_t first, float* stripRe, float* stripIm) {
    for (std::size_t row = 0; row < rows; ++row) {
      const std::size_t source = Decimated(row, rows) * columns + first;
      CopyRow(re + source, width, stripRe + row * width);
      CopyRow(im + source, width, stripIm + row * width);
    }
    kernels_.transformColumns(stripRe, stripIm, rows, width, Factors());
    const auto target = [&](std::size_t c) { return Decimated(first + c, columns); };
    Transpose(stripRe, rows, width, outRe, target);
    Transpose(stripIm, rows, width, outIm, target);
  });
}

void FourierTransform::JoinRows(float* re, float* im, std::size_t rows, std::size_t columns) {
  if (rows * columns < kLong) {
    kernels_.joinRows(re, im, rows, columns, columns, Factors(), columns, 0);
    return;
  }
  StripByStrip(rows, columns, kStrip, [&](std::size_t first, float* stripRe, float* stripIm) {
    for (std::size_t row = 0; row < rows; ++row) {
      CopyRow(re + row * columns + first, kStrip, stripRe + row * kStrip);
      CopyRow(im + row * columns + first, kStrip, stripIm + row * kStrip);
    }
    kernels_.joinRows(stripRe, stripIm, rows, kStrip, kStrip, Factors(), columns, first);
    for (std::size_t row = 0; row < rows; ++row) {
      CopyRow(stripRe + row * kStrip, kStrip, re + row * columns + first);
      CopyRow(stripIm + row * kStrip, kStrip, im + row * columns + first);
    }
  });
}

template <class Work>
void FourierTransform::StripByStrip(std::size_t rows, std::size_t columns, std::size_t width, const Work& work) {
  const std::size_t strips = columns / width;
  const std::size_t team = IsForTeam(rows * columns) ? static_cast<std::size_t>(ParallelWidth()) : 1;
  const std::size_t shares = std::min(team, strips);
  const std::size_t part = rows * width;
  strips_.resize(std::max(strips_.size(), 2 * part * shares));
  ParallelFor(static_cast<int>(shares), static_cast<int>(shares), [&](int i) {
    const auto share = static_cast<std::size_t>(i);
    float* const stripRe = strips_.data() + 2 * part * share;
    for (std::size_t strip = strips * share / shares; strip < strips * (share + 1) / shares; ++strip) {
      work(strip * width, stripRe, stripRe + part);
    }
  });
}

}  // namespace detail
}  // namespace voran
