#pragma once

#include <cmath>

#include "CameraModel/Arctangent.h"
#include "CameraModel/models/DistortionDerivatives.h"

// FISHEYE_4_PARAMETERS: the angle polynomial of Kannala & Brandt, "A generic camera model and
// calibration method for conventional, wide-angle, and fish-eye lenses", 2006. With the squared
// ideal radius x, r = sqrt(x) and theta = atan(r):
//
//   F(x) = theta Q / r,   Q = 1 + k0 theta^2 + k1 theta^4 + k2 theta^6 + k3 theta^8
//
// Valid while theta Q grows with theta.

namespace CamModel {

/// Q as a function of its argument q = theta^2.
template <typename P>
P fisheye4Polynomial(const RDVec<P>& k, P q) {
  return 1 + q * (k[0] + q * (k[1] + q * (k[2] + q * k[3])));
}

template <typename P>
P fisheye4Factor(const RDVec<P>& k, P x) {
  if (x < P(0.0001)) return fisheye4Polynomial(k, x) - x / 3;
  const P r = std::sqrt(x);
  const P theta = arctangent(r);
  return theta * fisheye4Polynomial(k, theta * theta) / r;
}

}  // namespace CamModel

namespace AR::CV::CameraCalibration {

template <typename P>
struct DistortionDerivatives<P, CamModel::FISHEYE_4_PARAMETERS> {
  /// Near the centre the value is Q itself, without the -x/3 that the factor has there; the
  /// derivative is the factor's. Deliberately so.
  static P distortionFactorFisheye4Parameters(const CamModel::RDVec<P>& k, P x,
                                              CamModel::RDVec<P>& J, P& dFdx) {
    const P r = std::sqrt(x);
    const P theta = CamModel::arctangent(r);
    const P q = theta * theta;
    const P Q = CamModel::fisheye4Polynomial(k, q);
    const bool small = x < P(0.0001);
    const P theta_r = small ? P(1) : theta / r;
    J = CamModel::RDVec<P>(theta_r * q, theta_r * q * q, theta_r * q * q * q,
                           theta_r * q * q * q * q, P(0), P(0));
    if (small) {
      dFdx = k[0] - P(1) / 3;
      return Q;
    }
    const P dThetaQ = 1 + q * (3 * k[0] + q * (5 * k[1] + q * (7 * k[2] + q * 9 * k[3])));
    dFdx = (r * dThetaQ / (x + 1) - theta * Q) / (2 * r * r * r);
    return theta * Q / r;
  }
};

}  // namespace AR::CV::CameraCalibration
