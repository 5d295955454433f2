#pragma once

#include <cstdint>

#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"
#include "voran/containers/vector_link.h"
#include "voran/export.h"

inline namespace voran {

/// A matrix of float or double elements with 1-based positions: an array of rows, each a complete NCDataVector. In
/// models the rows are observations and the columns variables. Missing elements carry the marker -99; how many there
/// are is kept for each row, for each column and in total.
///
/// Sharing has two levels. Copying a matrix shares the array of rows and costs a few stores. A mutator first takes an
/// array of its own, whose rows still share their elements with the old ones; writing into a row then unlinks that row
/// alone. Sizes and positions are not checked; memory that cannot be had goes out as std::bad_alloc.
///
/// A row that operator()(int) hands out may be written; the matrix's counts of missing elements do not follow. There
/// are at most 2^31 - 1 missing elements: std::length_error tells of more.
///
/// In what follows `result` is a vector of the right size, which comes out unshared: SizeColumns() elements for what
/// works column by column, SizeRows() for what works row by row. Reading one column costs a step to every row; the
/// kernels walk the rows in memory order, once, with scratch memory of one or two rows of doubles for every 32 rows.
///
/// Threads: as for NCDataVector. The kernels below work on several threads themselves
/// (NCMultiThreading::ThreadingControl sets how many) and give the same bits at any number of them.
template <typename T>
class VORAN_EXPORT NCDataMatrix {
 public:
  NCDataMatrix();
  NCDataMatrix(int rows, int columns, T value);
  NCDataMatrix(const NCDataMatrix& other);
  NCDataMatrix& operator=(const NCDataMatrix& other);
  ~NCDataMatrix();

  void swap(NCDataMatrix& other) noexcept;
  void Clear();

  // Sharing.

  void Unlink() {
    if (link_->IsShared()) UnlinkMe();
  }
  /// Takes an array of rows of its own; the rows go on sharing their elements.
  void UnlinkMe();
  /// After it nothing of the matrix is shared: for code that writes through raw pointers or from several threads.
  void ForceUnlink();

  // Reading.

  int SizeRows() const { return numRows_; }
  int SizeColumns() const { return numColumns_; }
  int GetNumMisVal() const { return numMisVal_; }
  /// How many elements of column c are missing.
  int GetColumnMisVal(int c) const { return (*colMisVal_)[c]; }
  const NCDataVector<T>& operator[](int i) const { return rows_[i]; }
  const NCDataVector<T>* begin() const { return rows_ == nullptr ? nullptr : rows_ + 1; }
  const NCDataVector<T>* end() const { return begin() + numRows_; }
  const NCDataVector<T>& back() const { return rows_[numRows_]; }
  NCDataVector<T> GetColumn(int c) const;
  void GetColumnImpl(int c, NCDataVector<T>& result) const;
  /// Both -99 if no element of the column is present.
  void GetColumnMinMax(int c, T& min, T& max) const;
  void GetRowMinMax(int r, T& min, T& max) const { rows_[r].GetMinMax(min, max); }
  /// Rows first..last as a matrix that shares their elements, or everything if these are all rows.
  NCDataMatrix GetRowSubMatrix(int first, int last) const;

  // Writing; the counts are kept.

  /// Row i for writing; the matrix's column and total counts do not follow.
  NCDataVector<T>& operator()(int i) {
    Unlink();
    return rows_[i];
  }
  /// Writes one element and returns the value.
  T operator()(int r, int c, T value);
  /// No effect if neither size changes. Otherwise every element becomes missing, whatever it was.
  NCDataMatrix& SetSize(int rows, int columns);
  /// Room for n rows, or in every row for n columns, so that insertions up to there do not allocate.
  void ReserveRows(int n);
  void ReserveColumns(int n);
  /// The row shares its elements with v. A position above the end clamps to the end + 1; a matrix without rows and
  /// columns takes the width of v.
  void InsertRow(int pos, const NCDataVector<T>& v);
  /// Inserts at the end and returns the new row; the pointer holds until the next change of rows.
  const NCDataVector<T>* push_back(const NCDataVector<T>& v);
  /// Becomes a deep copy.
  void CopyContent(const NCDataMatrix& m);
  void SetAllValues(T value);
  /// Zeroes all counts and touches no element: for code that has just written a full matrix through raw pointers.
  void SetNoMisVal();

  // Products with a vector.

  /// Sum over rows i of v[i] * row i: columns elements, from a v of rows elements, over pairs present; an element
  /// without a pair is missing.
  NCDataVector<T> PreMultiply(const NCDataVector<T>& v) const;
  void PreMultiplyImpl(const NCDataVector<T>& v, NCDataVector<T>& result) const;

  // Regressions: the steps of NIPALS. A column whose denominator is not above 1e-30 gives a missing element.

  /// Each column regressed on v (of rows elements) over pairs present: the loading step p = X't / t't.
  NCDataVector<T> RegressColumns(const NCDataVector<T>& v) const;
  void RegressColumnsImpl(const NCDataVector<T>& v, NCDataVector<T>& result) const;
  /// Each row regressed on v (of columns elements) over pairs present: the score step t = Xp / p'p. -99 where there is
  /// no pair; a NaN where the elements of v in the pairs are next to nothing.
  NCDataVector<T> RegressRows(const NCDataVector<T>& v) const;
  void RegressRowsImpl(const NCDataVector<T>& v, NCDataVector<T>& result) const;

  /// RegressColumns with a floor: where pairs are missing, a denominator does not fall below a third of the whole sum
  /// of squares of v. With gaps in v, a column without any pair gets 0.
  NCDataVector<T> SpecialNipalsRegressColumnsFix(const NCDataVector<T>& v) const;
  void SpecialNipalsRegressColumnsFixImpl(const NCDataVector<T>& v, NCDataVector<T>& result) const;
  /// The same; a column c with (*groups)[c] equal to `excludeValue` stays missing. `groups` may be null.
  NCDataVector<T> SpecialNipalsRegressColumnsFix(const NCDataVector<T>& v, const NCIntegralVector<int, -99>* groups,
                                                 int excludeValue) const;
  void SpecialNipalsRegressColumnsFixImpl(const NCDataVector<T>& v, const NCIntegralVector<int, -99>* groups,
                                          int excludeValue, NCDataVector<T>& result) const;
  /// RegressRows with the same floor. Columns of the excluded group play no part in any sum.
  NCDataVector<T> SpecialNipalsRegressRowsFix(const NCDataVector<T>& v) const {
    return SpecialNipalsRegressRowsFix(v, nullptr, 0);
  }
  NCDataVector<T> SpecialNipalsRegressRowsFix(const NCDataVector<T>& v, const NCIntegralVector<int, -99>* groups,
                                              int excludeValue) const;
  void SpecialNipalsRegressRowsFixImpl(const NCDataVector<T>& v, const NCIntegralVector<int, -99>* groups,
                                       int excludeValue, NCDataVector<T>& result) const;

  /// The start of a NIPALS component: the column of largest sum of squares, an earlier one winning a near tie (relative
  /// 1e-6). Its gaps are filled with a hundredth of its largest magnitude, in alternating sign, unless it is the only
  /// column or wholly missing. The Impl form throws NCError if `result` is null.
  NCDataVector<T> GetNIPALSStartColumn() const;
  void GetNIPALSStartColumnImpl(NCDataVector<T>* result) const;
  /// Sum of squared differences from `about` over the present elements of column c, formed in double; -99 if there are
  /// none.
  double GetColumnSS(int c, double about) const;

  // Deflation. Where a loading is missing, so is the element afterwards; where a score is missing, the whole row.

  /// this += factor * a b', with a of rows elements and b of columns elements.
  NCDataMatrix& AddVprimV(const NCDataVector<T>& a, const NCDataVector<T>& b, float factor);
  NCDataMatrix& TransformToAdd_V_x_Vt(const NCDataVector<T>& a, const NCDataVector<T>& b) {
    return AddVprimV(a, b, 1.0f);
  }
  NCDataMatrix& TransformToSub_V_x_Vt(const NCDataVector<T>& a, const NCDataVector<T>& b) {
    return AddVprimV(a, b, -1.0f);
  }

 protected:
  /// A new array of SizeRows() + 1 pointers, entry i the 1-based base of row i; the caller deletes the array. With
  /// `borrow` false the buffers are handed over as well and the matrix is left empty: DeleteHandedOver() frees both.
  static T** GetMatrixAsPointerPointer(NCDataMatrix& m, bool borrow);
  static void DeleteHandedOver(T** pointers, int rows);

  void PreMultiplyNonMisVal(const NCDataVector<T>& v, NCDataVector<T>& result) const;
  void PreMultiplyMisVal(const NCDataVector<T>& v, NCDataVector<T>& result) const;

  /// One column of RegressColumns: writes result[c] and decrements `numMisVal`, or leaves both. `ssV` is v.GetSS().
  static void RegressOneColumn(T* result, int c, const NCDataMatrix& m, const NCDataVector<T>& v, double ssV, int mode,
                               int& numMisVal);
  static void SpecialNipalsRegressOneColumnFix(T* result, int c, const NCDataMatrix& m, const NCDataVector<T>& v,
                                               double ssV, int mode, int& numMisVal);

  /// Row `row` += f * v' for a present score; `mode` tells who has gaps (1 the matrix, 2 the vector). New gaps are
  /// added to `numMisVal` and, atomically, to the column counts.
  static void AddFV(const NCDataMatrix& m, T f, const T* v, int mode, int row, int& numMisVal, int* colMisVal);

 private:
  void GrowRows(int newCapacity);
  void CountRow(const NCDataVector<T>& row, int sign);
  static void FillGapsAlternating(NCDataVector<T>& column);
  /// The two cases of AddFV. A product that falls on the marker is no missing score.
  static void AddPresentFV(const NCDataMatrix& m, T f, const T* v, int mode, int row, int& numMisVal, int* colMisVal);
  static void SetRowMissing(const NCDataMatrix& m, int row, int& numMisVal, int* colMisVal);
  static void CountNewGap(NCDataVector<T>& row, int column, int& numMisVal, int* colMisVal);

  detail::VectorLink* link_;
  std::int32_t numColumns_ = 0;
  std::int32_t numRows_ = 0;
  NCDataVector<T>* rows_ = nullptr;  ///< rowCapacity_ + 1 vectors, of which the first is not used
  NCIntegralVector<int, -99>* colMisVal_ = nullptr;
  std::int32_t numMisVal_ = 0;
  std::int32_t rowCapacity_ = 0;
};

extern template class NCDataMatrix<float>;
extern template class NCDataMatrix<double>;

}  // namespace voran
