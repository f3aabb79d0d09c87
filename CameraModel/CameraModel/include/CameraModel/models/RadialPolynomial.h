#pragma once

#include <algorithm>
#include <cstdio>

#include "CameraModel/SolveCubic.h"
#include "CameraModel/models/DistortionDerivatives.h"

// RADIAL_2_PARAMETERS, RADIAL_3_PARAMETERS, RADIAL_6_PARAMETERS: polynomials in x, the squared
// ideal radius, which share one formula:
//
//   F(x) = N / D,   N = 1 + k0 x + k1 x^2 + k2 x^3,   D = 1 + k3 x + k4 x^2 + k5 x^3
//
// The first two use k0, k1 (and k2) alone (Brown, "Close-range camera calibration", 1971); the
// third is the rational form of Claus & Fitzgibbon, "A rational function lens distortion model
// for general cameras", 2005, restricted to the radius. Valid where D > 0 and r F grows with r.

namespace CamModel {

template <typename P>
P radialNumerator(const RDVec<P>& k, P x) {
  return 1 + x * (k[0] + x * (k[1] + x * k[2]));
}

template <typename P>
P radialDenominator(const RDVec<P>& k, P x) {
  return 1 + x * (k[3] + x * (k[4] + x * k[5]));
}

template <typename P>
P radialPolynomialFactor(const RDVec<P>& k, P x) {
  return radialNumerator(k, x) / radialDenominator(k, x);
}

/// Stays short of the first radius at which D has fallen to 0.1; looked for only when k5 != 0.
template <typename P>
void limitToRadialPole(const RDVec<P>& k, RadiusLimits<P>& limits) {
  if (k[5] == 0) return;
  for (const P root : solveCubic(k[5], k[4], k[3], P(0.9))) {
    if (!(root > 0)) continue;
    limits.distortionLimit = std::min(limits.distortionLimit, root - P(0.1));
    std::printf("Radial polynomial model: root of denominator at %f\n", static_cast<double>(root));
    return;
  }
}

}  // namespace CamModel

namespace AR::CV::CameraCalibration {

template <typename P>
struct DistortionDerivatives<P, CamModel::RADIAL_2_PARAMETERS> {
  /// Differentiates N only: validation keeps D at 1 for this model.
  static P distortionFactorRadial(const CamModel::RDVec<P>& k, P x, CamModel::RDVec<P>& J,
                                  P& dFdx) {
    J = CamModel::RDVec<P>(x, x * x, P(0), P(0), P(0), P(0));
    dFdx = k[0] + 2 * x * k[1];
    return CamModel::radialPolynomialFactor(k, x);
  }
};

template <typename P>
struct DistortionDerivatives<P, CamModel::RADIAL_3_PARAMETERS> {
  /// Differentiates N only: validation keeps D at 1 for this model.
  static P distortionFactorRadial(const CamModel::RDVec<P>& k, P x, CamModel::RDVec<P>& J,
                                  P& dFdx) {
    J = CamModel::RDVec<P>(x, x * x, x * x * x, P(0), P(0), P(0));
    dFdx = k[0] + 2 * x * k[1] + 3 * x * x * k[2];
    return CamModel::radialPolynomialFactor(k, x);
  }
};

template <typename P>
struct DistortionDerivatives<P, CamModel::RADIAL_6_PARAMETERS> {
  static P distortionFactorRadial(const CamModel::RDVec<P>& k, P x, CamModel::RDVec<P>& J,
                                  P& dFdx) {
    const P N = CamModel::radialNumerator(k, x);
    const P D = CamModel::radialDenominator(k, x);
    const P dN = k[0] + 2 * x * k[1] + 3 * x * x * k[2];
    const P dD = k[3] + 2 * x * k[4] + 3 * x * x * k[5];
    P power = 1;
    for (int i = 0; i < 3; ++i) {
      power *= x;
      J[i] = power / D;
      J[i + 3] = -N * power / (D * D);
    }
    dFdx = (dN * D - N * dD) / (D * D);
    return N / D;
  }
};

}  // namespace AR::CV::CameraCalibration
