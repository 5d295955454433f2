#pragma once

#include <cstdint>
#include <vector>

#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"
#include "voran/containers/result_proxy.h"
#include "voran/containers/vector_link.h"
#include "voran/export.h"
#include "voran/platform/streamable.h"

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
class VORAN_EXPORT NCDataMatrix : public StreamWalk<NCDataMatrix<T>, detail::VirtualStreamBase> {
 public:
  using value_type = NCDataVector<T>;
  using const_iterator = const NCDataVector<T>*;
  using iterator = const_iterator;  ///< rows are written through members only, which unlink

  NCDataMatrix();
  NCDataMatrix(int rows, int columns, T value);
  NCDataMatrix(const NCDataMatrix& other);
  NCDataMatrix& operator=(const NCDataMatrix& other);
  ~NCDataMatrix() override;

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
  /// The same, given what AddVprimV() wrote when it changed the matrix last; empty sums are formed here.
  NCDataVector<T> GetNIPALSStartColumn(const std::vector<double>& columnSquares) const;
  /// Sum of squared differences from `about` over the present elements of column c, formed in double; -99 if there are
  /// none.
  double GetColumnSS(int c, double about) const;

  // Deflation. Where a loading is missing, so is the element afterwards; where a score is missing, the whole row.

  /// this += factor * a b', with a of rows elements and b of columns elements.
  NCDataMatrix& AddVprimV(const NCDataVector<T>& a, const NCDataVector<T>& b, float factor);
  /// The same, and columnSquares[c - 1] = sum of squares of column c afterwards over the elements present, for the
  /// start of the next component; empty if a or b has gaps. Saves a reading of the matrix.
  NCDataMatrix& AddVprimV(const NCDataVector<T>& a, const NCDataVector<T>& b, float factor,
                          std::vector<double>& columnSquares);
  NCDataMatrix& TransformToAdd_V_x_Vt(const NCDataVector<T>& a, const NCDataVector<T>& b) {
    return AddVprimV(a, b, 1.0f);
  }
  NCDataMatrix& TransformToSub_V_x_Vt(const NCDataVector<T>& a, const NCDataVector<T>& b) {
    return AddVprimV(a, b, -1.0f);
  }

  // Editing. Positions above the end clamp to the end + 1; the counts are kept unless a comment says otherwise.

  /// Keeps the cells that both sizes have; new ones are missing.
  NCDataMatrix& Resize(int rows, int columns);
  /// The rows in the gap are missing where the array of rows is a new one or the slots have never been used. Inside a
  /// matrix whose array has room they deliberately keep what stood there, and only the counts take them for missing.
  void InsertRows(int pos, int count);
  /// A matrix without columns takes the height of v.
  void InsertColumn(int pos, const NCDataVector<T>& v);
  /// Inserts missing columns.
  void InsertColumns(int pos, int count);
  /// Inserts the columns of m, which has as many rows.
  void InsertColumns(int pos, const NCDataMatrix& m);
  void RemoveRows(int first, int count);
  void RemoveColumns(int first, int count);
  /// Appends the rows of m, which then are shared; a matrix without cells becomes m. Throws NCInternalError if the
  /// numbers of columns differ.
  void ConcatRows(const NCDataMatrix& m);
  /// Appends the columns of m, which has as many rows; a matrix without rows becomes m.
  void ConcatColumns(const NCDataMatrix& m);
  void SwapRows(int a, int b);
  void SwapColumns(int a, int b);
  /// Becomes the columns order[0], order[1], ... (1-based); repeats are allowed, and columns left out disappear.
  void RearrangeColumns(const std::vector<int>& order);
  void CopyColumn(int from, int to);
  void CopyColumn(int to, const NCDataMatrix& m, int from);
  /// Row `to` shares the elements of row `from` afterwards. The column counts are deliberately updated by comparison
  /// with the diagonal elements and the total not at all: the counts can drift. Needs as many rows as columns.
  void CopyRow(int from, int to);
  /// With the marker, deliberately does nothing to a column that has as many gaps as the matrix has columns.
  void SetColumn(int c, T value);
  /// From src[1]..src[SizeRows()].
  void SetColumn(int c, const T* src);
  void SetColumn(int c, const NCDataVector<T>& v);
  void SetRow(int r, T value);
  /// The row shares the elements of v afterwards.
  void SetRow(int r, const NCDataVector<T>& v);

