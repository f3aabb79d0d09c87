#include "CameraModel/SolveCubic.h"
#include "FieldOfView.h"

// FISHEYE_RATIONAL: the distorted radius of the field-of-view model (Devernay & Faugeras 2001)
// refined by a rational polynomial in the manner of Claus & Fitzgibbon 2005. With omega = k0 in
// (0, pi), t = tan(omega / 2), the squared ideal radius x and r = sqrt(x):
//
//   rho = atan(2 r t) / omega
//   F(x) = N / (r D),   N = rho (1 + k1 rho + k4 rho^2),   D = 1 + k2 rho + k3 rho^2 + k5 rho^3
//
// Valid where D > 0 and r F grows with r.

namespace CamModel {

template <>
struct Lens<FISHEYE_RATIONAL> : FieldOfView {
  static constexpr int kMaxCoeffs = 6;
  static constexpr char kPoleText[] =
      "Rational fisheye model: root of denominator at %f, truncate at %f\n";

  /// This model's own bound of its branch near the centre, not kSmallSquaredRadius: it belongs to
  /// the model's definition as much as the branch does.
  template <typename P>
  static constexpr P kOwnSmallSquaredRadius = P(0.00001);

  template <typename P>
  static P numerator(const RDVec<P>& k, P rho) {
    return rho * (1 + rho * (k[1] + rho * k[4]));
  }

  template <typename P>
  static P denominator(const RDVec<P>& k, P rho) {
    return 1 + rho * (k[2] + rho * (k[3] + rho * k[5]));
  }

  /// The branch near the centre is not the series of the main one (its second term has x where the
  /// series has r). Deliberately so, together with its own bound.
  template <typename P>
  static P factor(const RDVec<P>& k, P x) {
    const P omega = clampedOmega(k);
    const P t = std::tan(omega / 2);
    if (x < kOwnSmallSquaredRadius<P>) return 2 * t / omega - 2 * k[2] * t * t * x;
    const P r = std::sqrt(x);
    const P rho = arctangent(2 * r * t) / omega;
    return numerator(k, rho) / (r * denominator(k, rho));
  }

  /// Where omega is bounded below as in the factor, the factor does not depend on k0.
  template <typename P>
  static P derivative(const RDVec<P>& k, P x, RDVec<P>& J, P& dFdx) {
    J = {};
    const P omega = clampedOmega(k);
    const P t = std::tan(omega / 2);
    const bool small = x < kOwnSmallSquaredRadius<P>;
    const P F = small ? derivativeNearCentre(k, x, omega, t, J, dFdx)
                      : derivativeAway(k, x, omega, t, J, dFdx);
    if (!(k[0] > kMinOmega<P>)) J[0] = 0;
    return F;
  }

  /// The first angle at which D has fallen to 0.1; looked for only when k5 != 0. The root is taken
  /// for a squared radius here, deliberately.
  template <typename P>
  static std::optional<Pole<P>> findPole(const RDVec<P>& k) {
    if (k[5] == 0) return std::nullopt;
    for (const P z : solveCubic(k[5], k[3], k[2], P(0.9))) {
      if (!(z > 0)) continue;
      // pi^2 / 4: the field-of-view model's inverse has no value beyond.
      if (!(z * k[0] * k[0] < P(2.467401))) return std::nullopt;
      const P r = std::sqrt(z) * inverseByAngle(k, z);
      return Pole<P>{z, r * r - P(0.1)};
    }
    return std::nullopt;
  }

 private:
  template <typename P>
  static P derivativeNearCentre(const RDVec<P>& k, P x, P omega, P t, RDVec<P>& J, P& dFdx) {
    J[0] = (1 + t * t - 2 * t / omega) / omega - 2 * k[2] * x * t * (1 + t * t);
    J[2] = -2 * t * t * x;
    dFdx = -2 * k[2] * t * t;
    return 2 * t / omega - 2 * k[2] * t * t * x;
  }

  template <typename P>
  static P derivativeAway(const RDVec<P>& k, P x, P omega, P t, RDVec<P>& J, P& dFdx) {
    const P r = std::sqrt(x);
    const P rho = arctangent(2 * r * t) / omega;
    const P N = numerator(k, rho);
    const P D = denominator(k, rho);
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

template struct LensRow<FISHEYE_RATIONAL, float>;
template struct LensRow<FISHEYE_RATIONAL, double>;

}  // namespace CamModel
