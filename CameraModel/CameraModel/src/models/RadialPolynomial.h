#pragma once

#include "Lens.h"

// The formula that RADIAL_2_PARAMETERS, RADIAL_3_PARAMETERS and RADIAL_6_PARAMETERS share: with x
// the squared ideal radius,
//
//   F(x) = N / D,   N = 1 + k0 x + k1 x^2 + k2 x^3,   D = 1 + k3 x + k4 x^2 + k5 x^3
//
// The first two use k0, k1 (and k2) alone (Brown, "Close-range camera calibration", 1971); the
// third is the rational form of Claus & Fitzgibbon, "A rational function lens distortion model
// for general cameras", 2005, restricted to the radius. Valid where D > 0 and r F grows with r.

namespace CamModel {

struct RadialPolynomial {
  template <typename P>
  static P numerator(const RDVec<P>& k, P x) {
    return 1 + x * (k[0] + x * (k[1] + x * k[2]));
  }

  template <typename P>
  static P denominator(const RDVec<P>& k, P x) {
    return 1 + x * (k[3] + x * (k[4] + x * k[5]));
  }

  template <typename P>
  static P factor(const RDVec<P>& k, P x) {
    return numerator(k, x) / denominator(k, x);
  }
};

}  // namespace CamModel