  // Arithmetic on rows and columns. Where a comment says that only the array of rows is unlinked, a row that is shared
  // with another vector or matrix changes there too: ForceUnlink() beforehand where that matters.

  /// Moves column c by k rows, towards higher row numbers for a positive k; vacated cells become missing. Of a column
  /// without gaps, only the array of rows is unlinked.
  void LagColumn(int c, int k);
  /// Column `to` = column c times d, formed in double. With the marker as d, column c becomes missing instead.
  void MultiplyColumn(int c, double d, int to);
  /// Row `to` = row r times d. With the marker as d, row `to` becomes missing and the total count is left alone.
  void MultiplyRow(int r, double d, int to);
  /// Column `to` = columns a and b, element by element.
  void MultiplyColumns(int a, int b, int to);
  /// Subtracts d, in double. A difference that falls on the marker becomes -99.00001 and stays present; with the marker
  /// as d, the column becomes missing.
  void SubtractFromColumn(int c, double d);
  /// Multiplies column j by v[j]; a marker on either side leaves the cell as it is. Unlinks the array of rows only.
  NCDataMatrix& TransformToColumnScaled(NCDataVector<T>& v);
  /// Subtracts v from every row; a marker on either side leaves the cell as it is.
  NCDataMatrix& TransformToDotSubRowVector(const NCDataVector<T>& v);
  /// Cell (i, j) times or divided by v[i], with v of rows elements; the Pre forms take v[j], with v of columns
  /// elements. A missing v[i] gives a missing row, or a missing v[j] a missing column. No guard on division by zero.
  /// The Impl forms write to a matrix of the same size whose cells all are missing.
  NCDataMatrix DotMultiplyVector(const NCDataVector<T>& v) const;
  void DotMultiplyVectorImpl(const NCDataVector<T>& v, NCDataMatrix& result) const;
  NCDataMatrix DotDivideVector(const NCDataVector<T>& v) const;
  void DotDivideVectorImpl(const NCDataVector<T>& v, NCDataMatrix& result) const;
  NCDataMatrix DotPreMultiplyVector(const NCDataVector<T>& v) const;
  void DotPreMultiplyVectorImpl(const NCDataVector<T>& v, NCDataMatrix& result) const;
  NCDataMatrix DotPreDivideVector(const NCDataVector<T>& v) const;
  void DotPreDivideVectorImpl(const NCDataVector<T>& v, NCDataMatrix& result) const;
  /// Standard normal variate of each row. The column and total counts are deliberately those of this matrix, also
  /// where a row becomes all missing.
  NCDataMatrix SNV() const;
  void SNVImpl(NCDataMatrix& result) const;

  // Products and element-wise operators. Sizes are the caller's care; an operator's operands have the same size.
  //
  // An element of a product of matrices is one sum over its terms in their order, so that A B and A (B')' have the same
  // bits, with gaps or without. These products take scratch memory of some 400 KiB for each thread and, for operands
  // with gaps, a bit for each of their elements. A result may be, or share with, an operand.

  /// A B, A'B, AB' or A'B', with A this matrix. Sums run over pairs present; a cell without any pair is missing in A B
  /// and, with `keepMissing`, in the others, where it is 0 otherwise. The Impl form writes to a matrix of the right
  /// size.
  NCDataMatrix MatrixMultiply(const NCDataMatrix& b, bool transposeThis, bool transposeOther, bool keepMissing) const;
  void MatrixMultiplyImpl(const NCDataMatrix& b, bool transposeThis, bool transposeOther, NCDataMatrix& result,
                          bool keepMissing) const;
  NCDataMatrix operator*(const NCDataMatrix& b) const;
  /// Dot product of each row with v, accumulated in the element type; missing where there is no pair.
  NCDataVector<T> operator*(const NCDataVector<T>& v) const;
  /// With the marker as d, everything becomes missing.
  NCDataMatrix operator*(double d) const;
  /// The sums have the column and total counts of this matrix; the differences are counted afresh.
  NCDataMatrix operator+(const NCDataMatrix& b) const;
  NCDataMatrix operator-(const NCDataMatrix& b) const;
  NCDataMatrix& operator+=(const NCDataMatrix& b);
  NCDataMatrix& operator-=(const NCDataMatrix& b);
  /// Compares the rows of this matrix, byte by byte, with the first rows of b; true if this matrix has none.
  bool operator==(const NCDataMatrix& b) const;
  bool operator!=(const NCDataMatrix& b) const;
  /// A destination for the result of an operation; throws NCError if p is null.
  NCMatOpResultProxy<T> Result(NCDataMatrix* p) { return NCMatOpResultProxy<T>(p); }

