#pragma once

#include <string>

#include "voran/containers/bool_vector.h"
#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/string_vector.h"
#include "voran/export.h"

inline namespace voran {

namespace detail {
class FilterBank;
}

/// Discrete wavelet transforms of series, and of the rows or columns of a matrix: the dyadic tree, and the best basis
/// of wavelet packets, with summaries of energy and power.
///
/// The transforms are periodic, in float, and have the same bits on every machine. Coefficients stand with the coarsest
/// in front: the low-pass half of a level is transformed again, its high-pass half stays behind it. Gaps are filled on
/// straight lines first. A detrending mode takes the mean (`trend1`), or a line of intercept `trend1` and slope
/// `trend2` by position, off the series; mode 0 leaves the two alone.
///
/// Results are new objects that the caller deletes, unless a `result` is given: that is then filled and returned; it
/// may be the input. Null comes back, and a `result` is left alone, if an input or a filter is null or empty, if
/// nothing of a series is present, if coefficients have gaps, or if sizes do not fit. A coefficient that comes out as
/// -99 is a number to the backward transform as long as nothing counts the gaps of its vector anew.
///
/// Free of state: any thread may call anything.
class VORAN_EXPORT Wavelet {
 public:
  enum class WaveletFunctionType : int {
    kBeylkin = 0,
    kCoiflet = 1,
    kDaubechies = 2,
    kSymmlet = 3,
    kBiorthogonal1 = 4,
    kBiorthogonal2 = 5,
    kBiorthogonal3 = 6,
    kBiorthogonal4 = 7,
    kBiorthogonal5 = 8,
    kBiorthogonal6 = 9,
  };

  enum class DetrendMode : int { kNone = 0, kMean = 1, kLinear = 2 };

  /// Two filters, both null for a wavelet that does not exist. A copy shares them; whoever is last calls CleanUp(), as
  /// the destructor deliberately frees nothing.
  struct VORAN_EXPORT WaveletFilters {
    void CleanUp();

    NCDataVector<float>* highPass = nullptr;
    NCDataVector<float>* lowPass = nullptr;
  };

  Wavelet() = delete;

  // Names. They compare exactly; `fallback` is what an unknown name gives, null what an unknown value gives.

  static WaveletFunctionType WaveletFunction(const char* name, WaveletFunctionType fallback);
  static const char* WaveletFunctionStr(WaveletFunctionType type);
  static DetrendMode Detrend(const char* name, DetrendMode fallback);
  static const char* DetrendStr(DetrendMode mode);
  /// In the user's language; empty for an unknown value.
  static std::string DetrendStrLocal(DetrendMode mode);

  // Orders of a family, counted from 1: the filter's length over its number of moments, or as the name says.

  /// 0 for an unknown family.
  static int GetNumFunctionOrder(WaveletFunctionType type);
  static const char* GetFunctionOrderName(WaveletFunctionType type, int order);
  /// 0 for an unknown name.
  static int GetFunctionOrderIndex(WaveletFunctionType type, const char* name);

  // Filters. Those of the forward transform decompose, those of the backward transform reconstruct; they differ for
  // biorthogonal wavelets alone.

  static WaveletFilters GetDecompositionFilter(WaveletFunctionType type, int order);
  static WaveletFilters GetReconstructionFilter(WaveletFunctionType type, int order);

  // The dyadic transform. A level whose length is odd leaves its last element as it is.

  /// With `pad` the series is lengthened to a power of 2 on a line back to its first value.
  static NCDataVector<float>* ForwardTransform(const NCDataVector<float>* x, const WaveletFilters& filters,
                                               DetrendMode mode, double& trend1, double& trend2,
                                               NCDataVector<float>* result, bool pad);
  /// Every row for itself, on several threads; the trends have an element for each. A row without data gives a row
  /// and trends without data.
  static NCDataMatrix<float>* ForwardTransformObswise(const NCDataMatrix<float>* x, const WaveletFilters& filters,
                                                      DetrendMode mode, NCDataVector<double>& trend1,
                                                      NCDataVector<double>& trend2, NCDataMatrix<float>* result,
                                                      bool pad);
  /// Every column for itself, likewise; the coefficients stand in columns.
  static NCDataMatrix<float>* ForwardTransformVarwise(const NCDataMatrix<float>* x, const WaveletFilters& filters,
                                                      DetrendMode mode, NCDataVector<double>& trend1,
                                                      NCDataVector<double>& trend2, NCDataMatrix<float>* result,
                                                      bool pad);
  /// Takes reconstruction filters. The series is cut to `originalLength`, if that is between 1 and its length, and gets
  /// its trend back.
  static NCDataVector<float>* BackwardTransform(const NCDataVector<float>* coefficients, const WaveletFilters& filters,
                                                DetrendMode mode, double trend1, double trend2, int originalLength,
                                                NCDataVector<float>* result);

  // The best basis of the wavelet packets of a series padded to n = 2^J elements: those blocks of the full binary tree
  // are split that make the entropy smaller (Coifman and Wickerhauser 1992). Node (level, index) covers
  // n / 2^(level - 1) elements; a flag for each of the n - 1 inner nodes tells whether it is split.

  /// The position of a node in the vectors of entropies and flags; `level` and `index` count from 1.
  static int Node(int level, int index);
  static BoolVector* FindBestBasis(const NCDataVector<float>* x, const WaveletFilters& filters, DetrendMode mode);
  /// The best basis of the column means: one for all rows.
  static BoolVector* FindBestBasisObswise(const NCDataMatrix<float>* x, const WaveletFilters& filters,
                                          DetrendMode mode);
  static NCDataVector<float>* ForwardTransformBestBasis(const NCDataVector<float>* x, const WaveletFilters& filters,
                                                        const BoolVector* flags, DetrendMode mode, double& trend1,
                                                        double& trend2, NCDataVector<float>* result);
  static NCDataMatrix<float>* ForwardTransformBestBasisObswise(const NCDataMatrix<float>* x,
                                                               const WaveletFilters& filters, const BoolVector* flags,
                                                               DetrendMode mode, NCDataVector<double>& trend1,
                                                               NCDataVector<double>& trend2,
                                                               NCDataMatrix<float>* result);
  static NCDataMatrix<float>* ForwardTransformBestBasisVarwise(const NCDataMatrix<float>* x,
                                                               const WaveletFilters& filters, const BoolVector* flags,
                                                               DetrendMode mode, NCDataVector<double>& trend1,
                                                               NCDataVector<double>& trend2,
                                                               NCDataMatrix<float>* result);
  static NCDataVector<float>* BackwardTransformBestBasis(const NCDataVector<float>* coefficients,
                                                         const WaveletFilters& filters, const BoolVector* flags,
                                                         DetrendMode mode, double trend1, double trend2,
                                                         int originalLength, NCDataVector<float>* result);

  // Summaries of dyadic coefficients.

  /// The scalogram of n = 2^J coefficients as an image of 2J + 1 rows: row 2(J - l + 1) shows the 2^(l - 1)
  /// coefficients of band l, the coarsest being band 1, as 100 times their squares when they have been multiplied by
  /// sqrt(2)^(J - l + 1) and divided by the norm of all; rows between bands are 0. Each coefficient is as wide as it is
  /// in time, on n columns, or on at most 256 with `limit`: then a column shows its largest value.
  static NCDataMatrix<float>* PowerSpectrum(const NCDataVector<float>* x, bool limit, NCDataMatrix<float>* result);
  /// The share of each level in the energy of all levels, the finest first, for a matrix of coefficients x
  /// observations; all 0 if there is no energy. Throws NCError for fewer than two coefficients, or if a sum overflows.
  static NCDataVector<float>* CalcWCEnergy(const NCDataMatrix<float>* coefficients);

  /// Names "base_1", "base_2", ... of coefficients. `byScale` gives "base_level_index" instead: (0, 1) for the first
  /// and (l, 1) to (l, 2^(l - 1)) for band l, as PowerSpectrum counts the bands.
  static NCStringVector MakeVarNames(const std::string& base, int count, bool byScale = false);
  /// The same, with a base for each coefficient.
  static NCStringVector MakeVarNames(const NCStringVector& bases, bool byScale = false);

 protected:
  static void DetrendVector(NCDataVector<float>& v, DetrendMode mode, double& trend1, double& trend2);
  static void RetrendVector(NCDataVector<float>& v, DetrendMode mode, double trend1, double trend2);
  /// Lengthens `v` to `length` on a line back to its first value.
  static void PadVector(NCDataVector<float>& v, int length);

  // The stored low-pass filters; empty for what does not exist.

  /// Of an orthogonal family, at norm 1.
  static NCDataVector<float> GetWaveletFunction(WaveletFunctionType type, int order);
  /// Of a biorthogonal family, as stored.
  static NCDataVector<float> GetWaveletFunctionD(WaveletFunctionType type, int order);
  static NCDataVector<float> GetWaveletFunctionR(WaveletFunctionType type, int order);

  /// One level over the n elements from min(inPosition, outPosition) on: the low-pass half goes to `inPosition`, the
  /// high-pass half to `outPosition`. The backward form takes them from there. `out` may be `in`.
  static void SubForwardTransform(const NCDataVector<float>& in, NCDataVector<float>& out, int n, int inPosition,
                                  int outPosition, const WaveletFilters& filters);
  static void SubBackwardTransform(const NCDataVector<float>& in, NCDataVector<float>& out, int n, int inPosition,
                                   int outPosition, const WaveletFilters& filters);

  /// Sum of -p log p over p = (v / norm)^2 of `count` elements: 0 if there are none or the norm is 0.
  static double CalcEntropy(const NCDataVector<float>& v, int start, int count, double norm);
  /// The entropies of all 2n - 1 nodes, under the norm of x.
  static NCDataVector<float> MakeEntropyTree(const NCDataVector<float>& x, const WaveletFilters& filters);
  /// Sets the flags, and each entropy to the least that its subtree can have.
  static void GetBestBasisTree(NCDataVector<float>& entropies, BoolVector& flags);
  /// Splits, or merges, the block of `n` elements of node (level, index) as the flags tell.
  static void SubForwardTransFormBestBasis(NCDataVector<float>& v, int n, int level, int index, const BoolVector& flags,
                                           const WaveletFilters& filters);
  static void SubBackwardTransFormBestBasis(NCDataVector<float>& v, int n, int level, int index,
                                            const BoolVector& flags, const WaveletFilters& filters);

 private:
  // The same, with filters that have been prepared for many blocks.

  static void SplitLevel(const NCDataVector<float>& in, NCDataVector<float>& out, int n, int inPosition,
                         int outPosition, detail::FilterBank& filters);
  static void MergeLevel(const NCDataVector<float>& in, NCDataVector<float>& out, int n, int inPosition,
                         int outPosition, detail::FilterBank& filters);
  static void SplitTree(NCDataVector<float>& v, int n, int level, int index, const BoolVector& flags,
                        detail::FilterBank& filters);
  static void MergeTree(NCDataVector<float>& v, int n, int level, int index, const BoolVector& flags,
                        detail::FilterBank& filters);

  static bool AreUsable(const WaveletFilters& filters);
  /// Something of x is present.
  static bool IsUsable(const NCDataVector<float>* x, const WaveletFilters& filters);
  static bool IsUsable(const NCDataMatrix<float>* x, const WaveletFilters& filters);
  static int PaddedLength(int length);
  /// A copy without gaps and trend, padded if asked.
  static NCDataVector<float> Prepared(const NCDataVector<float>& x, DetrendMode mode, double& trend1, double& trend2,
                                      bool pad);
  /// Cut to the original length, and with its trend.
  static NCDataVector<float> Restored(NCDataVector<float> v, DetrendMode mode, double trend1, double trend2,
                                      int originalLength);
};

}  // namespace voran
