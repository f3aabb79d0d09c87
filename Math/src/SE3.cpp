#include "AR/Math/SE3.h"

#include <cmath>

#include "AR/Math/Constants.h"

namespace AR::Math {
namespace {
constexpr char kSource[] = "Math/src/../include/AR/Math/SE3";
}  // namespace

template <typename P>
SE3<P> SE3<P>::exp(const Vec<P, 6>& upsilonOmega) {
  const Vec<P, 3> upsilon(upsilonOmega(0), upsilonOmega(1), upsilonOmega(2));
  const Vec<P, 3> omega(upsilonOmega(3), upsilonOmega(4), upsilonOmega(5));
  const P theta2 = normSquared(omega);
  const internal::ExpCoefficients<P> k(theta2);
  const SO3<P> R(internal::rodrigues(omega, k.A, k.B));
  if (theta2 <= 0) return SE3(R, upsilon);
  const Vec<P, 3> wu = cross(omega, upsilon);
  return SE3(R, upsilon + k.B * wu + k.C * cross(omega, wu));
}

template <typename P>
Vec<P, 6> SE3<P>::ln(const SE3& T) {
  const Vec<P, 3> omega = SO3<P>::ln(T.mRotation);
  const Vec<P, 3>& t = T.mTranslation;
  // Not above pi^2 in this precision: the tangent of half the angle would turn negative.
  P theta2 = normSquared(omega);
  if (theta2 > P(kPiSquared)) theta2 = P(kPiSquared);
  const P half = std::sqrt(theta2) / 2;
  const P tanLen = std::tan(half);
  AR_REQUIRE(tanLen >= 0, "tanLen >= 0", kSource);
  const P s = tanLen > 0 ? half / tanLen : P(0);
  Vec<P, 3> upsilon = t;
  if (s > 0) {
    const Vec<P, 3> wt = cross(omega, t);
    upsilon = t - wt / 2 + ((1 - s) / theta2) * cross(omega, wt);
  }
  return {upsilon(0), upsilon(1), upsilon(2), omega(0), omega(1), omega(2)};
}

template class SE3<float>;
template class SE3<double>;

}  // namespace AR::Math
