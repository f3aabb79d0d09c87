#include "Pose.h"

#include <cmath>

namespace rectiline::check {
namespace {

PositionZEL cross(const PositionZEL& a, const PositionZEL& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

PositionZEL plus(const PositionZEL& a, const PositionZEL& b, double factor) {
  return {a.x + factor * b.x, a.y + factor * b.y, a.z + factor * b.z};
}

PositionZEL rotate(const QuaternionZEL& q, const PositionZEL& p) {
  const PositionZEL v{q.x, q.y, q.z};
  return plus(p, cross(v, plus(cross(v, p), p, q.w)), 2);
}

QuaternionZEL product(const QuaternionZEL& a, const QuaternionZEL& b) {
  return {
      a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y, a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
      a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w, a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z};
}

}  // namespace

QuaternionZEL inverse(const QuaternionZEL& q) { return {-q.x, -q.y, -q.z, q.w}; }

XrPosedZEL_t inverse(const XrPosedZEL_t& T_a_b) {
  const QuaternionZEL q = inverse(T_a_b.orientation);
  return {q, plus({0, 0, 0}, rotate(q, T_a_b.position), -1)};
}

XrPosedZEL_t compose(const XrPosedZEL_t& T_a_b, const XrPosedZEL_t& T_b_c) {
  return {product(T_a_b.orientation, T_b_c.orientation),
          plus(T_a_b.position, rotate(T_a_b.orientation, T_b_c.position), 1)};
}

QuaternionZEL rotationOf(double x, double y, double z) {
  const double angle = std::sqrt(x * x + y * y + z * z);
  const double scale = angle > 0 ? std::sin(angle / 2) / angle : 0.5;
  return {scale * x, scale * y, scale * z, std::cos(angle / 2)};
}

}  // namespace rectiline::check
