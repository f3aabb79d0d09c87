#include "AR/Common/Macros.h"
#include "FieldOfView.h"

// FISHEYE_1_PARAMETER: the field-of-view model of Devernay & Faugeras, "Straight lines have to be
// straight", 2001. With omega = k0 in (0, pi), t = tan(omega / 2) and the squared ideal radius x:
//
//   F(x) = atan(2 r t) / (omega r),   r = sqrt(x)
//
// Valid for every ideal radius; its inverse in closed form for distorted radii up to
// pi / (2 omega).

namespace CamModel {

template <>
struct Lens<FISHEYE_1_PARAMETER> : FieldOfView {
  static constexpr int kMaxCoeffs = 1;
  static constexpr LegacyForm kLegacy = {
      .mode = 1, .modeWithTangential = 1, .numMarked = 1, .slots = {kLegacySlots, 1}};

  template <typename P>
  static P factor(const RDVec<P>& k, P x) {
    const P omega = clampedOmega(k);
    const P t = std::tan(omega / 2);
    if (x < kSmallSquaredRadius<P>) return (2 * t - P(8) / 3 * x * t * t * t) / omega;
    const P r = std::sqrt(x);
    return arctangent(2 * r * t) / (omega * r);
  }

  template <typename P>
  static P inverse(const RDVec<P>& k, P y) {
    return inverseByAngle(k, y);
  }

  /// Reports omega outside (0, pi) and goes on with it, bounded below as in the factor (where the
  /// bound holds, the factor does not depend on k0 and J is 0).
  template <typename P>
  static P derivative(const RDVec<P>& k, P x, RDVec<P>& J, P& dFdx) {
    AR_CHECK(k[0] > 0 && k[0] < std::numbers::pi_v<P>, "omega > 0 && omega < P(AR_PI)",
             "CV/src/../include/AR/CV/CameraCalibration/RadialDistortionDerivatives");
    const P omega = clampedOmega(k);
    const P t = std::tan(omega / 2);
    const P F = factor(k, x);
    J = {};
    P dFdOmega;
    if (x < kSmallSquaredRadius<P>) {
      dFdOmega = ((1 + t * t) * (1 - 4 * x * t * t) - F) / omega;
      dFdx = -P(8) / 3 * t * t * t / omega;
    } else {
      const P a = 1 + 4 * x * t * t;  // d atan(s) / ds = 1 / (1 + s^2) at s = 2 r t
      dFdOmega = ((1 + t * t) / a - F) / omega;
      dFdx = (2 * t / (omega * a) - F) / (2 * x);
    }
    if (k[0] > kMinOmega<P>) J[0] = dFdOmega;
    return F;
  }

  /// Keeps the distorted radius away from pi / (2 omega), where the ideal one becomes infinite, and
  /// makes the ideal limit its counterpart. A nearly linear lens is left alone.
  template <typename P>
  static void closedFormRange(const RDVec<P>& k, RadiusLimits<P>& limits) {
    const P omega = k[0];
    if (!(omega > P(0.01))) return;
    const P rd_max = std::numbers::pi_v<P> / (2 * omega);
    limits.undistortionLimit = std::min(limits.undistortionLimit, rd_max * rd_max - P(0.1));
    const P G = inverse(k, limits.undistortionLimit);
    limits.distortionLimit = limits.undistortionLimit * G * G;
  }
};

template struct LensRow<FISHEYE_1_PARAMETER, float>;
template struct LensRow<FISHEYE_1_PARAMETER, double>;

}  // namespace CamModel
