#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

#include "VIO/DeviceConversion.h"
#include "rectiline/CalibrationRecords.h"
#include "testing/Lenses.h"

namespace VIO::testing {

using rectiline::testing::kLenses;
using rectiline::testing::Lens;
using rectiline::testing::lensNamed;

inline constexpr int kWidth = 64;
inline constexpr int kHeight = 48;
inline constexpr std::uint32_t kPixels = kWidth * kHeight;

/// A record of bytes that no function writes.
template <typename Record>
Record filled() {
  Record record;
  std::memset(static_cast<void*>(&record), 0x55, sizeof record);
  return record;
}

template <typename Record>
bool areSame(const Record& a, const Record& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

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

/// A device of two 320 x 240 cameras of that kind, 0.1 m apart.
inline DeviceCalibrationZEL device(const Lens& lens, double f = 200) {
  DeviceCalibrationZEL record = device();
  for (int i = 0; i < 2; ++i) {
    IntrinsicCameraCalibrationZEL& in = record.cameras[i].intrinsics;
    in = rectiline::testing::intrinsicsOf(lens);
    in.width = 320;
    in.height = 240;
    in.principal_point_x = 160;
    in.principal_point_y = 119.5;
    in.focal_length_x = f;
    in.focal_length_y = 1.02 * f;
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
