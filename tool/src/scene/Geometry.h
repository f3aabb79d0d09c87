#pragma once

#include "rectiline/CalibrationRecords.h"

namespace rectiline::tool {

/// A point or direction, metres.
struct Vec3d {
  double x = 0;
  double y = 0;
  double z = 0;

  friend Vec3d operator+(const Vec3d& a, const Vec3d& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
  }
  friend Vec3d operator-(const Vec3d& a, const Vec3d& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
  }
  friend Vec3d operator*(const Vec3d& a, double s) { return {a.x * s, a.y * s, a.z * s}; }
};

double dot(const Vec3d& a, const Vec3d& b);
Vec3d cross(const Vec3d& a, const Vec3d& b);

/// R v and R^T v for a row-major rotation matrix.
Vec3d rotate(const double (&R)[9], const Vec3d& v);
Vec3d rotateBack(const double (&R)[9], const Vec3d& v);

/// R v and R^T v for the rotation R of a unit quaternion.
Vec3d rotate(const QuaternionZEL& q, const Vec3d& v);
Vec3d rotateBack(const QuaternionZEL& q, const Vec3d& v);

/// The unit quaternion of a row-major rotation matrix (Shepperd 1978).
QuaternionZEL toQuaternion(const double (&R)[9]);

/// The inverse pose's effect: a point of the camera's frame in the frame that the pose maps from.
Vec3d toReference(const XrPosedZEL_t& T_camera_ref, const Vec3d& P_camera);
Vec3d toCamera(const XrPosedZEL_t& T_camera_ref, const Vec3d& P_ref);

}  // namespace rectiline::tool
