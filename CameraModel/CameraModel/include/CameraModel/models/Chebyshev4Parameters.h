#pragma once

#include <cmath>

#include "CameraModel/Arctangent.h"
#include "CameraModel/models/DistortionDerivatives.h"

// CHEBYSHEV_4_PARAMETERS: the even angle polynomial of the four-parameter fisheye in a basis of
// Chebyshev polynomials of the first kind T_2n (Mason & Handscomb, "Chebyshev Polynomials",
// 2003), better conditioned to calibrate. With the squared ideal radius x, r = sqrt(x),
// theta = atan(r) and u = (theta / 1.75)^2 = theta^2 * 16/49:
//
//   F(x) = theta C(u) / r,   C(u) = 1 + sum over n = 1..4 of k(n-1) (T_2n(sqrt(u)) - T_2n(0))
//
// Valid while theta C grows with theta; the basis is meant for theta up to 1.75.

namespace CamModel {

/// u = kChebyshevScale * theta^2
template <typename P>
inline constexpr P kChebyshevScale = P(16) / P(49);

/// The even Chebyshev polynomials less their values at 0, as functions of u, in the first four
/// places.
template <typename P>
RDVec<P> chebyshevBasis(P u) {
  return RDVec<P>(u * 2, u * (-8 + u * 8), u * (18 + u * (-48 + u * 32)),
                  u * (-32 + u * (160 + u * (-256 + u * 128))), P(0), P(0));
}

/// The derivatives of chebyshevBasis by u.
template <typename P>
RDVec<P> chebyshevBasisDerivative(P u) {
  return RDVec<P>(P(2), -8 + u * 16, 18 + u * (-96 + u * 96),
                  -32 + u * (320 + u * (-768 + u * 512)), P(0), P(0));
}

/// C(u) - 1 from chebyshevBasis(u), C'(u) from its derivative.
template <typename P>
P chebyshevSum(const RDVec<P>& k, const RDVec<P>& basis) {
  return k[0] * basis[0] + k[1] * basis[1] + k[2] * basis[2] + k[3] * basis[3];
}

template <typename P>
P chebyshev4Factor(const RDVec<P>& k, P x) {
  if (x < P(0.0001)) return 1 + chebyshevSum(k, chebyshevBasis(x * kChebyshevScale<P>)) - x / 3;
  const P r = std::sqrt(x);
  const P theta = arctangent(r);
  return theta * (1 + chebyshevSum(k, chebyshevBasis(theta * theta * kChebyshevScale<P>))) / r;
}

}  // namespace CamModel

namespace AR::CV::CameraCalibration {

template <typename P>
struct DistortionDerivatives<P, CamModel::CHEBYSHEV_4_PARAMETERS> {
  static P distortionFactorChebyshev4Parameters(const CamModel::RDVec<P>& k, P x,
                                                CamModel::RDVec<P>& J, P& dFdx) {
    using CamModel::chebyshevSum;
    const bool small = x < P(0.0001);
    const P r = std::sqrt(x);
    const P theta = CamModel::arctangent(r);
    const P u = (small ? x : theta * theta) * CamModel::kChebyshevScale<P>;
    const CamModel::RDVec<P> basis = CamModel::chebyshevBasis(u);
    const P C = 1 + chebyshevSum(k, basis);
    const P dC = chebyshevSum(k, CamModel::chebyshevBasisDerivative(u));
    if (small) {
      J = basis;
      dFdx = dC * CamModel::kChebyshevScale<P> - P(1) / 3;
      return C - x / 3;
    }
    J = basis * (theta / r);
    dFdx = (r * (C + 2 * u * dC) / (x + 1) - theta * C) / (2 * r * r * r);
    return theta * C / r;
  }
};

}  // namespace AR::CV::CameraCalibration
