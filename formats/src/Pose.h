#pragma once

#include <array>
#include <optional>
#include <vector>

#include "rectiline/CalibrationRecords.h"

namespace rectiline::formats {

using Vec2 = std::array<double, 2>;
using Vec3 = std::array<double, 3>;
using Mat3 = std::array<double, 9>;  // row by row

Mat3 operator*(const Mat3& a, const Mat3& b);
Vec3 operator*(const Mat3& a, const Vec3& v);
Mat3 transposed(const Mat3& a);
double dot(const Vec3& a, const Vec3& b);

/// A rigid transform T_a_b: x_a = R x_b + t.
struct Pose {
  Mat3 R{1, 0, 0, 0, 1, 0, 0, 0, 1};
  Vec3 t{};
};

Pose operator*(const Pose& T_ab, const Pose& T_bc);
Pose inverse(const Pose& T_ab);

/// How far `R` is from a rotation: the largest |r_i . r_j - (i == j)| over its rows; infinite for
/// a reflection and for what is not finite.
double rotationError(const Mat3& R);

/// The rotation nearest to a matrix that is one but for its digits.
Mat3 nearestRotation(Mat3 R);

/// A quaternion need not be of unit length, but not zero.
Mat3 rotationFromQuaternion(const QuaternionZEL& q);

XrPosedZEL_t toRecord(const Pose& pose);
Pose fromRecord(const XrPosedZEL_t& pose);

}  // namespace rectiline::formats
