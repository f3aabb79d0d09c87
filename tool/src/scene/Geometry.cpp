#include "scene/Geometry.h"

#include <cmath>

namespace rectiline::tool {
namespace {

Vec3d toVec3d(const PositionZEL& p) { return {p.x, p.y, p.z}; }

}  // namespace

double dot(const Vec3d& a, const Vec3d& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

Vec3d cross(const Vec3d& a, const Vec3d& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Vec3d rotate(const double (&R)[9], const Vec3d& v) {
  return {dot({R[0], R[1], R[2]}, v), dot({R[3], R[4], R[5]}, v), dot({R[6], R[7], R[8]}, v)};
}

Vec3d rotateBack(const double (&R)[9], const Vec3d& v) {
  return {dot({R[0], R[3], R[6]}, v), dot({R[1], R[4], R[7]}, v), dot({R[2], R[5], R[8]}, v)};
}

Vec3d rotate(const QuaternionZEL& q, const Vec3d& p) {
  const Vec3d v{q.x, q.y, q.z};
  const Vec3d c = cross(v, p) + p * q.w;
  return p + cross(v, c) * 2;
}

Vec3d rotateBack(const QuaternionZEL& q, const Vec3d& p) {
  return rotate(QuaternionZEL{-q.x, -q.y, -q.z, q.w}, p);
}

QuaternionZEL toQuaternion(const double (&R)[9]) {
  const double trace = R[0] + R[4] + R[8];
  // Each of these is four times the square of a component; the largest is at least 1.
  const double w = 1 + trace, x = 1 + 2 * R[0] - trace, y = 1 + 2 * R[4] - trace,
               z = 1 + 2 * R[8] - trace;
  const double xw = R[7] - R[5], yw = R[2] - R[6], zw = R[3] - R[1];
  const double xy = R[3] + R[1], xz = R[2] + R[6], yz = R[7] + R[5];
  QuaternionZEL q{xw, yw, zw, w};
  if (x > w && x >= y && x >= z) q = {x, xy, xz, xw};
  if (y > w && y > x && y >= z) q = {xy, y, yz, yw};
  if (z > w && z > x && z > y) q = {xz, yz, z, zw};
  const double length = std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
  return {q.x / length, q.y / length, q.z / length, q.w / length};
}

Vec3d toReference(const XrPosedZEL_t& T_camera_ref, const Vec3d& P_camera) {
  return rotateBack(T_camera_ref.orientation, P_camera - toVec3d(T_camera_ref.position));
}

Vec3d toCamera(const XrPosedZEL_t& T_camera_ref, const Vec3d& P_ref) {
  return rotate(T_camera_ref.orientation, P_ref) + toVec3d(T_camera_ref.position);
}

}  // namespace rectiline::tool