  /// Swaps rows and columns, with their counts. Takes memory for a second matrix meanwhile, and leaves this one as it
  /// was if that cannot be had.
  NCDataMatrix& Transpose();
  /// Becomes M'M over pairs present: columns x columns, missing where there is no pair.
  NCDataMatrix& TransformToMprim_mul_M();
  /// Becomes its inverse, by LU decomposition. False for a row of zeros: the elements then are unspecified. Any other
  /// singular matrix deliberately gives huge elements, from a pivot of 1e-20, and true.
  bool TransformToInverse();
  /// (A A')^-1 A y', with observations in the columns of A (this matrix) and of y: one row a regressor, one column a
  /// response. Throws NCInternalError if anything is missing.
  NCDataMatrix GetRegressionCoefficients(const NCDataMatrix& y) const;

  // Singular value decomposition, A = U diag(W) V'. The caller owns the result.

  /// Decomposes a copy of this matrix.
  NCSVD<T>* GetSVD() const;
  /// Decomposes in place. The matrix must have been made with new: on success it is the result's U and the result owns
  /// it.
  NCSVD<T>* TransformToSVD();

  // Statistics over present elements: -99 if there are too few. See NCDataVector for the definitions.

  double GetMean() const;
  /// Sum of squares of everything; 0 if nothing is present.
  double GetSS() const;
  /// Sum over columns of GetColumnSS about the mean. A column without data deliberately adds -99.
  double GetSSAroundColumnMeans() const;
  /// 0 in a matrix without rows.
  double GetColumnMean(int c) const;
  /// With `df` in the denominator if it is above 0, otherwise one less than the elements present.
  double GetColumnStdDev(int c, float df) const;
  /// All means, or all standard deviations, in one reading of the matrix (two for the deviations): the same bits as
  /// column by column, which costs as many readings as there are columns to a line of the cache.
  NCDataVector<double> GetColumnMeans() const;
  NCDataVector<double> GetColumnStdDevs(float df) const;
  double GetColumnSkewness(int c, int df) const;
  double GetColumnSkewnessTest(int c, int df) const;
  double GetColumnKurtosis(int c) const;
  double GetColumnMedian(int c) const;
  /// Process capability, (upper - lower) / 6s. A standard deviation that cannot be formed, or is 0, is not guarded
  /// against.
  double GetColumnCp(int c, double lower, double upper) const;
  /// The same to the nearer limit, min(upper - mean, mean - lower) / 3s.
  double GetColumnCpk(int c, double lower, double upper) const;
  /// Correlation of each column with v over pairs present, or the cosine if not `centred`. The means are those of all
  /// present elements. Missing where the product of the sums of squares is next to nothing; not clamped.
  NCDataVector<T> GetColumnCorrelation(const NCDataVector<T>& v, bool centred) const;
  void GetColumnCorrelationImpl(const NCDataVector<T>& v, NCDataVector<T>& result, bool centred) const;
  /// How crowded the place of each point is, from 0 to 1 (where all are equal, as counted), by averaged shifted
  /// histograms. Here the rows are dimensions and the columns points; a point with a gap takes no part and scores as an
  /// empty place. Below 1, `bins` and `shifts` are chosen by the number of points; from 5000 points on, `force` asks
  /// for the second grid. Takes memory for (shifts * bins) to the power of the dimensions: meant for two or three.
  NCDataVector<T> GetDensity(int bins, int shifts, bool force) const;
  void GetDensityImpl(int bins, int shifts, bool force, NCDataVector<T>& result) const;

