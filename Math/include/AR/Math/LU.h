#pragma once

#include <cstddef>

#include "AR/Math/Matrix.h"

namespace AR::Math {

/// The factors of an N x N matrix A = L U: L lower triangular with its diagonal, U unit upper
/// triangular (Crout; Golub & Van Loan, "Matrix Computations", ch. 3). Rows are not exchanged and
/// singularity is not tested: a zero pivot gives infinities or NaN, silently.
template <typename T, int N>
class LU {
 public:
  /// Factors A, in place of what was factored before.
  void compute(const Mat<T, N, N>& A) {
    for (size_t k = 0; k < N; ++k) {
      for (size_t i = k; i < N; ++i) mL(i, k) = A(i, k) - sumLU(i, k, k);
      mU(k, k) = 1;
      for (size_t j = k + 1; j < N; ++j) mU(k, j) = (A(k, j) - sumLU(k, j, k)) / mL(k, k);
    }
  }

  /// Solves A x = b for the factored A and writes the solution to the viewed elements, which may be
  /// those of `b`. Needs exclusive use of the object, whose work vector it overwrites.
  template <VectorOf<N> B>
  void solve(const B& b, Vector<T, N, Linear, VectorReference> x) {
    Vec<T, N>& y = mForward;
    for (size_t i = 0; i < N; ++i) {
      T sum = b(i);
      for (size_t j = 0; j < i; ++j) sum -= mL(i, j) * y(j);
      y(i) = sum / mL(i, i);
    }
    for (size_t i = N; i-- > 0;) {
      T sum = y(i);
      for (size_t j = i + 1; j < N; ++j) sum -= mU(i, j) * x(j);
      x(i) = sum;
    }
  }

 private:
  /// The part of (L U)(i, j) that the first `n` columns of L make.
  T sumLU(size_t i, size_t j, size_t n) const {
    T sum = 0;
    for (size_t m = 0; m < n; ++m) sum += mL(i, m) * mU(m, j);
    return sum;
  }

  Mat<T, N, N> mL;
  Mat<T, N, N> mU;
  Vec<T, N> mForward;  // the last forward substitution's result
};

}  // namespace AR::Math
