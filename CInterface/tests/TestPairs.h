#pragma once

// Pairs to be rectified, and what their maps are written to.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "AR/CV/Camera/Interchange.h"
#include "AR/Math/SE3.h"
#include "Errors.h"
#include "rectiline/rectiline.h"

namespace rectiline::capi::testing {

using AR::Math::SE3;
using AR::Math::SO3;
using Vec3 = AR::Math::Vec<double, 3>;

template <typename Struct>
Struct sized() {
  Struct s{};
  s.struct_size = sizeof s;
  return s;
}

/// An example rig, its images scaled.
inline DeviceCalibrationZEL exampleRig(const std::string& name, double scale = 1) {
  DeviceCalibrationZEL device{};
  const std::string file = std::string(RECTILINE_RIGS) + "/" + name + ".rig.xml";
  expectOk(rectiline_rig_from_file(file.c_str(), &device));
  for (int i = 0; i < device.num_cameras; ++i) {
    CameraCalibrationZEL& camera = device.cameras[i];
    expectOk(rectiline_scaled_camera(&camera, scale, scale, 0, 0, 0, 0, &camera));
  }
  return device;
}

inline SE3<double> poseOf(const CameraCalibrationZEL& camera) {
  return AR::CV::idl2se3<double>(camera.pose);
}

/// A device all of whose cameras are turned about their own axis: a quarter turn makes a row of
/// cameras a column.
inline DeviceCalibrationZEL rolled(DeviceCalibrationZEL device, double angle) {
  const SE3<double> T_rolled_local(SO3<double>::exp(Vec3(0.0, 0.0, angle)), Vec3());
  for (int i = 0; i < device.num_cameras; ++i) {
    CameraCalibrationZEL& camera = device.cameras[i];
    camera.pose = AR::CV::se32idl(T_rolled_local * poseOf(camera));
  }
  return device;
}

/// A device with a third camera beside its second one, a little further on and turned.
inline DeviceCalibrationZEL withThirdCamera(DeviceCalibrationZEL device) {
  const SE3<double> T_third_second(SO3<double>::exp(Vec3(0.02, -0.05, 0.01)),
                                   Vec3(-0.07, 0.01, 0.004));
  device.cameras[2] = device.cameras[1];
  device.cameras[2].pose = AR::CV::se32idl(T_third_second * poseOf(device.cameras[1]));
  device.num_cameras = 3;
  return device;
}

/// A map with its planes, rows `padding` elements longer than they need be.
class OwnMap {
 public:
  static constexpr float kUntouched = 12345;

  explicit OwnMap(const rectiline_view& view, std::size_t padding = 0)
      : OwnMap(view.width, view.height, padding) {}
  OwnMap(int width, int height, std::size_t padding = 0)
      : mRow(static_cast<std::size_t>(width) + padding),
        x(mRow * static_cast<std::size_t>(height), kUntouched),
        y(x),
        reasons(x.size(), 77) {
    map.width = width;
    map.height = height;
    map.x = x.data();
    map.y = y.data();
    map.stride = mRow * sizeof(float);
    map.reasons = reasons.data();
    map.reasons_stride = mRow;
  }
  OwnMap(const OwnMap&) = delete;
  OwnMap& operator=(const OwnMap&) = delete;

  [[nodiscard]] std::size_t index(int column, int row) const {
    return static_cast<std::size_t>(row) * mRow + static_cast<std::size_t>(column);
  }

 private:
  std::size_t mRow;

 public:
  std::vector<float> x;
  std::vector<float> y;
  std::vector<std::uint8_t> reasons;
  rectiline_map map = sized<rectiline_map>();
};

/// Expects a map to hold, and only where its reasons say so, what the exact formulas say. Returns
/// how many pixels have a source.
inline int expectMapOf(const CameraCalibrationZEL& camera, const rectiline_view& view,
                       const OwnMap& map) {
  std::vector<double> pixels;
  for (int y = 0; y < view.height; ++y) {
    for (int x = 0; x < view.width; ++x) pixels.insert(pixels.end(), {double(x), double(y)});
  }
  const std::size_t n = pixels.size() / 2;
  std::vector<double> raw(2 * n);
  expectOk(rectiline_view_to_pixels(&camera, &view, n, pixels.data(), raw.data(), nullptr));
  int withSource = 0;
  double worst = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const bool hasSource = map.reasons[i] <= RECTILINE_PIXEL_OK_PAST_LAST_CENTRE;
    EXPECT_EQ(hasSource, map.x[i] != -1 || map.y[i] != -1);
    if (!hasSource) continue;
    ++withSource;
    worst = std::max(worst, std::hypot(static_cast<double>(map.x[i]) - raw[2 * i],
                                       static_cast<double>(map.y[i]) - raw[2 * i + 1]));
  }
  EXPECT_LT(worst, 0.001);
  EXPECT_GT(withSource, static_cast<int>(n) / 10);
  return withSource;
}

}  // namespace rectiline::capi::testing
