#include "CameraModel/SolveCubic.h"
#include "RadialPolynomial.h"

// RADIAL_6_PARAMETERS: F(x) = N / D with all six coefficients.

namespace CamModel {

template <>
struct Lens<RADIAL_6_PARAMETERS> : RadialPolynomial {
  static constexpr int kMaxCoeffs = 6;
  static constexpr LegacyForm kLegacy = {
      .mode = 6, .modeWithTangential = 7, .numMarked = 6, .slots = kLegacySlots};
  static constexpr char kPoleText[] = "Radial polynomial model: root of denominator at %f\n";

  template <typename P>
  static P derivative(const RDVec<P>& k, P x, RDVec<P>& J, P& dFdx) {
    const P N = numerator(k, x);
    const P D = denominator(k, x);
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

  /// The first squared radius at which D has fallen to 0.1; looked for only when k5 != 0.
  template <typename P>
  static std::optional<Pole<P>> findPole(const RDVec<P>& k) {
    if (k[5] == 0) return std::nullopt;
    for (const P root : solveCubic(k[5], k[4], k[3], P(0.9))) {
      if (root > 0) return Pole<P>{root, root - P(0.1)};
    }
    return std::nullopt;
  }
};

template struct LensRow<RADIAL_6_PARAMETERS, float>;
template struct LensRow<RADIAL_6_PARAMETERS, double>;

}  // namespace CamModel
