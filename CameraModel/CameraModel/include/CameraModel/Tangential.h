#pragma once

#include "AR/Math/Vector.h"

namespace CamModel {

/// What a lens whose elements are not centred adds to the distorted position of the ideal point
/// `ideal`, both in the normalised plane (Brown, "Decentering distortion of lenses", 1966), with
/// p = (p1, p2):
///
///   T.x = 2 p1 x y + p2 (3 x^2 + y^2),   T.y = p1 (x^2 + 3 y^2) + 2 p2 x y
///
/// The same for every distortion model, and added to it: d = F(x^2 + y^2) ideal + T(ideal). The
/// vector kernel of maps repeats these operations in this order, so that an iteration over them
/// settles for the same pixels.
template <typename P>
[[nodiscard]] inline AR::Math::Vec<P, 2> tangentialTerm(const AR::Math::Vec<P, 2>& p,
                                                        const AR::Math::Vec<P, 2>& ideal) {
  const P x = ideal(0);
  const P y = ideal(1);
  return AR::Math::Vec<P, 2>(2 * p(0) * x * y + p(1) * (3 * x * x + y * y),
                             p(0) * (x * x + 3 * y * y) + 2 * p(1) * x * y);
}

/// True when T is more than nothing.
template <typename P>
[[nodiscard]] inline bool hasTangentialTerm(const AR::Math::Vec<P, 2>& p) {
  return p(0) != 0 || p(1) != 0;
}

}  // namespace CamModel
