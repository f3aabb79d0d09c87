#pragma once

#include <cmath>
#include <type_traits>

#include "AR/Common/Macros.h"
#include "AR/Math/Constants.h"
#include "AR/Math/Matrix.h"

namespace AR::Math {

namespace internal {

inline constexpr char kSO3Source[] = "Math/src/../include/AR/Math/SO3";

/// The coefficients of the exponential maps at the angle theta = sqrt(theta2):
/// A = sin(theta) / theta, B = (1 - cos(theta)) / theta^2, C = (1 - A) / theta^2, below a small
/// angle from their series. (Eade, "Lie Groups for 2D and 3D Transformations", 2013.)
template <typename P>
struct ExpCoefficients {
  P A = 1;
  P B = P(0.5);
  P C = P(1.0 / 6);

  explicit ExpCoefficients(P theta2) {
    constexpr P kSmallAngle = std::is_same_v<P, float> ? P(0.01) : P(1e-5);
    const P theta = std::sqrt(theta2);
    if (theta <= 0) return;
    if (theta >= kSmallAngle) {
      A = std::sin(theta) / theta;
      B = (1 - std::cos(theta)) / theta2;
      C = (1 - A) / theta2;
    } else {
      A = 1 - theta2 * P(1.0 / 6);
      B = P(0.5) - theta2 * P(1.0 / 24);
      C = P(1.0 / 6) - theta2 * P(1.0 / 120);
    }
  }
};

/// R = I + A [w]x + B [w]x^2 (Rodrigues).
template <typename P>
constexpr Mat<P, 3, 3> rodrigues(const Vec<P, 3>& w, P A, P B) {
  const Mat<P, 3, 3> W = crossMatrix(w);
  return Mat<P, 3, 3>::identity() + A * W + B * (W * W);
}

}  // namespace internal

/// A rotation, held as its row-major 3x3 matrix and nothing else. With frames in its name,
/// `R_ab` turns directions given in frame b into frame a.
template <typename P>
class SO3 {
 public:
  /// The identity.
  constexpr SO3() = default;

  /// The rotation with this matrix, taken as it stands: the caller sees to it that it is one.
  constexpr explicit SO3(const Mat<P, 3, 3>& matrix) : mMatrix(matrix) {}

  constexpr const Mat<P, 3, 3>& matrix() const { return mMatrix; }

  /// The transpose.
  constexpr SO3 inverse() const { return SO3(transpose(mMatrix)); }

  /// The rotation by `b`, then by `a`, re-orthonormalised each time so that long products stay
  /// rotations.
  friend constexpr SO3 operator*(const SO3& a, const SO3& b) {
    Mat<P, 3, 3> R = a.mMatrix * b.mMatrix;
    enforceRotation(R);
    return SO3(R);
  }

  friend constexpr Vec<P, 3> operator*(const SO3& R, const Vec<P, 3>& v) { return R.mMatrix * v; }

  /// The rotation by |w| radians about w (Rodrigues).
  static SO3 exp(const Vec<P, 3>& w) {
    const internal::ExpCoefficients<P> k(normSquared(w));
    return SO3(internal::rodrigues(w, k.A, k.B));
  }

  /// The rotation vector, angle times unit axis, of length at most pi. The inverse of `exp`.
  static Vec<P, 3> ln(const SO3& R) {
    Vec<P, 3> axis;
    P angle = 0;
    matrix2AxisAngle(R.mMatrix, axis, angle);
    return angle != 0 ? angle * axis : axis;
  }

  /// The same rotation in the other precision.
  template <typename OTHER>
  constexpr SO3<OTHER> cast() const {
    return SO3<OTHER>(mMatrix.template cast<OTHER>());
  }

 private:
  Mat<P, 3, 3> mMatrix = Mat<P, 3, 3>::identity();
};

namespace internal {

/// An axis perpendicular to `from`, not of unit length.
template <typename P>
constexpr Vec<P, 3> axisOfHalfTurn(const Vec<P, 3>& from) {
  const Vec<P, 3> e = from(0) == 0 ? Vec<P, 3>(1, 0, 0) : Vec<P, 3>(0, 1, 0);
  return cross(from, from + e);
}

}  // namespace internal

/// The rotation vector (angle times unit axis) of the shortest rotation that turns the direction
/// `from` into the direction `to`; they need not be of unit length. Opposite directions give a half
/// turn about some perpendicular axis. A zero direction is fatal, "!isZero(from)" or
/// "!isZero(to)", and so is NaN, "length>0".
template <typename P>
Vec<P, 3> makeso3FromTo(const Vec<P, 3>& from, const Vec<P, 3>& to) {
  AR_REQUIRE(!isZero(from), "!isZero(from)", internal::kSO3Source);
  AR_REQUIRE(!isZero(to), "!isZero(to)", internal::kSO3Source);
  Vec<P, 3> axis = cross(from, to);
  if (isZero(axis) && dot(from, to) < 0) axis = internal::axisOfHalfTurn(from);
  if (isZero(axis)) return axis;
  normalize(axis);
  // The product of two squared lengths leaves the single range long before the lengths do.
  const double lengths =
      std::sqrt(static_cast<double>(normSquared(from)) * static_cast<double>(normSquared(to)));
  const P c = static_cast<P>(static_cast<double>(dot(from, to)) / lengths);
  if (!(c >= -1)) return axis * P(AR_PI);
  return axis * (c > 1 ? P(0) : std::acos(c));
}

static_assert(sizeof(SO3<float>) == 9 * sizeof(float));

}  // namespace AR::Math
