#pragma once

#include <cstdint>
#include <initializer_list>

#include "voran/containers/containers_fwd.h"
#include "voran/containers/integral_vector.h"
#include "voran/containers/result_proxy.h"
#include "voran/containers/vector_link.h"
#include "voran/export.h"
#include "voran/platform/streamable.h"

inline namespace voran {
namespace detail {

template <typename T>
T* WritableElements(NCDataVector<T>& v, int n);

}  // namespace detail

/// A vector of float or double elements with 1-based positions, a marker for missing elements and a kept count of them.
///
/// The marker is the number -99, tested by equality; a NaN counts as present. Operations skip missing elements as their
/// comments say; a double result that cannot be formed is -99.0. For float elements a product is rounded to float
/// before it is added to a double sum; every sum has the same bits on every machine.
///
/// Copying shares the buffer and costs a few stores; every mutator takes a buffer of its own first. Positions and
/// sizes are not checked: a position outside 1..Size(), or operands of different size, are the caller's fault. Memory
/// that cannot be had goes out as std::bad_alloc.
///
/// Threads: one vector may be read and copied from several threads at a time, and vectors that share a buffer may be
/// assigned, written and destroyed in different threads. An object that is written must have no other user.
template <typename T>
class VORAN_EXPORT NCDataVector : public StreamWalk<NCDataVector<T>, detail::VirtualStreamBase> {
 public:
  using value_type = T;
  using const_iterator = const T*;
  using iterator = const_iterator;  ///< elements are written through members only, which unlink

  NCDataVector();
  /// n missing elements.
  explicit NCDataVector(int n);
  NCDataVector(int n, T value);
  NCDataVector(std::initializer_list<T> values);
  NCDataVector(const NCDataVector& other);
  NCDataVector& operator=(const NCDataVector& other);
  ~NCDataVector() override;

  // Reading elements.

  T operator[](int i) const { return data_[i]; }
  int Size() const { return size_; }
  int size() const { return size_; }
  /// How many elements are missing.
  int GetNumMisVal() const { return numMisVal_; }
  /// The base of the 1-based array: the first element is GetVector()[1]. Null for a vector that never held anything.
  const T* GetVector() const { return data_; }
  const T* begin() const { return data_ == nullptr ? nullptr : data_ + 1; }
  const T* end() const { return begin() + size_; }
  T back() const { return data_[size_]; }

  // Writing elements; the count of missing elements is kept.

  /// Writes element i and returns the value.
  T operator()(int i, T value) {
    SetAndReturn_dMisVal(i, value);
    return value;
  }
  /// Writes element i and returns the change of the missing count: +1, -1 or 0.
  int SetAndReturn_dMisVal(int i, T value);
  /// Writes `count` values of the 0-based array `src` from position `start` on.
  NCDataVector& operator()(int start, const T* src, int count) { return SetRange(start, src, count); }
  NCDataVector& SetRange(int start, const T* src, int count);
  /// The same from element `from` of `v` on.
  NCDataVector& operator()(int start, const NCDataVector& v, int from, int count) {
    return SetRange(start, v, from, count);
  }
  NCDataVector& SetRange(int start, const NCDataVector& v, int from, int count);
  /// Becomes the n values of a 0-based array.
  void CopyZeroBasedVector(const T* src, int n);
  /// Becomes the n values src[1]..src[n].
  void CopyVector(const T* src, int n);
  /// Becomes a deep copy: the two do not share afterwards.
  void CopyContent(const NCDataVector& v);
  void SetAllValues(T value);
  /// Sets the count alone, unchecked: for code that has written elements through a raw pointer and counted itself.
  void SetNumMisVal(int n) { numMisVal_ = n; }

  // Size.

  /// No effect if n is the size. Otherwise all elements become missing, whatever they were; the buffer never shrinks.
  void SetSize(int n);
  void Reserve(int n);
  /// Keeps the first elements; new ones at the end get `fill`.
  NCDataVector& Resize(int n, T fill);
  void resize(int n, T fill) { Resize(n, fill); }
  /// Empties the vector. The capacity deliberately keeps its old value while the buffer is gone: a cleared vector may
  /// be destroyed, assigned to, or grown beyond that capacity, and nothing else (asserted in debug builds).
  void Clear();
  /// Positions above the end clamp to the end + 1.
  void InsertValues(int pos, int count, T value);
  void InsertValues(int pos, const NCDataVector& v);
  void push_back(T value);
  void RemoveValues(int first, int count);
  /// Removes every element equal to `value`. With the marker the count deliberately ends below zero where markers stand
  /// in the stale tail: it is zeroed first and then lowered once for each of them.
  void Remove(T value);

  // Arithmetic. A missing element in an operand gives a missing element.

  NCDataVector operator+(const NCDataVector& v) const;
  NCDataVector operator-(const NCDataVector& v) const;
  NCDataVector& operator+=(const NCDataVector& v);
  NCDataVector& operator-=(const NCDataVector& v);
  NCDataVector operator*(double d) const;
  /// Subtracts d; with the marker itself as d, everything becomes missing.
  NCDataVector operator-(double d) const;
  NCDataVector& operator*=(double d);
  /// Subtracts -d, so that `+= 99.0` makes everything missing.
  NCDataVector& operator+=(double d) { return *this -= -d; }
  NCDataVector& operator-=(double d);
  /// Dot product over pairs present, accumulated in the element type; -99 if a vector with gaps leaves no pair.
  double operator*(const NCDataVector& v) const;
  /// m.PreMultiply(*this)
  NCDataVector operator*(const NCDataMatrix<T>& m) const;
  NCDataVector DotMultiplication(const NCDataVector& b) const;
  void DotMultiplicationImpl(const NCDataVector& b, NCDataVector& result) const;
  /// Element-wise quotient; a divisor of exactly 0 gives a missing element.
  NCDataVector DotDivide(const NCDataVector& b) const;
  void DotDivideImpl(const NCDataVector& b, NCDataVector& result) const;
  /// d / x for each element x; zeros are not tested for.
  NCDataVector VectorDivide(double d) const;
  void VectorDivideImpl(double d, NCDataVector& result) const;
  /// this -= d * v. An element missing in v becomes missing here, but the count is not updated: for vectors whose
  /// pattern of gaps stays.
  NCDataVector& TransformTo_Sub_d_x_Vt(double d, const NCDataVector& v);
  NCDataVector& TransformTo_Add_d_x_Vt(double d, const NCDataVector& v) { return TransformTo_Sub_d_x_Vt(-d, v); }
  void Abs();
  void Sqrt();

  // Sums of squares and regressions through the origin.

  /// Sum of squares over present elements: -99 if there are none, 0 for an empty vector.
  double GetSS() const;
  /// The same of the differences from `about`, formed in double.
  double GetSS(double about) const;
  /// Slope of v on this over pairs present: -99 if operands with gaps have no pair; a NaN if the elements of this in
  /// those pairs are next to nothing (a sum of squares below 1e-30).
  double Regress(const NCDataVector& v) const;
  /// The same, with the denominator never below a third of the whole sum of squares of this. With few pairs present a
  /// plain quotient could blow up.
  double SpecialNipalsRegressFix(const NCDataVector& v) const;
  /// The same without the positions i where groups[i] equals `excludeValue`.
  double SpecialNipalsRegressFixWithExclude(const NCDataVector& v, const NCIntegralVector<int, -99>& groups,
                                            int excludeValue) const;
  /// Cosine of the angle over pairs present; no mean is removed. Where the product of the sums of squares is next to
  /// nothing the undivided product is returned. Clamped to -1..1; -99 if there is no pair.
  double Correlation(const NCDataVector& v) const;
  /// Relative squared distance over pairs present, sum((this - v)^2) / sum(this^2): -99 if there is no pair or a sum is
  /// not finite or denormal, 1e30 if this is next to nothing.
  double Difference(const NCDataVector& v) const;
  /// Divides the present elements by the norm and returns the norm. Changes nothing if that is -99 (none present) or 0.
  double Normalise();

  // Statistics over the n present elements: -99 if there are too few. Single elements are widened before they are
  // summed. A mean that falls on the marker is moved by -1e-5, here and inside the other statistics.

  double GetSum() const;
  double GetMean() const;
  /// With n - 1 in the denominator; 0 for a single element.
  double GetVariance() const;
  /// -99 if n < 2.
  double GetStdDev() const;
  /// n / ((n - 1)(n - 2)) times the sum of cubed standard scores; -99 if n < 3 or the standard deviation is 0.
  double GetSkewness() const;
  /// The skewness over its standard error, sqrt(6n(n - 1) / ((n - 2)(n + 1)(n + 3))).
  double GetSkewnessTest() const;
  /// Excess kurtosis, unbiased for a normal distribution: -99 if n < 4 or the standard deviation is 0.
  double GetKurtosis() const;
  /// A NaN is larger than any number here and in the quartiles. Linear, in a copy.
  double GetMedian() const;
  /// Medians of the lower half, of all and of the upper half of the sorted elements; with an odd n the middle one is in
  /// neither half. False, and all three -99, if n < 2.
  bool GetInterquartiles(double& lower, double& median, double& upper) const;
  /// Upper minus lower quartile; -99 if n < 2.
  double GetInterquartileRange() const;
  /// The interquartile range over 1.075.
  double GetRobustStdDev() const;
  /// Both -99 if no element is present.
  void GetMinMax(T& min, T& max) const;

  // Selection and order. `positions` are 1-based.

  /// Removes the elements at `positions`, in any order; one that does not exist is ignored.
  void Remove(const NCIntegralVector<int, -99>& positions);
  /// Becomes the elements at `positions`, in that order, repeats allowed.
  void Reduce(const NCIntegralVector<int, -99>& positions);
  /// The same; a position outside the vector gives a missing element.
  void SafeReduce(const NCIntegralVector<int, -99>& positions);
  /// Sorts this vector (`result` null) and returns the former position of each element. Missing elements go last in
  /// either direction, and NaNs before them, both in their order; equal numbers keep their order, or reverse it if
  /// `descending`. Returns an empty list and sorts nothing if there are fewer than two elements or, deliberately, if
  /// `result` has the size of this vector; a `result` of another size has its first elements overwritten, unchecked:
  /// callers pass null.
  NCIntegralVector<int, -99> Sort(NCDataVector* result, bool descending);

  // The vector as a series over its positions, or over the elements of `x` where one is given.

  /// Moves the elements k >= 0 places up; the first k become missing and the last k are lost.
  void Lag(int k);
  /// Fills gaps between two present elements on the straight line through them, and those at the ends with the nearest
  /// present element. False if nothing is present, or if `x` has a gap where it is needed: then the gaps before that
  /// one and those at the ends are filled already, and the count still has them.
  bool InterpolateMisVals(const NCDataVector* x);
  /// Standard normal variate, (x - mean) / s: all missing if fewer than two elements are present or s is 0.
  NCDataVector SNV() const;
  void SNVImpl(NCDataVector& result) const;
  /// Subtracts the mean and reports it: 0 if there is none.
  void DetrendMean(double& mean);
  /// Subtracts the fitted line slope * i + intercept. With one element present its value is the intercept and the slope
  /// 0; with none the slope is 0 and the intercept is left alone.
  void DetrendLinear(double& intercept, double& slope);
  /// The line through this vector by least squares. False, with the outputs left alone, if fewer than two elements are
  /// present or one of them has no x. Where x does not vary the slope is the largest float and the intercept is left
  /// alone; a constant vector has slope 0.
  bool LeastSquare(const NCDataVector* x, double& intercept, double& slope) const;

  /// A destination for the result of an operation; throws NCError if p is null.
  NCVecOpResultProxy<T> Result(NCDataVector* p) { return NCVecOpResultProxy<T>(p); }

  /// Equality of bytes: 0 and -0 differ, a NaN equals itself. Counts play no part.
  bool operator==(const NCDataVector& v) const;
  bool operator!=(const NCDataVector& v) const { return !(*this == v); }

  // Sharing and raw buffers.

  /// Takes a buffer of its own if this one is shared.
  void Unlink() {
    if (link_ != nullptr && link_->IsShared()) ForceUnlink();
  }
  /// The same, for callers that go on to write through a raw pointer.
  void ForceUnlink();
  /// The writable base of the 1-based array, shared with nothing. Who writes through it keeps the count right.
  T* GetWritableVector() {
    Unlink();
    return data_;
  }
  /// Room for n elements and the unused one before them, the first on a boundary of 16 bytes; `offset` receives the
  /// bytes between the allocation and the returned base. DeleteVec frees it.
  T* NewVec(int n, int& offset);
  void DeleteVec(T* p, int offset);

  // Persistence. The walk is explained at VStreamBase, the bytes in docs/file_formats.md. The counts come from the
  // stream and are not recounted. After a failure the vector is empty, with no capacity, unless its header had been
  // refused.

  using typename StreamWalk<NCDataVector, detail::VirtualStreamBase>::DerivedStreamableData;
  /// The identity "NCDV", version 4; readers accept no other version.
  static DerivedStreamableData MyStreamableData;

 protected:
  friend class StreamWalk<NCDataVector, detail::VirtualStreamBase>;
  /// What follows the header.
  bool VStreamableWrite(std::ostream& stream);
  bool VStreamableRead(std::istream& stream);

  static void Add(NCDataVector& result, const NCDataVector& a, const NCDataVector& b);
  static void Subtract(NCDataVector& result, const NCDataVector& a, const NCDataVector& b);
  static void Subtract(NCDataVector& result, const NCDataVector& a, double d);
  static void Multiply(NCDataVector& result, const NCDataVector& a, double d);

  /// The sums over V1 (this) and V2 behind every regression: V1'V2, V1'V1 over the pairs present, and V1'V1 over all
  /// present elements of V1. Positions i with groups[i] equal to `excludeValue` are left out if groups is not null.
  /// The first two are -99 if operands with gaps have no pair, and 0 if the paired sum of squares is below 1e-30.
  void Calculate_V1txV2_and_V1txV1(double& v1tv2, double& v1tv1, double& v1tv1All, const NCDataVector& v2,
                                   const NCIntegralVector<int, -99>* groups, int excludeValue) const;

 private:
  friend class NCDataMatrix<T>;
  friend T* detail::WritableElements<T>(NCDataVector& v, int n);

  T* First() { return data_ == nullptr ? nullptr : data_ + 1; }
  /// What NewVec returns as the offset, given that the allocator aligns to 16 bytes.
  static int OffsetOfEveryVec();
  /// Room for n elements, all unwritten; the missing count is untouched.
  void UnInitialisedResize(int n);
  /// Opens a gap of unwritten elements; the missing count is untouched.
  void UnInitialisedInsert(int pos, int count);
  void TakeBuffer(T* buffer, int offset);
  void ReplaceBuffer(T* fresh, int offset, int newCapacity);
  void DropBuffer();
  bool ReadStreamDirectory(std::istream& stream);
  /// The count as it is written.
  std::int32_t StoredNumMisVal() const;

  std::int32_t alignOffset_ = 0;  ///< bytes between the allocation and data_
  std::int32_t size_ = 0;
  T* data_ = nullptr;                   ///< 1-based: data_[0] is not used
  detail::VectorLink* link_ = nullptr;  ///< at the beginning of the allocation; null without one
  std::int32_t numMisVal_ = 0;
  std::int32_t capacity_ = 0;
};

extern template class NCDataVector<float>;
extern template class NCDataVector<double>;

}  // namespace voran