  // Persistence. The walk is explained at VStreamBase, the bytes in docs/file_formats.md. The counts come from the
  // stream and are not recounted. After a failure that comes behind the header, SizeRows() is what the stream said, but
  // there are no rows and no columns: then destroy the matrix, assign to it, Clear() it, give it a size or read into it
  // again.

  using typename StreamWalk<NCDataMatrix, detail::VirtualStreamBase>::DerivedStreamableData;
  /// The identity "NCDM", version 4; readers accept no other version.
  static DerivedStreamableData MyStreamableData;

 protected:
  friend class StreamWalk<NCDataMatrix, detail::VirtualStreamBase>;
  /// What follows the header.
  bool VStreamableWrite(std::ostream& stream);
  bool VStreamableRead(std::istream& stream);

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

  /// The three products with transposed operands, into a matrix of the right size.
  void MultiplyTransposeThis(const NCDataMatrix& b, NCDataMatrix& result, bool keepMissing) const;
  void MultiplyTransposeOther(const NCDataMatrix& b, NCDataMatrix& result, bool keepMissing) const;
  void MultiplyTransposeBoth(const NCDataMatrix& b, NCDataMatrix& result, bool keepMissing) const;

  /// Decomposes m in place: it becomes the result's U unless the status tells of a failure.
  static NCSVD<T>* SVD(NCDataMatrix* m);

 private:
  void MulMat(const NCDataMatrix& b, NCDataMatrix& result, bool keepMissing) const;
  void MulMat(const NCDataVector<T>& v, NCDataVector<T>& result) const;
  void MulMat(double d, NCDataMatrix& result) const;
  void AddMat(const NCDataMatrix& b, NCDataMatrix& result) const;
  void SubMat(const NCDataMatrix& b, NCDataMatrix& result) const;
  /// Any of the four products; true if an operand has gaps. A sum that falls on the marker is not counted.
  bool MultiplyInto(const NCDataMatrix& b, bool transposeThis, bool transposeOther, bool keepMissing,
                    NCDataMatrix& result) const;
  /// The first element of every row, for writing; nothing may be shared.
  std::vector<T*> RowPointers();
  /// Forms the column and total counts from the rows, whose own counts are right.
  void CountAllRows();
  /// Forms all counts from the elements.
  void CountMarkers();

  void GrowRows(int newCapacity);
  /// Every row gets a buffer of its own with room for `count` more elements.
  void MakeRoomForColumns(int count);
  void ReadStreamDirectory(std::istream& stream);
  void ReadRows(std::istream& entry);
  void FreeRows();
  void DeleteRows();
  /// The counts as they are written.
  std::int32_t StoredNumMisVal() const;
  NCIntegralVector<int, -99> StoredColMisVal() const;
  void CountRow(const NCDataVector<T>& row, int sign);
  void GetStartColumnOf(const std::vector<double>& columnSquares, NCDataVector<T>& result) const;
  static void FillGapsAlternating(NCDataVector<T>& column);
  /// The two cases of AddFV. A product that falls on the marker is no missing score.
  static void AddPresentFV(const NCDataMatrix& m, T f, const T* v, int mode, int row, int& numMisVal, int* colMisVal);
  static void SetRowMissing(const NCDataMatrix& m, int row, int& numMisVal, int* colMisVal);
  static void CountNewGap(NCDataVector<T>& row, int column, int& numMisVal, int* colMisVal);

  detail::VectorLink* link_;
  std::int32_t numColumns_ = 0;
  std::int32_t numRows_ = 0;
  NCDataVector<T>* rows_ = nullptr;  ///< at least rowCapacity_ + 1 vectors, of which the first is not used
  NCIntegralVector<int, -99>* colMisVal_ = nullptr;
  std::int32_t numMisVal_ = 0;
  std::int32_t rowCapacity_ = 0;  ///< below numRows_ after ConcatRows
};

extern template class NCDataMatrix<float>;
extern template class NCDataMatrix<double>;

}  // namespace voran
