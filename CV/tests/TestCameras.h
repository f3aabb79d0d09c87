#pragma once

// Cameras, poses and records that the tests of the calibration store share.

#include <cmath>
#include <cstring>
#include <vector>

#include "AR/CV/Camera/FullCamera.h"

namespace AR::CV::testing {

inline constexpr double kPi = 3.14159265358979323846;

/// A rotation by `angle` radians about (x, y, z), which need not be of unit length.
struct PoseCase {
  double x, y, z, angle;
};
inline constexpr PoseCase kPoses[] = {{0, 0, 1, 0},          {1, 2, 3, 1e-7}, {0.2, 0.5, -1, 3.9},
                                      {3, 1, 2, kPi - 1e-4}, {1, 0, 0, kPi},  {0, 1, 0, kPi},
                                      {0, 0, 1, kPi},        {-1, 0, 1, kPi}, {1, -2, 3, kPi}};

inline XrPosedZEL_t poseRecord(const PoseCase& c) {
  const double s = std::sin(c.angle / 2) / std::hypot(c.x, c.y, c.z);
  return {{c.x * s, c.y * s, c.z * s, std::cos(c.angle / 2)}, {0.1, -0.2, 0.3}};
}

/// A camera with radial and tangential distortion, good to a radius of 1.
inline CameraCalibrationZEL cameraRecord(const char* name, const PoseCase& pose = kPoses[2]) {
  CameraCalibrationZEL record{};
  std::strncpy(record.name, name, sizeof(record.name) - 1);
  record.intrinsics = {640,
                       480,
                       318,
                       243,
                       410,
                       400,
                       {0.05, 0, 0, 0, 0, 0, 0.001, -0.002},
                       1,
                       1.05,
                       CamModel::RADIAL_2_PARAMETERS,
                       0};
  record.pose = poseRecord(pose);
  record.capture_details = {1, 2, 3, 4, 5, 6, 7, 8};
  return record;
}

/// Every number of a camera but its limits. A field added to one of the records does not compile
/// here before it is among them.
template <typename P>
std::vector<double> fieldsOf(const FullCamera<P>& camera) {
  const auto& [size, c, f, k, p, model, limits] = camera.getIntrinsics().getCamModel();
  const auto& [isRollingShutter, lineTime, centerRow, mode, state] = camera.getRSCorrector();
  const auto& [width, height, l, r, t, b, h, v] = camera.getCaptureDetails();
  const Math::SE3<P>& T_local_ref = camera.getCamReferenceToLocal();
  const auto& R = T_local_ref.rotation().matrix();
  std::vector<double> all(R.data(), R.data() + R.size());
  const auto add = [&all](const auto& values) {
    all.insert(all.end(), std::begin(values), std::end(values));
  };
  for (const auto& values : {size, c, f, p}) add(values);
  add(k);
  add(T_local_ref.translation());
  add(state);
  for (const int value : {int{model}, int{mode}, width, height, l, r, t, b, h, v})
    all.push_back(value);
  for (const P value : {lineTime, centerRow, P(isRollingShutter)}) all.push_back(value);
  all.push_back(camera.getDelta());
  return all;
}

}  // namespace AR::CV::testing
