#pragma once

#include "voran/containers/data_vector.h"
#include "voran/export.h"

inline namespace voran {

/// Power spectra and correlations of series, by way of fast Fourier transforms in float.
///
/// Gaps are filled on straight lines first. Results are written into the first elements of `result`, which must be long
/// enough. What is asked wrongly (a null pointer, sizes that do not fit) deliberately does nothing.
/// Free of state: any thread may call anything. The same bits on every machine with the same sine.
class VORAN_EXPORT FFT {
 public:
  /// What is taken off a series: nothing, its mean, or a straight line.
  enum class DetrendMode : int { kNone = 0, kMean = 1, kLinear = 2 };

  /// With w the window: the powers are divided by the sum of w^2, or by the square of the sum of w.
  enum class ScalingMode : int { kDensity = 0, kSpectrum = 1 };

  /// What the segments are multiplied by; the end points are not quite 0.
  enum class DataWindowMode : int { kBartlett = 0, kHann = 1, kWelch = 2 };

  FFT() = delete;

  /// The one-sided spectrum at segmentLength / 2 + 1 frequencies from 0 to half the sampling rate, averaged over an
  /// even number of segments, neighbours of which overlap by half or not at all. A series that ends before its last
  /// segment is lengthened on a line back to its first value. `segmentLength` is a power of 2 of at least 2. Throws
  /// NCError if a power is no number, if there is no segment (overlapping ones need more than half a segment of data),
  /// if nothing is present, or if memory runs out.
  static void PowerSpectrum(const NCDataVector<float>* x, int segmentLength, bool overlap, DetrendMode detrend,
                            ScalingMode scaling, DataWindowMode window, NCDataVector<float>* result);

  /// The autocorrelation at the lags 0 to `lags`, which is at most the length: 1 at lag 0, or 0 everywhere if nothing
  /// is left of the series. The mean that is taken off is that of the series, detrended and followed by zeros up to a
  /// power of 2; so a series that does not vary leaves nothing only if it is detrended. A series without data
  /// deliberately does nothing, nor does memory that runs out.
  static void AutoCorrelation(const NCDataVector<float>* x, DetrendMode detrend, int lags, NCDataVector<float>* result);

  /// The correlation of two series of one length at the lags -lags to `lags`, in the same way; a positive lag k pairs
  /// x(l + k) with y(l).
  static void CrossCorrelation(const NCDataVector<float>* x, const NCDataVector<float>* y, DetrendMode detrend,
                               int lags, NCDataVector<float>* result);

 protected:
  /// Subtracts the mean and divides by the root of the sum of squares, if that is above 0.
  static void DetrendVecMeanStd(NCDataVector<float>& v);
  static void DetrendVector(NCDataVector<float>& v, DetrendMode detrend);
  /// A vector that is long enough stays as it is.
  static void PadVectorZeros(NCDataVector<float>& v, int length);
  static void PadVectorLinearly(NCDataVector<float>& v, int length);
  /// The lags -floor(count / 2) to ceil(count / 2) - 1 of a circular correlation of n elements, 0-based.
  static void ReorderFromVec(const float* source, NCDataVector<float>& target, int n, int count);

 private:
  /// A copy without gaps and trend, with room for `room` elements.
  static NCDataVector<float> Prepared(const NCDataVector<float>& x, DetrendMode detrend, int room);
  /// The same, followed by zeros, at mean 0 and norm 1.
  static NCDataVector<float> Standardised(const NCDataVector<float>& x, DetrendMode detrend, int length);
};

}  // namespace voran
