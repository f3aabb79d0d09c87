#include "AR/CV/Stereo/MidPoint.h"

#include <cmath>

namespace AR::CV::MidPoint {
namespace {

template <typename P>
TriangulationDetails<P> describe(const Math::Vec<P, 3>& dir1, const Math::Vec<P, 3>& dir2,
                                 const Math::Vec<P, 3>& p1, const Math::Vec<P, 3>& p2) {
  TriangulationDetails<P> details;
  details.distance = Math::norm(p1 - p2);
  details.closest1 = p1;
  details.closest2 = p2;
  details.cosAngle = Math::dot(Math::unit(dir1), Math::unit(dir2));
  // Rounding may put the cosine of parallel rays beyond 1, where acos has no value.
  const bool isCosine = details.cosAngle >= -1 && details.cosAngle <= 1;
  details.angle = isCosine ? std::acos(details.cosAngle) : P(0);
  return details;
}

}  // namespace

template <typename P>
bool twoPoints(const Math::Vec<P, 3>& origin1, const Math::Vec<P, 3>& dir1,
               const Math::Vec<P, 3>& origin2, const Math::Vec<P, 3>& dir2, Math::Vec<P, 3>& point,
               TriangulationDetails<P>* details) {
  const Math::Vec<P, 3> n = Math::cross(dir1, dir2);
  const P n2 = Math::dot(n, n);
  if (n2 == 0) return false;
  // w + t2 dir2 - t1 dir1 joins the closest points and is parallel to n: its cross product with one
  // direction, taken along n, leaves the factor of the other.
  const Math::Vec<P, 3> w = origin2 - origin1;
  const P t1 = Math::dot(Math::cross(w, dir2), n) / n2;
  const P t2 = Math::dot(Math::cross(w, dir1), n) / n2;
  const Math::Vec<P, 3> p1 = origin1 + dir1 * t1;
  const Math::Vec<P, 3> p2 = origin2 + dir2 * t2;
  if (details != nullptr) *details = describe(dir1, dir2, p1, p2);
  point = (p1 + p2) / P(2);
  return true;
}

template bool twoPoints(const Math::Vec<float, 3>&, const Math::Vec<float, 3>&,
                        const Math::Vec<float, 3>&, const Math::Vec<float, 3>&,
                        Math::Vec<float, 3>&, TriangulationDetails<float>*);
template bool twoPoints(const Math::Vec<double, 3>&, const Math::Vec<double, 3>&,
                        const Math::Vec<double, 3>&, const Math::Vec<double, 3>&,
                        Math::Vec<double, 3>&, TriangulationDetails<double>*);

}  // namespace AR::CV::MidPoint
