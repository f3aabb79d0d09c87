#pragma once

// Included by AR/Math/Matrix.h; include that.

#include <cmath>
#include <cstddef>
#include <type_traits>

#include "AR/Common/Macros.h"
#include "AR/Math/Constants.h"
#include "AR/Math/Matrix.h"

namespace AR::Math {

namespace internal {
inline constexpr char kMatrixFunctionsSource[] =
    "Math/src/../include/AR/Math/internal/MatrixFunctions";
}  // namespace internal

template <typename T, int R, int C>
constexpr Mat<T, R, C> operator+(const Mat<T, R, C>& a, const Mat<T, R, C>& b) {
  Mat<T, R, C> m;
  for (size_t i = 0; i < R; ++i) {
    for (size_t j = 0; j < C; ++j) m(i, j) = a(i, j) + b(i, j);
  }
  return m;
}

template <typename T, int R, int C>
constexpr Mat<T, R, C> operator-(const Mat<T, R, C>& a, const Mat<T, R, C>& b) {
  Mat<T, R, C> m;
  for (size_t i = 0; i < R; ++i) {
    for (size_t j = 0; j < C; ++j) m(i, j) = a(i, j) - b(i, j);
  }
  return m;
}

template <typename T, int R, int C>
constexpr Mat<T, R, C> operator*(const Mat<T, R, C>& a, std::type_identity_t<T> s) {
  Mat<T, R, C> m;
  for (size_t i = 0; i < R; ++i) {
    for (size_t j = 0; j < C; ++j) m(i, j) = a(i, j) * s;
  }
  return m;
}

template <typename T, int R, int C>
constexpr Mat<T, R, C> operator*(std::type_identity_t<T> s, const Mat<T, R, C>& a) {
  return a * s;
}

/// The matrix product.
template <typename T, int R, int K, int C>
constexpr Mat<T, R, C> operator*(const Mat<T, R, K>& a, const Mat<T, K, C>& b) {
  Mat<T, R, C> m;
  for (size_t i = 0; i < R; ++i) {
    for (size_t j = 0; j < C; ++j) {
      m(i, j) = a(i, 0) * b(0, j);
      for (size_t k = 1; k < K; ++k) m(i, j) += a(i, k) * b(k, j);
    }
  }
  return m;
}

/// The matrix times a column vector.
template <typename T, int R, int C, VectorOf<C> V>
requires std::is_same_v<typename V::Element, T>
constexpr Vec<T, R> operator*(const Mat<T, R, C>& m, const V& v) {
  Vec<T, R> result;
  for (size_t i = 0; i < R; ++i) {
    result(i) = m(i, 0) * v(0);
    for (size_t j = 1; j < C; ++j) result(i) += m(i, j) * v(j);
  }
  return result;
}

template <typename T, int R, int C>
constexpr Mat<T, C, R> transpose(const Mat<T, R, C>& m) {
  Mat<T, C, R> result;
  for (size_t i = 0; i < R; ++i) {
    for (size_t j = 0; j < C; ++j) result(j, i) = m(i, j);
  }
  return result;
}

/// True when every element is exactly that of the identity.
template <typename T, int N>
constexpr bool isIdentity(const Mat<T, N, N>& m) {
  return m == Mat<T, N, N>::identity();
}

/// [w]x, the matrix for which [w]x v = w x v.
template <VectorOf<3> V>
constexpr Mat<typename V::Element, 3, 3> crossMatrix(const V& w) {
  return {0, -w(2), w(1), w(2), 0, -w(0), -w(1), w(0), 0};
}

/// One step of re-orthonormalisation, in place: R - E R with E = (R R^T - I) / 2, the first-order
/// step towards the nearest rotation. An error of size e becomes one of size e^2.
template <typename T>
constexpr void enforceRotation(Mat<T, 3, 3>& R) {
  const Vec<T, 3> r[3] = {R.row(0), R.row(1), R.row(2)};
  Mat<T, 3, 3> E;
  for (size_t i = 0; i < 3; ++i) {
    for (size_t j = 0; j < 3; ++j) E(i, j) = (dot(r[i], r[j]) - (i == j ? 1 : 0)) / 2;
  }
  R = R - E * R;
}

namespace internal {

/// The axis of a rotation R near pi, up to its length: a column of the symmetric part of R without
/// cos(angle) on the diagonal, which is (1 - cos(angle)) axis axis^T, pointing along `s`.
template <typename T>
Vec<T, 3> axisNearPi(const Mat<T, 3, 3>& R, const Vec<T, 3>& s, T c) {
  size_t largest = 0;
  for (size_t i = 1; i < 3; ++i) {
    if (std::fabs(R(i, i) - c) > std::fabs(R(largest, largest) - c)) largest = i;
  }
  const T xy = (R(1, 0) + R(0, 1)) / 2;
  const T xz = (R(0, 2) + R(2, 0)) / 2;
  const T yz = (R(2, 1) + R(1, 2)) / 2;
  Vec<T, 3> axis;
  switch (largest) {
    case 0:
      axis = {R(0, 0) - c, xy, xz};
      break;
    case 1:
      axis = {xy, R(1, 1) - c, yz};
      break;
    case 2:
      axis = {xz, yz, R(2, 2) - c};
      break;
    default:
      AR_REQUIRE(false, "0", kMatrixFunctionsSource);
  }
  return dot(axis, s) < 0 ? -axis : axis;
}

}  // namespace internal

/// The unit axis and the angle in [0, pi] of the rotation R. Below pi/4 the angle is taken from
/// its sine, up to 3/4 pi from its cosine, above from its sine again with the axis from the
/// symmetric part of R, since the skew part vanishes at pi. A rotation whose skew part is too small
/// to be normalised gives angle 0 and the skew part itself as the axis, zero for the identity.
template <typename T>
void matrix2AxisAngle(const Mat<T, 3, 3>& R, Vec<T, 3>& axis, T& angle) {
  const Vec<T, 3> s((R(2, 1) - R(1, 2)) / 2, (R(0, 2) - R(2, 0)) / 2, (R(1, 0) - R(0, 1)) / 2);
  const T c = (R(0, 0) + R(1, 1) + R(2, 2) - 1) / 2;
  const T sine = norm(s);
  if (c >= T(-kCosQuarterPi)) {
    axis = s;
    if (c > T(kCosQuarterPi)) {
      angle = sine == 0 ? T(0) : std::asin(sine);
    } else {
      angle = std::acos(c);
    }
  } else {
    axis = internal::axisNearPi(R, s, c);
    angle = T(AR_PI) - std::asin(sine);
  }
  if (normSquared(axis) > 0) normalize(axis);
}

}  // namespace AR::Math
