#pragma once

#include <algorithm>
#include <numbers>

#include "Lens.h"

// What FISHEYE_1_PARAMETER and FISHEYE_RATIONAL share: omega = k0 in (0, pi), of the field-of-view
// model of Devernay & Faugeras, "Straight lines have to be straight", 2001.

namespace CamModel {

struct FieldOfView {
  static constexpr char kRefusal[] =
      "Omega parameter of 1-param fisheye model and rational fisheye model (%f) must be in the "
      "range (0, Pi)\n";

  /// The formulas divide by omega: one that is not above this is taken for this.
  template <typename P>
  static constexpr P kMinOmega = P(0.0001);

  template <typename P>
  static P clampedOmega(const RDVec<P>& k) {
    return std::max(k[0], kMinOmega<P>);
  }

  /// Compares with pi in double in both precisions.
  template <typename P>
  static bool accepts(const RDVec<P>& k) {
    const double omega = k[0];
    return omega > 0 && omega < std::numbers::pi;
  }

  /// The closed inverse of the field-of-view model. Unlike the factor, takes omega as it is,
  /// without a lower bound.
  template <typename P>
  static P inverseByAngle(const RDVec<P>& k, P y) {
    const P omega = k[0];
    const P t = std::tan(omega / 2);
    if (y < kSmallSquaredRadius<P>) return (omega + omega * omega * omega * y / 3) / (2 * t);
    const P rd = std::sqrt(y);
    return std::tan(rd * omega) / (rd * 2 * t);
  }
};

}  // namespace CamModel
