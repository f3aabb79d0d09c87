#pragma once

#include <cmath>

namespace CamModel {

/// atan(x). In single precision without a branch or a call, so that loops over many radii are
/// vectorised, and to the same bits on every platform: the reduction to four intervals and the
/// polynomial of fdlibm's atanf (Ng, Sun Microsystems 1993), which is good to 1 ulp.
inline double arctangent(double x) { return std::atan(x); }

inline float arctangent(float x) {
  // atan(a) = hi + lo + atan(n / d), with hi + lo = atan(1/2), atan(1), atan(3/2) or pi/2.
  const float a = std::abs(x);
  float n = a, d = 1, hi = 0, lo = 0;
  const auto from = [&](float start, float n_i, float d_i, float hi_i, float lo_i) {
    const bool inside = a >= start;
    n = inside ? n_i : n;
    d = inside ? d_i : d;
    hi = inside ? hi_i : hi;
    lo = inside ? lo_i : lo;
  };
  from(0.4375F, 2 * a - 1, 2 + a, 0.46364760F, 5.01215824e-9F);
  from(0.6875F, a - 1, a + 1, 0.78539812F, 3.77489471e-8F);
  from(1.1875F, a - 1.5F, 1 + 1.5F * a, 0.98279369F, 3.44732172e-8F);
  from(2.4375F, -1, a, 1.57079625F, 7.54978942e-8F);
  const float q = n / d;
  const float z = q * q;
  const float w = z * z;
  // q - atan(q) = q (odd + even), the terms of the polynomial in turn.
  const float odd =
      z *
      (0.333333343F +
       w * (0.142857149F +
            w * (0.0909088701F + w * (0.0666107312F + w * (0.0497687794F + w * 0.0162858198F)))));
  const float even =
      w * (-0.200000003F +
           w * (-0.111111104F + w * (-0.0769187585F + w * (-0.0583357029F + w * -0.0365315713F))));
  return std::copysign(hi - ((q * (odd + even) - lo) - q), x);
}

}  // namespace CamModel
