#include "AR/CV/Camera/Interchange.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "AR/Math/Matrix.h"
#include "AR/Math/SO3.h"
#include "AR/Math/Vector.h"

namespace AR::CV {
namespace {

template <typename P>
Math::Mat<P, 3, 3> rotationOfUnit(const P x, const P y, const P z, const P w) {
  return {1 - 2 * (y * y + z * z), 2 * (x * y - z * w),     2 * (x * z + y * w),
          2 * (x * y + z * w),     1 - 2 * (x * x + z * z), 2 * (y * z - x * w),
          2 * (x * z - y * w),     2 * (y * z + x * w),     1 - 2 * (x * x + y * y)};
}

template <typename P>
Math::SO3<P> toRotation(const QuaternionZEL& orientation) {
  Math::Vec<double, 4> q(orientation.x, orientation.y, orientation.z, orientation.w);
  Math::normalize(q);
  Math::Mat<P, 3, 3> R = rotationOfUnit<P>(static_cast<P>(q[0]), static_cast<P>(q[1]),
                                           static_cast<P>(q[2]), static_cast<P>(q[3]));
  Math::enforceRotation(R);
  return Math::SO3<P>(R);
}

// The rows of 4 q q^T, written with the entries of R, are multiples of q; the one with the largest
// diagonal entry is at least 1 long, so it alone never suffers from cancellation.
QuaternionZEL toQuaternion(const Math::Mat<double, 3, 3>& R) {
  const double xy = R(1, 0) + R(0, 1), xz = R(0, 2) + R(2, 0), yz = R(2, 1) + R(1, 2);
  const double xw = R(2, 1) - R(1, 2), yw = R(0, 2) - R(2, 0), zw = R(1, 0) - R(0, 1);
  const std::array<QuaternionZEL, 4> rows = {{{1 + R(0, 0) - R(1, 1) - R(2, 2), xy, xz, xw},
                                              {xy, 1 - R(0, 0) + R(1, 1) - R(2, 2), yz, yw},
                                              {xz, yz, 1 - R(0, 0) - R(1, 1) + R(2, 2), zw},
                                              {xw, yw, zw, 1 + R(0, 0) + R(1, 1) + R(2, 2)}}};
  const double diagonal[] = {rows[0].x, rows[1].y, rows[2].z, rows[3].w};
  const auto largest = std::max_element(std::begin(diagonal), std::end(diagonal));
  const auto& [x, y, z, w] = rows[static_cast<std::size_t>(largest - std::begin(diagonal))];
  const double length = std::sqrt(x * x + y * y + z * z + w * w);
  return {x / length, y / length, z / length, w / length};
}

}  // namespace

template <typename P>
Math::SE3<P> idl2se3(const XrPosedZEL_t& pose) {
  const auto& [x, y, z] = pose.position;
  const Math::Vec<P, 3> t(static_cast<P>(x), static_cast<P>(y), static_cast<P>(z));
  return Math::SE3<P>(toRotation<P>(pose.orientation), t);
}

Math::SE3<float> toXRRD(const XrPosedZEL_t& pose) { return idl2se3<float>(pose); }

template <typename P>
XrPosedZEL_t se32idl(const Math::SE3<P>& T) {
  const Math::Vec<double, 3> t = T.translation().template cast<double>();
  const Math::Mat<double, 3, 3> R = T.rotation().matrix().template cast<double>();
  return {toQuaternion(R), {t[0], t[1], t[2]}};
}

template Math::SE3<float> idl2se3<float>(const XrPosedZEL_t&);
template Math::SE3<double> idl2se3<double>(const XrPosedZEL_t&);
template XrPosedZEL_t se32idl<float>(const Math::SE3<float>&);
template XrPosedZEL_t se32idl<double>(const Math::SE3<double>&);

}  // namespace AR::CV
