#pragma once

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "CameraModel/Arctangent.h"
#include "CameraModel/SolveCubic.h"
#include "CameraModel/models/Fisheye1Parameter.h"

// FISHEYE_RATIONAL: the distorted radius of the field-of-view model (Devernay & Faugeras 2001)
// refined by a rational polynomial in the manner of Claus & Fitzgibbon 2005. With omega = k0 in
// (0, pi), t = tan(omega / 2), the squared ideal radius x and r = sqrt(x):
//
//   rho = atan(2 r t) / omega
//   F(x) = N / (r D),   N = rho (1 + k1 rho + k4 rho^2),   D = 1 + k2 rho + k3 rho^2 + k5 rho^3
//
// Valid where D > 0 and r F grows with r.

namespace CamModel {

/// This model's own bound of its branch near the centre.
template <typename P>
inline constexpr P kFisheyeRationalSmallSquaredRadius = P(0.00001);

template <typename P>
P fisheyeRationalNumerator(const RDVec<P>& k, P rho) {
  return rho * (1 + rho * (k[1] + rho * k[4]));
}

template <typename P>
P fisheyeRationalDenominator(const RDVec<P>& k, P rho) {
  return 1 + rho * (k[2] + rho * (k[3] + rho * k[5]));
}

/// The branch near the centre is not the series of the main one (its second term has x where the
/// series has r). Deliberately so, together with its own bound.
template <typename P>
P fisheyeRationalFactor(const RDVec<P>& k, P x) {
  const P omega = clampedOmega(k);
  const P t = std::tan(omega / 2);
  if (x < kFisheyeRationalSmallSquaredRadius<P>) return 2 * t / omega - 2 * k[2] * t * t * x;
  const P r = std::sqrt(x);
  const P rho = arctangent(2 * r * t) / omega;
  return fisheyeRationalNumerator(k, rho) / (r * fisheyeRationalDenominator(k, rho));
}

/// Stays short of the first angle at which D has fallen to 0.1; looked for only when k5 != 0. The
/// root is taken for a squared radius here, deliberately.
template <typename P>
void limitToFisheyePole(const RDVec<P>& k, RadiusLimits<P>& limits) {
  if (k[5] == 0) return;
  for (const P z : solveCubic(k[5], k[3], k[2], P(0.9))) {
    if (!(z > 0)) continue;
    if (!(z * k[0] * k[0] < P(2.467401))) return;  // pi^2 / 4: the inverse has no value beyond
    const P r = std::sqrt(z) * fisheye1Inverse(k, z);
    limits.distortionLimit = std::min(limits.distortionLimit, r * r - P(0.1));
    std::printf("Rational fisheye model: root of denominator at %f, truncate at %f\n",
                static_cast<double>(z), std::sqrt(static_cast<double>(limits.distortionLimit)));
    return;
  }
}

}  // namespace CamModel

namespace AR::CV::CameraCalibration {

template <typename P>
struct DistortionDerivatives<P, CamModel::FISHEYE_RATIONAL> {
  /// Where omega is bounded below as in the factor, the factor does not depend on k0.
  static P distortionFactorFisheyeRational(const CamModel::RDVec<P>& k, P x, CamModel::RDVec<P>& J,
                                           P& dFdx) {
    J = {};
    const P omega = CamModel::clampedOmega(k);
    const P t = std::tan(omega / 2);
    const bool small = x < CamModel::kFisheyeRationalSmallSquaredRadius<P>;
    const P F = small ? nearCentre(k, x, omega, t, J, dFdx) : away(k, x, omega, t, J, dFdx);
    if (!(k[0] > CamModel::kMinOmega<P>)) J[0] = 0;
    return F;
  }

 private:
  static P nearCentre(const CamModel::RDVec<P>& k, P x, P omega, P t, CamModel::RDVec<P>& J,
                      P& dFdx) {
    J[0] = (1 + t * t - 2 * t / omega) / omega - 2 * k[2] * x * t * (1 + t * t);
    J[2] = -2 * t * t * x;
    dFdx = -2 * k[2] * t * t;
    return 2 * t / omega - 2 * k[2] * t * t * x;
  }

  static P away(const CamModel::RDVec<P>& k, P x, P omega, P t, CamModel::RDVec<P>& J, P& dFdx) {
    const P r = std::sqrt(x);
    const P rho = CamModel::arctangent(2 * r * t) / omega;
    const P N = CamModel::fisheyeRationalNumerator(k, rho);
    const P D = CamModel::fisheyeRationalDenominator(k, rho);
    const P dN = 1 + rho * (2 * k[1] + rho * 3 * k[4]);
    const P dD = k[2] + rho * (2 * k[3] + rho * 3 * k[5]);
    const P dQuotient = (dN * D - N * dD) / (D * D);  // of N / D by rho

    const P a = 1 + 4 * x * t * t;  // d atan(s) / ds = 1 / (1 + s^2) at s = 2 r t
    const P dRhodOmega = (r * (1 + t * t) / a - rho) / omega;
    const P dRhodr = 2 * t / (omega * a);

    const P F = N / (r * D);
    J[0] = dQuotient * dRhodOmega / r;
    J[1] = rho * rho / (r * D);
    J[2] = -F * rho / D;
    J[3] = J[2] * rho;
    J[4] = J[1] * rho;
    J[5] = J[3] * rho;
    dFdx = (dQuotient * dRhodr - F) / (2 * x);
    return F;
  }
};

}  // namespace AR::CV::CameraCalibration
