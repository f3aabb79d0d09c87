#pragma once

#include "AR/Math/Vector.h"

namespace AR::CV::MidPoint {

/// How two rays pass each other; lengths in the units of the rays' origins.
template <typename P>
struct TriangulationDetails {
  P angle;     // between the rays, radians; 0 when rounding puts the cosine outside [-1, 1]
  P cosAngle;  // its cosine
  P distance;  // between the two closest points
  Math::Vec<P, 3> closest1;  // on the first ray
  Math::Vec<P, 3> closest2;  // on the second ray
};

/// Midpoint triangulation of two rays given in one frame (Hartley & Sturm, "Triangulation", 1997).
///
/// @param dir1, dir2  directions of any length; with `details`, fatal ("length>0") when one is NaN
/// @param point       the middle of the shortest connection; unchanged on false
/// @param details     may be null
/// @return false for exactly parallel rays, and when a direction has length 0
template <typename P>
bool twoPoints(const Math::Vec<P, 3>& origin1, const Math::Vec<P, 3>& dir1,
               const Math::Vec<P, 3>& origin2, const Math::Vec<P, 3>& dir2, Math::Vec<P, 3>& point,
               TriangulationDetails<P>* details = nullptr);

extern template bool twoPoints(const Math::Vec<float, 3>&, const Math::Vec<float, 3>&,
                               const Math::Vec<float, 3>&, const Math::Vec<float, 3>&,
                               Math::Vec<float, 3>&, TriangulationDetails<float>*);
extern template bool twoPoints(const Math::Vec<double, 3>&, const Math::Vec<double, 3>&,
                               const Math::Vec<double, 3>&, const Math::Vec<double, 3>&,
                               Math::Vec<double, 3>&, TriangulationDetails<double>*);

}  // namespace AR::CV::MidPoint
