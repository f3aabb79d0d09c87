#include "Lens.h"

// FISHEYE_4_PARAMETERS: the angle polynomial of Kannala & Brandt, "A generic camera model and
// calibration method for conventional, wide-angle, and fish-eye lenses", 2006. With the squared
// ideal radius x, r = sqrt(x) and theta = atan(r):
//
//   F(x) = theta Q / r,   Q = 1 + k0 theta^2 + k1 theta^4 + k2 theta^6 + k3 theta^8
//
// Valid while theta Q grows with theta.

namespace CamModel {

template <>
struct Lens<FISHEYE_4_PARAMETERS> {
  static constexpr int kMaxCoeffs = 4;
  /// The one legacy form that has no place for tangential coefficients.
  static constexpr int kLegacyLeadingSlots[] = {0, 1, 2, 3};
  static constexpr LegacyForm kLegacy = {
      .mode = 8, .modeWithTangential = 8, .numMarked = 4, .slots = kLegacyLeadingSlots};

  /// Q as a function of its argument q = theta^2.
  template <typename P>
  static P polynomial(const RDVec<P>& k, P q) {
    return 1 + q * (k[0] + q * (k[1] + q * (k[2] + q * k[3])));
  }

  template <typename P>
  static P factor(const RDVec<P>& k, P x) {
    if (x < kSmallSquaredRadius<P>) return polynomial(k, x) - x / 3;
    const P r = std::sqrt(x);
    const P theta = arctangent(r);
    return theta * polynomial(k, theta * theta) / r;
  }

  /// Near the centre the value is Q itself, without the -x/3 that the factor has there; the
  /// derivative is the factor's. Deliberately so.
  template <typename P>
  static P derivative(const RDVec<P>& k, P x, RDVec<P>& J, P& dFdx) {
    const P r = std::sqrt(x);
    const P theta = arctangent(r);
    const P q = theta * theta;
    const P Q = polynomial(k, q);
    const bool small = x < kSmallSquaredRadius<P>;
    const P theta_r = small ? P(1) : theta / r;
    J = RDVec<P>(theta_r * q, theta_r * q * q, theta_r * q * q * q, theta_r * q * q * q * q, P(0),
                 P(0));
    if (small) {
      dFdx = k[0] - P(1) / 3;
      return Q;
    }
    const P dThetaQ = 1 + q * (3 * k[0] + q * (5 * k[1] + q * (7 * k[2] + q * 9 * k[3])));
    dFdx = (r * dThetaQ / (x + 1) - theta * Q) / (2 * r * r * r);
    return theta * Q / r;
  }
};

template struct LensRow<FISHEYE_4_PARAMETERS, float>;
template struct LensRow<FISHEYE_4_PARAMETERS, double>;

}  // namespace CamModel
