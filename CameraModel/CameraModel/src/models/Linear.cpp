#include "Lens.h"

// LINEAR: the pinhole camera, F(x) = 1 everywhere.

namespace CamModel {

template <>
struct Lens<LINEAR> {
  static constexpr int kMaxCoeffs = 0;
  static constexpr bool kValidEverywhere = true;
  static constexpr LegacyForm kLegacy = {.mode = 0, .modeWithTangential = 0};

  template <typename P>
  static P factor(const RDVec<P>& /*k*/, P /*x*/) {
    return P(1);
  }

  template <typename P>
  static P inverse(const RDVec<P>& /*k*/, P /*y*/) {
    return P(1);
  }

  template <typename P>
  static P derivative(const RDVec<P>& /*k*/, P /*x*/, RDVec<P>& J, P& dFdx) {
    J = {};
    dFdx = P(0);
    return P(1);
  }
};

template struct LensRow<LINEAR, float>;
template struct LensRow<LINEAR, double>;

}  // namespace CamModel
