#pragma once

inline namespace voran {
namespace detail {

/// Decomposes the m x n matrix a = U diag(w) V' by Householder bidiagonalisation and implicitly shifted QR iteration
/// (Golub and Reinsch, Numerische Mathematik 14, 1970). All arrays and their rows are 1-based; `a` becomes U, `v` of
/// n x n elements and `w` of n are written. The singular values are not negative and not sorted; the columns of U and V
/// are orthonormal, but for columns of zeros in U beside the last n - m singular values, which are 0, if m < n.
///
/// False, with no meaning in a, w and v, if a singular value takes more than 32000 iterations or does not fit into T,
/// or if an element is infinite or a NaN: the iteration could only run to its limit on those.
///
/// Takes memory for another matrix of the size of `a` and one of the size of `v`; throws std::bad_alloc, and as
/// SimdTarget does, before it has written anything. Same bits at any number of threads.
template <typename T>
bool DecomposeSingularValues(T* const* a, int m, int n, T* w, T* const* v);

extern template bool DecomposeSingularValues(float* const* a, int m, int n, float* w, float* const* v);
extern template bool DecomposeSingularValues(double* const* a, int m, int n, double* w, double* const* v);

}  // namespace detail
}  // namespace voran
