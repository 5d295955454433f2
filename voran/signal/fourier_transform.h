#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "voran/signal/kernels/butterflies.h"
#include "voran/signal/turning_table.h"

inline namespace voran {
namespace detail {

/// Complex Fourier transforms of any power of 2 up to a greatest length, unscaled:
///   X(k) = sum over j of x(j) exp(2 pi i j k / n), with the other sign for the inverse.
///
/// Radix 2, decimation in time, on floats, with the factors of a TurningTable. Serves one caller at a time; a long
/// transform is shared by several threads, with the same bits.
class FourierTransform {
 public:
  explicit FourierTransform(std::size_t greatestLength);

  /// Whether transforms of this length are shared by several threads. Others allocate nothing.
  static bool IsForTeam(std::size_t n);

  /// Real and imaginary parts apart; the outputs overlap no input.
  void Forward(const float* re, const float* im, std::size_t n, float* outRe, float* outIm);
  void Inverse(const float* re, const float* im, std::size_t n, float* outRe, float* outIm) {
    Forward(im, re, n, outIm, outRe);
  }

  /// cos(2 pi k / n) and sin(2 pi k / n) from the recurrence, for k < n/2 and n up to the greatest length.
  double Cosine(std::size_t k, std::size_t n) const { return factors_->Cosines()[n / 2 + k]; }
  double Sine(std::size_t k, std::size_t n) const { return factors_->Sines()[n / 2 + k]; }

 private:
  void TransformColumns(const float* re, const float* im, std::size_t rows, std::size_t columns, float* outRe,
                        float* outIm);
  void JoinRows(float* re, float* im, std::size_t rows, std::size_t columns);
  /// Calls work(first column, room for real parts, room for imaginary parts) for strips of `width` columns, on several
  /// threads if the matrix is large. The rooms have rows * width elements.
  template <class Work>
  void StripByStrip(std::size_t rows, std::size_t columns, std::size_t width, const Work& work);
  TurningFactors Factors() const { return {factors_->Cosines(), factors_->Sines()}; }
  /// Where `row` of a power of 2 of rows stands in the order of decimation: its bits from last to first.
  std::size_t Decimated(std::size_t row, std::size_t rows) const { return decimated_[row] * rows / decimated_.size(); }

  const ButterflyKernels& kernels_;
  std::shared_ptr<const TurningTable> factors_;
  std::vector<std::size_t> decimated_;  ///< positions of as many rows as there are at most
  std::vector<float> strips_;           ///< work space of the threads
};

}  // namespace detail
}  // namespace voran
