#include "Lens.h"

// CHEBYSHEV_4_PARAMETERS: the even angle polynomial of the four-parameter fisheye in a basis of
// Chebyshev polynomials of the first kind T_2n (Mason & Handscomb, "Chebyshev Polynomials",
// 2003), better conditioned to calibrate. With the squared ideal radius x, r = sqrt(x),
// theta = atan(r) and u = (theta / 1.75)^2 = theta^2 * 16/49:
//
//   F(x) = theta C(u) / r,   C(u) = 1 + sum over n = 1..4 of k(n-1) (T_2n(sqrt(u)) - T_2n(0))
//
// Valid while theta C grows with theta; the basis is meant for theta up to 1.75.

namespace CamModel {

template <>
struct Lens<CHEBYSHEV_4_PARAMETERS> {
  static constexpr int kMaxCoeffs = 4;

  /// u = kScale * theta^2
  template <typename P>
  static constexpr P kScale = P(16) / P(49);

  /// The even Chebyshev polynomials less their values at 0, as functions of u, in the first four
  /// places.
  template <typename P>
  static RDVec<P> basis(P u) {
    return RDVec<P>(u * 2, u * (-8 + u * 8), u * (18 + u * (-48 + u * 32)),
                    u * (-32 + u * (160 + u * (-256 + u * 128))), P(0), P(0));
  }

  /// The derivatives of the basis by u.
  template <typename P>
  static RDVec<P> basisDerivative(P u) {
    return RDVec<P>(P(2), -8 + u * 16, 18 + u * (-96 + u * 96),
                    -32 + u * (320 + u * (-768 + u * 512)), P(0), P(0));
  }

  /// C(u) - 1 from basis(u), C'(u) from its derivative.
  template <typename P>
  static P sum(const RDVec<P>& k, const RDVec<P>& basis) {
    return k[0] * basis[0] + k[1] * basis[1] + k[2] * basis[2] + k[3] * basis[3];
  }

  template <typename P>
  static P factor(const RDVec<P>& k, P x) {
    if (x < kSmallSquaredRadius<P>) return 1 + sum(k, basis(x * kScale<P>)) - x / 3;
    const P r = std::sqrt(x);
    const P theta = arctangent(r);
    return theta * (1 + sum(k, basis(theta * theta * kScale<P>))) / r;
  }

  template <typename P>
  static P derivative(const RDVec<P>& k, P x, RDVec<P>& J, P& dFdx) {
    const bool small = x < kSmallSquaredRadius<P>;
    const P r = std::sqrt(x);
    const P theta = arctangent(r);
    const P u = (small ? x : theta * theta) * kScale<P>;
    const RDVec<P> basis_u = basis(u);
    const P C = 1 + sum(k, basis_u);
    const P dC = sum(k, basisDerivative(u));
    if (small) {
      J = basis_u;
      dFdx = dC * kScale<P> - P(1) / 3;
      return C - x / 3;
    }
    J = basis_u * (theta / r);
    dFdx = (r * (C + 2 * u * dC) / (x + 1) - theta * C) / (2 * r * r * r);
    return theta * C / r;
  }
};

template struct LensRow<CHEBYSHEV_4_PARAMETERS, float>;
template struct LensRow<CHEBYSHEV_4_PARAMETERS, double>;

}  // namespace CamModel
