#include <numbers>

#include "Lens.h"

// FISHEYE_SPLINE_3: a cubic Hermite spline (de Boor, "A Practical Guide to Splines", 1978) over the
// angle theta = atan(r), r = sqrt(x), of three segments of pi/6 each:
//
//   F(x) = theta g(theta) / r
//
// with g = 1 and slope 0 at theta = 0, and at theta = pi/6, pi/3, pi/2 the values 1 + k0, 1 + k2,
// 1 + k4 and the slopes k1, k3, k5 (per segment, not per radian). Valid while theta g grows with
// theta; past pi/2, which no finite radius reaches but by rounding, the last cubic goes on.

namespace CamModel {

template <>
struct Lens<FISHEYE_SPLINE_3> {
  static constexpr int kMaxCoeffs = 6;

  /// Segments per radian of theta.
  template <typename P>
  static constexpr P kScale = P(6 / std::numbers::pi);

  /// Its square, rounded once.
  template <typename P>
  static constexpr P kScaleSquared = P(36 / (std::numbers::pi * std::numbers::pi));

  /// Where in the spline an angle lies, with the weights of both knots' values and slopes.
  template <typename P>
  struct Weights {
    int segment;             // 0 to 2
    P value[2], slope[2];    // weights of the left knot, of the right one
    P dValue[2], dSlope[2];  // their derivatives by tau
  };

  template <typename P>
  static Weights<P> weightsAt(P theta) {
    const P s = theta * kScale<P>;
    const int j = (s >= 1 ? 1 : 0) + (s >= 2 ? 1 : 0);
    const P tau = s - static_cast<P>(j);
    const P tau2 = tau * tau;
    const P tau3 = tau2 * tau;
    return {.segment = j,
            .value = {2 * tau3 - 3 * tau2 + 1, -2 * tau3 + 3 * tau2},
            .slope = {tau3 - 2 * tau2 + tau, tau3 - tau2},
            .dValue = {6 * tau2 - 6 * tau, -6 * tau2 + 6 * tau},
            .dSlope = {3 * tau2 - 4 * tau + 1, 3 * tau2 - 2 * tau}};
  }

  /// Value and slope at knot 0 (theta = 0) to 3 (theta = pi/2). Selected, not indexed: so a loop
  /// over many radii has no branch and is vectorised.
  template <typename P>
  static P knotValue(const RDVec<P>& k, int knot) {
    return 1 + (knot < 1 ? P(0) : knot < 2 ? k[0] : knot < 3 ? k[2] : k[4]);
  }

  template <typename P>
  static P knotSlope(const RDVec<P>& k, int knot) {
    return knot < 1 ? P(0) : knot < 2 ? k[1] : knot < 3 ? k[3] : k[5];
  }

  /// The sum of both knots' values and slopes with the given weights: g, or its derivative by tau.
  template <typename P>
  static P sum(const RDVec<P>& k, int segment, const P (&value)[2], const P (&slope)[2]) {
    return value[0] * knotValue(k, segment) + slope[0] * knotSlope(k, segment) +
           value[1] * knotValue(k, segment + 1) + slope[1] * knotSlope(k, segment + 1);
  }

  /// dF/dx at the centre.
  template <typename P>
  static P curvature(const RDVec<P>& k) {
    return P(-1) / 3 + (3 * k[0] - k[1]) * kScaleSquared<P>;
  }

  template <typename P>
  static P factor(const RDVec<P>& k, P x) {
    if (x < kSmallSquaredRadius<P>) return 1 + curvature(k) * x;
    const P r = std::sqrt(x);
    const P theta = arctangent(r);
    const Weights<P> w = weightsAt(theta);
    return theta * sum(k, w.segment, w.value, w.slope) / r;
  }

  template <typename P>
  static P derivative(const RDVec<P>& k, P x, RDVec<P>& J, P& dFdx) {
    J = {};
    if (x < kSmallSquaredRadius<P>) return derivativeNearCentre(k, x, J, dFdx);
    const P r = std::sqrt(x);
    const P theta = arctangent(r);
    const Weights<P> w = weightsAt(theta);
    for (int side = 0; side < 2; ++side) {
      const int knot = w.segment + side;
      if (knot < 1) continue;
      J[2 * knot - 2] = w.value[side] * theta / r;
      J[2 * knot - 1] = w.slope[side] * theta / r;
    }
    const P g = sum(k, w.segment, w.value, w.slope);
    const P dg = sum(k, w.segment, w.dValue, w.dSlope);
    const P dThetaG = g + theta * dg * kScale<P>;
    dFdx = (r * dThetaG / (x + 1) - theta * g) / (2 * r * r * r);
    return theta * g / r;
  }

 private:
  template <typename P>
  static P derivativeNearCentre(const RDVec<P>& k, P x, RDVec<P>& J, P& dFdx) {
    J[0] = 3 * kScaleSquared<P> * x;
    J[1] = -kScaleSquared<P> * x;
    dFdx = curvature(k);
    return 1 + dFdx * x;
  }
};

template struct LensRow<FISHEYE_SPLINE_3, float>;
template struct LensRow<FISHEYE_SPLINE_3, double>;

}  // namespace CamModel
