#pragma once

#include <type_traits>

#include "AR/Common/Macros.h"
#include "AR/Math/SO3.h"
#include "AR/Math/Vector.h"

namespace AR::Math {

/// A rigid transform p -> R p + t: the rotation (row-major 3x3), then the translation, twelve
/// values and nothing else. With frames in its name, `T_ab` takes points given in frame b to
/// frame a. Lengths are in metres wherever the library uses it.
///
/// The tangent form is a 6-vector with the translation part first: (upsilon, omega).
template <typename P>
class AR_EXPORT SE3 {
 public:
  /// The identity.
  constexpr SE3() = default;

  constexpr SE3(const SO3<P>& rotation, const Vec<P, 3>& translation)
      : mRotation(rotation), mTranslation(translation) {}

  constexpr const SO3<P>& rotation() const { return mRotation; }
  constexpr const Vec<P, 3>& translation() const { return mTranslation; }

  /// (R^T, -R^T t).
  constexpr SE3 inverse() const {
    const SO3<P> R_inverse = mRotation.inverse();
    return SE3(R_inverse, -(R_inverse * mTranslation));
  }

  /// The transform by `b`, then by `a`; the rotation is re-orthonormalised each time.
  friend constexpr SE3 operator*(const SE3& a, const SE3& b) {
    return SE3(a.mRotation * b.mRotation, a * b.mTranslation);
  }

  /// R p + t.
  friend constexpr Vec<P, 3> operator*(const SE3& T, const Vec<P, 3>& p) {
    return T.mRotation * p + T.mTranslation;
  }

  /// The transform with the tangent vector (upsilon, omega): rotation exp([omega]x), translation
  /// V upsilon with V = I + B [omega]x + C [omega]x^2 (Eade, "Lie Groups for 2D and 3D
  /// Transformations", 2013).
  static SE3 exp(const Vec<P, 6>& upsilonOmega);

  /// The tangent vector of T, |omega| at most pi: the inverse of `exp`. A transform that holds NaN
  /// is fatal, "tanLen >= 0".
  static Vec<P, 6> ln(const SE3& T);

  /// The same transform in the other precision.
  template <typename OTHER>
  constexpr SE3<OTHER> cast() const {
    return SE3<OTHER>(mRotation.template cast<OTHER>(), mTranslation.template cast<OTHER>());
  }

 private:
  SO3<P> mRotation;
  Vec<P, 3> mTranslation;
};

extern template class SE3<float>;
extern template class SE3<double>;

static_assert(sizeof(SE3<float>) == 12 * sizeof(float));
static_assert(sizeof(SE3<double>) == 12 * sizeof(double));
static_assert(std::is_trivially_copyable_v<SE3<float>> &&
              std::is_trivially_copyable_v<SE3<double>>);

}  // namespace AR::Math
