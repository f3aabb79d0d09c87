#include "Pose.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace rectiline::formats {
namespace {

Vec3 row(const Mat3& R, std::size_t i) { return {R[3 * i], R[3 * i + 1], R[3 * i + 2]}; }

Vec3 cross(const Vec3& a, const Vec3& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// The matrix of cofactors, which is R itself for a rotation; divided by the determinant it is the
/// transposed inverse.
Mat3 cofactors(const Mat3& R) {
  const Vec3 x = cross(row(R, 1), row(R, 2));
  const Vec3 y = cross(row(R, 2), row(R, 0));
  const Vec3 z = cross(row(R, 0), row(R, 1));
  return {x[0], x[1], x[2], y[0], y[1], y[2], z[0], z[1], z[2]};
}

double determinant(const Mat3& R) { return dot(row(R, 0), cross(row(R, 1), row(R, 2))); }

/// Starts from the largest component, so that no small one is divided by.
QuaternionZEL quaternionFromRotation(const Mat3& R) {
  const auto r = [&R](int i, int j) { return R[static_cast<std::size_t>(3 * i + j)]; };
  const double trace = r(0, 0) + r(1, 1) + r(2, 2);
  QuaternionZEL q{};
  if (trace > 0) {
    q = {r(2, 1) - r(1, 2), r(0, 2) - r(2, 0), r(1, 0) - r(0, 1), 1 + trace};
  } else if (r(0, 0) >= r(1, 1) && r(0, 0) >= r(2, 2)) {
    q = {1 + 2 * r(0, 0) - trace, r(0, 1) + r(1, 0), r(0, 2) + r(2, 0), r(2, 1) - r(1, 2)};
  } else if (r(1, 1) >= r(2, 2)) {
    q = {r(0, 1) + r(1, 0), 1 + 2 * r(1, 1) - trace, r(1, 2) + r(2, 1), r(0, 2) - r(2, 0)};
  } else {
    q = {r(0, 2) + r(2, 0), r(1, 2) + r(2, 1), 1 + 2 * r(2, 2) - trace, r(1, 0) - r(0, 1)};
  }
  const double length = std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
  return {q.x / length, q.y / length, q.z / length, q.w / length};
}

}  // namespace

double dot(const Vec3& a, const Vec3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Vec3 operator*(const Mat3& a, const Vec3& v) {
  return {dot(row(a, 0), v), dot(row(a, 1), v), dot(row(a, 2), v)};
}

Mat3 transposed(const Mat3& a) { return {a[0], a[3], a[6], a[1], a[4], a[7], a[2], a[5], a[8]}; }

Mat3 operator*(const Mat3& a, const Mat3& b) {
  const Mat3 bt = transposed(b);
  Mat3 result;
  for (std::size_t i = 0; i < 9; ++i) result[i] = dot(row(a, i / 3), row(bt, i % 3));
  return result;
}

Pose operator*(const Pose& T_ab, const Pose& T_bc) {
  const Vec3 t = T_ab.R * T_bc.t;
  return {T_ab.R * T_bc.R, {t[0] + T_ab.t[0], t[1] + T_ab.t[1], t[2] + T_ab.t[2]}};
}

Pose inverse(const Pose& T_ab) {
  const Mat3 R_ba = transposed(T_ab.R);
  const Vec3 t = R_ba * T_ab.t;
  return {R_ba, {-t[0], -t[1], -t[2]}};
}

double rotationError(const Mat3& R) {
  double error = 0;
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = i; j < 3; ++j) {
      error = std::max(error, std::fabs(dot(row(R, i), row(R, j)) - (i == j ? 1 : 0)));
    }
  }
  const bool isFinite = std::all_of(R.begin(), R.end(), [](double x) { return std::isfinite(x); });
  return isFinite && determinant(R) > 0 ? error : std::numeric_limits<double>::infinity();
}

// Newton's iteration for the polar decomposition: R <- (R + R^-T) / 2, which squares the error.
Mat3 nearestRotation(Mat3 R) {
  for (int step = 0; step < 4; ++step) {
    const Mat3 c = cofactors(R);
    const double det = determinant(R);
    for (std::size_t i = 0; i < 9; ++i) R[i] = (R[i] + c[i] / det) / 2;
  }
  return R;
}

Mat3 rotationFromQuaternion(const QuaternionZEL& q) {
  const double s = 2 / (q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
  const double xx = s * q.x * q.x, yy = s * q.y * q.y, zz = s * q.z * q.z;
  const double xy = s * q.x * q.y, xz = s * q.x * q.z, yz = s * q.y * q.z;
  const double wx = s * q.w * q.x, wy = s * q.w * q.y, wz = s * q.w * q.z;
  return {1 - yy - zz, xy - wz, xz + wy, xy + wz,    1 - xx - zz,
          yz - wx,     xz - wy, yz + wx, 1 - xx - yy};
}

XrPosedZEL_t toRecord(const Pose& pose) {
  return {quaternionFromRotation(pose.R), {pose.t[0], pose.t[1], pose.t[2]}};
}

Pose fromRecord(const XrPosedZEL_t& pose) {
  return {rotationFromQuaternion(pose.orientation),
          {pose.position.x, pose.position.y, pose.position.z}};
}

}  // namespace rectiline::formats
