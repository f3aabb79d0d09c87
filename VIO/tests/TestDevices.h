#pragma once

#include <cmath>
#include <cstdint>

#include "VIO/DeviceConversion.h"
#include "rectiline/CalibrationRecords.h"

namespace VIO::testing {

inline constexpr int kWidth = 64;
inline constexpr int kHeight = 48;
inline constexpr std::uint32_t kPixels = kWidth * kHeight;

/// A device of 64 x 48 pinhole cameras in a row, 0.1 m apart, with one inertial unit.
inline DeviceCalibrationZEL device(int numCameras = 2) {
  DeviceCalibrationZEL record{};
  record.num_imus = 1;
  record.imus[0].pose.orientation.w = 1;
  record.num_cameras = numCameras;
  for (int i = 0; i < RECTILINE_MAX_CAMERAS; ++i) {
    CameraCalibrationZEL& camera = record.cameras[i];
    camera.name[0] = static_cast<char>('a' + i);
    camera.intrinsics = {kWidth, kHeight, kWidth / 2.0, kHeight / 2.0, 50, 50, {}, 0, 0, 0, 0};
    camera.pose.orientation.w = 1;
    camera.pose.position.x = -0.1 * i;
  }
  return record;
}

inline AR::CV::FullStereoCameraCalibration<float> emptyRig() {
  return AR::CV::FullStereoCameraCalibration<float>(
      AR::CV::CalibrationInfo(AR::CV::CalibrationInfo::API, 0));
}

/// The rig of a device that must be convertible.
inline AR::CV::FullStereoCameraCalibration<float> rigOf(const DeviceCalibrationZEL& record) {
  AR::CV::FullStereoCameraCalibration<float> rig = emptyRig();
  IMUCalibration<float> imu;
  return deviceFromIdl(record, rig, imu) ? rig : emptyRig();
}

}  // namespace VIO::testing
