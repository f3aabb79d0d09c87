#include "RadialPolynomial.h"

// RADIAL_2_PARAMETERS: F(x) = 1 + k0 x + k1 x^2.

namespace CamModel {

template <>
struct Lens<RADIAL_2_PARAMETERS> : RadialPolynomial {
  static constexpr int kMaxCoeffs = 2;
  static constexpr LegacyForm kLegacy = {
      .mode = 2, .modeWithTangential = 3, .numMarked = 2, .slots = kLegacySlots};

  /// Differentiates N only: validation keeps D at 1 for this model.
  template <typename P>
  static P derivative(const RDVec<P>& k, P x, RDVec<P>& J, P& dFdx) {
    J = RDVec<P>(x, x * x, P(0), P(0), P(0), P(0));
    dFdx = k[0] + 2 * x * k[1];
    return factor(k, x);
  }
};

template struct LensRow<RADIAL_2_PARAMETERS, float>;
template struct LensRow<RADIAL_2_PARAMETERS, double>;

}  // namespace CamModel
