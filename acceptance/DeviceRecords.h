#pragma once

#include <cmath>
#include <cstdio>
#include <cstring>

#include "VIO/StereoRectifyWrapper.h"
#include "rectiline/CalibrationRecords.h"
#include "testing/GuardedBuffer.h"

namespace rectiline::acceptance {

/// A point or direction in some frame, in double.
struct Point3 {
  double x;
  double y;
  double z;
};

/// A rigid transform as a record holds it: q (p) + t.
inline Point3 rotate(const QuaternionZEL& q, const Point3& p) {
  const Point3 c{q.y * p.z - q.z * p.y + q.w * p.x, q.z * p.x - q.x * p.z + q.w * p.y,
                 q.x * p.y - q.y * p.x + q.w * p.z};
  return {p.x + 2 * (q.y * c.z - q.z * c.y), p.y + 2 * (q.z * c.x - q.x * c.z),
          p.z + 2 * (q.x * c.y - q.y * c.x)};
}

inline Point3 apply(const XrPosedZEL_t& T, const Point3& p) {
  const Point3 r = rotate(T.orientation, p);
  return {r.x + T.position.x, r.y + T.position.y, r.z + T.position.z};
}

inline XrPosedZEL_t pose(double rx, double ry, double rz, double tx, double ty, double tz) {
  const double angle = std::sqrt(rx * rx + ry * ry + rz * rz);
  const double s = angle > 0 ? std::sin(angle / 2) / angle : 0.5;
  return {{rx * s, ry * s, rz * s, std::cos(angle / 2)}, {tx, ty, tz}};
}

inline CameraCalibrationZEL cameraRecord(const char* name,
                                         const IntrinsicCameraCalibrationZEL& intrinsics,
                                         const XrPosedZEL_t& T_cam_ref) {
  CameraCalibrationZEL record{};
  std::snprintf(record.name, sizeof record.name, "%s", name);
  record.intrinsics = intrinsics;
  record.pose = T_cam_ref;
  return record;
}

inline DeviceCalibrationZEL pairRecord(const CameraCalibrationZEL& left,
                                       const CameraCalibrationZEL& right) {
  DeviceCalibrationZEL device{};
  device.num_cameras = 2;
  device.cameras[0] = left;
  device.cameras[1] = right;
  return device;
}

/// What CreateRectifyMap gave for one device, in guarded buffers.
struct RectifiedPair {
  explicit RectifiedPair(const DeviceCalibrationZEL& device, std::uint32_t keepOutside = 0)
      : width(device.cameras[0].intrinsics.width),
        height(device.cameras[0].intrinsics.height),
        leftX(count(), -7),
        leftY(count(), -7),
        rightX(count(), -7),
        rightY(count(), -7) {
    const auto n = static_cast<std::uint32_t>(count());
    returned = CreateRectifyMap(&device, keepOutside, leftX.data(), n, leftY.data(), n,
                                rightX.data(), n, rightY.data(), n, &depthConstant, &camera);
  }

  [[nodiscard]] std::size_t count() const {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  }
  [[nodiscard]] bool intact() const {
    return leftX.intact() && leftY.intact() && rightX.intact() && rightY.intact();
  }

  int width;
  int height;
  testing::GuardedBuffer<float> leftX, leftY, rightX, rightY;
  float depthConstant = 0;
  CameraCalibrationZEL camera{};
  bool returned = false;
};

}  // namespace rectiline::acceptance
