#pragma once

#include <algorithm>
#include <cmath>
#include <numbers>

#include "AR/Common/Macros.h"
#include "CameraModel/Arctangent.h"
#include "CameraModel/models/DistortionDerivatives.h"

// FISHEYE_1_PARAMETER: the field-of-view model of Devernay & Faugeras, "Straight lines have to be
// straight", 2001. With omega = k0 in (0, pi), t = tan(omega / 2) and the squared ideal radius x:
//
//   F(x) = atan(2 r t) / (omega r),   r = sqrt(x)
//
// Valid for every ideal radius; its inverse in closed form for distorted radii up to
// pi / (2 omega).

namespace CamModel {

/// Below this squared radius the quotients by r give way to their first-order series.
template <typename P>
inline constexpr P kSmallSquaredRadius = P(0.0001);

template <typename P>
inline constexpr P kMinOmega = P(0.0001);

template <typename P>
P clampedOmega(const RDVec<P>& k) {
  return std::max(k[0], kMinOmega<P>);
}

template <typename P>
P fisheye1Factor(const RDVec<P>& k, P x) {
  const P omega = clampedOmega(k);
  const P t = std::tan(omega / 2);
  if (x < kSmallSquaredRadius<P>) return (2 * t - P(8) / 3 * x * t * t * t) / omega;
  const P r = std::sqrt(x);
  return arctangent(2 * r * t) / (omega * r);
}

/// Unlike the factor, takes omega as it is, without a lower bound.
template <typename P>
P fisheye1Inverse(const RDVec<P>& k, P y) {
  const P omega = k[0];
  const P t = std::tan(omega / 2);
  if (y < kSmallSquaredRadius<P>) return (omega + omega * omega * omega * y / 3) / (2 * t);
  const P rd = std::sqrt(y);
  return std::tan(rd * omega) / (rd * 2 * t);
}

/// Keeps the distorted radius away from pi / (2 omega), where the ideal one becomes infinite, and
/// makes the ideal limit its counterpart. A nearly linear lens is left alone.
template <typename P>
void limitFisheye1Range(const RDVec<P>& k, RadiusLimits<P>& limits) {
  const P omega = k[0];
  if (!(omega > P(0.01))) return;
  const P rd_max = std::numbers::pi_v<P> / (2 * omega);
  limits.undistortionLimit = std::min(limits.undistortionLimit, rd_max * rd_max - P(0.1));
  const P G = fisheye1Inverse(k, limits.undistortionLimit);
  limits.distortionLimit = limits.undistortionLimit * G * G;
}

}  // namespace CamModel

namespace AR::CV::CameraCalibration {

template <typename P>
struct DistortionDerivatives<P, CamModel::FISHEYE_1_PARAMETER> {
  /// Reports omega outside (0, pi) and goes on with it, bounded below as in the factor (where the
  /// bound holds, the factor does not depend on k0 and J is 0).
  static P distortionFactorFisheye1Parameter(const CamModel::RDVec<P>& k, P x,
                                             CamModel::RDVec<P>& J, P& dFdx) {
    AR_CHECK(k[0] > 0 && k[0] < std::numbers::pi_v<P>, "omega > 0 && omega < P(AR_PI)",
             "CV/src/../include/AR/CV/CameraCalibration/RadialDistortionDerivatives");
    const P omega = CamModel::clampedOmega(k);
    const P t = std::tan(omega / 2);
    const P F = CamModel::fisheye1Factor(k, x);
    J = {};
    P dFdOmega;
    if (x < CamModel::kSmallSquaredRadius<P>) {
      dFdOmega = ((1 + t * t) * (1 - 4 * x * t * t) - F) / omega;
      dFdx = -P(8) / 3 * t * t * t / omega;
    } else {
      const P a = 1 + 4 * x * t * t;  // d atan(s) / ds = 1 / (1 + s^2) at s = 2 r t
      dFdOmega = ((1 + t * t) / a - F) / omega;
      dFdx = (2 * t / (omega * a) - F) / (2 * x);
    }
    if (k[0] > CamModel::kMinOmega<P>) J[0] = dFdOmega;
    return F;
  }
};

}  // namespace AR::CV::CameraCalibration
