#pragma once

// Records of cameras and devices that the input chooses: near a real lens, and here and there
// wrong.

#include <algorithm>
#include <cmath>

#include "FuzzInput.h"
#include "rectiline/CalibrationRecords.h"
#include "testing/Lenses.h"

namespace rectiline::fuzz {

inline constexpr int kLargestImage = 96;  // pixels; most runs are far smaller

/// Intrinsics like those of one of the tests' lenses, each number some way off.
inline IntrinsicCameraCalibrationZEL intrinsicsFrom(FuzzInput& input, int largest = kLargestImage) {
  IntrinsicCameraCalibrationZEL in = testing::intrinsicsOf(input.oneOf(testing::kLenses));
  const int width = input.from(1, largest);
  const int height = input.from(1, largest);
  const double scale = input.between(0.5, 2) * std::max(width, height) / in.width;
  in.width = width;
  in.height = height;
  in.focal_length_x *= scale;
  in.focal_length_y *= scale * input.between(0.8, 1.25);
  in.principal_point_x = width * input.between(0.3, 0.7);
  in.principal_point_y = height * input.between(0.3, 0.7);
  for (double& k : in.distortion) k *= input.between(0, 1.5);
  if (input.once(4)) in.distortion_limit = input.between(0.1, 3);
  if (input.once(4)) in.undistortion_limit = input.between(0.1, 3);
  return in;
}

inline QuaternionZEL turnFrom(FuzzInput& input, double largest) {
  double q[4] = {0, 0, 0, 1};
  for (int i = 0; i < 3; ++i) q[i] = input.between(-largest, largest);
  double norm = 0;
  for (const double v : q) norm += v * v;
  norm = std::sqrt(norm);
  return {q[0] / norm, q[1] / norm, q[2] / norm, q[3] / norm};
}

inline CameraCalibrationZEL cameraFrom(FuzzInput& input) {
  CameraCalibrationZEL camera{};
  camera.intrinsics = intrinsicsFrom(input);
  camera.pose.orientation.w = 1;
  if (input.once(3)) camera.line_time_ns = input.from<std::uint64_t>(0, 100'000);
  camera.rs_center_row = input.once(3) ? input.from(-10, 200) : 0;
  if (input.once(8)) input.spoil(camera);
  return camera;
}

/// Mostly two cameras side by side, the first the reference frame.
inline DeviceCalibrationZEL deviceFrom(FuzzInput& input) {
  DeviceCalibrationZEL device{};
  device.num_cameras = input.once(8) ? input.from(-1, 7) : 2;
  device.num_imus = input.from(0, 2);
  for (ImuCalibrationZEL& imu : device.imus) imu.pose.orientation.w = 1;
  const int filled = std::clamp(device.num_cameras, 0, static_cast<int>(RECTILINE_MAX_CAMERAS));
  for (int i = 0; i < filled; ++i) {
    CameraCalibrationZEL& camera = device.cameras[i];
    camera = i > 0 && input.flip() ? device.cameras[0] : cameraFrom(input);
    if (i == 0 && !input.once(6)) continue;
    camera.pose.orientation = turnFrom(input, input.once(3) ? 2 : 0.1);
    camera.pose.position = {-0.1 * i, input.between(-0.02, 0.02), input.between(-0.02, 0.02)};
    if (input.once(4)) std::swap(camera.pose.position.x, camera.pose.position.y);
    if (input.once(8)) camera.pose.position.x *= -1;
  }
  while (input.once(6)) input.spoil(device);
  return device;
}

}  // namespace rectiline::fuzz
