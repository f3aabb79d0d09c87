#include "RadialPolynomial.h"

// RADIAL_3_PARAMETERS: F(x) = 1 + k0 x + k1 x^2 + k2 x^3.

namespace CamModel {

template <>
struct Lens<RADIAL_3_PARAMETERS> : RadialPolynomial {
  static constexpr int kMaxCoeffs = 3;
  static constexpr LegacyForm kLegacy = {
      .mode = 4, .modeWithTangential = 5, .numMarked = 3, .slots = kLegacySlots};

  /// Differentiates N only: validation keeps D at 1 for this model.
  template <typename P>
  static P derivative(const RDVec<P>& k, P x, RDVec<P>& J, P& dFdx) {
    J = RDVec<P>(x, x * x, x * x * x, P(0), P(0), P(0));
    dFdx = k[0] + 2 * x * k[1] + 3 * x * x * k[2];
    return factor(k, x);
  }
};

template struct LensRow<RADIAL_3_PARAMETERS, float>;
template struct LensRow<RADIAL_3_PARAMETERS, double>;

}  // namespace CamModel
