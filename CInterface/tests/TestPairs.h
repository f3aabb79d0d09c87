#pragma once

// Cameras to be rectified, and what their maps are compared with.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "AR/CV/Camera/Interchange.h"
#include "AR/Math/SE3.h"
#include "OwnMap.h"
#include "rectiline/rectiline.h"

namespace rectiline::capi::testing {

using AR::Math::SE3;
using AR::Math::SO3;
using Vec3 = AR::Math::Vec<double, 3>;

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

/// Example rigs whose maps are small enough to be made again and again.
inline DeviceCalibrationZEL smallRadtan() { return exampleRig("radtan_752x480", 0.25); }
inline DeviceCalibrationZEL smallFisheye() { return exampleRig("fisheye_512x512", 0.25); }

/// Every kind of wish of a view.
struct OptionCase {
  const char* name;
  rectiline_options options;
};

inline const OptionCase kOptions[] = {
    {"automatic", {}},
    {"focal length and size", {.width = 150, .height = 110, .focal_length = 60, .keep_outside = 1}},
    {"field of view", {.field_of_view = 1.1}},
    {"valid", {.coverage = RECTILINE_COVERAGE_VALID}},
    {"whole", {.coverage = RECTILINE_COVERAGE_WHOLE}},
    {"between", {.coverage = RECTILINE_COVERAGE_BETWEEN, .alpha = 0.4}},
};

inline SE3<double> poseOf(const CameraCalibrationZEL& camera) {
  return AR::CV::idl2se3<double>(camera.pose);
}

/// Moves a camera: x_camera = exp(rotation) x_reference + translation.
inline void setPose(CameraCalibrationZEL& camera, const Vec3& rotation,
                    const Vec3& translation = {-0.1, 0.0, 0.0}) {
  camera.pose = AR::CV::se32idl(SE3<double>(SO3<double>::exp(rotation), translation));
}

/// The four planes that a function of StereoRectifyWrapper.h fills: left x and y, right x and y.
/// @param create  takes four buffers of floats, each followed by its size
template <typename Create>
std::array<std::vector<float>, 4> exportedPlanes(int width, int height, Create&& create) {
  const auto n = static_cast<std::uint32_t>(width * height);
  std::array<std::vector<float>, 4> planes;
  planes.fill(std::vector<float>(n));
  EXPECT_TRUE(
      create(planes[0].data(), n, planes[1].data(), n, planes[2].data(), n, planes[3].data(), n));
  return planes;
}

inline void expectPlanes(const OwnMap& map, const std::vector<float>& x,
                         const std::vector<float>& y) {
  EXPECT_TRUE(map.dense(map.x) == x && map.dense(map.y) == y);
}

/// Expects a map to hold, and only where its reasons say so, what the exact formulas say, which
/// lead back, and the reasons to be those of the points but for a few at the edges. Returns how
/// many pixels have a source.
inline int expectMapOf(const CameraCalibrationZEL& camera, const rectiline_view& view,
                       const OwnMap& map) {
  int withSource = 0, otherReasons = 0;
  double worst = 0;
  std::vector<double> row(2 * static_cast<std::size_t>(view.width)), raw(row.size());
  std::vector<std::uint8_t> reasons(row.size() / 2);
  for (int v = 0; v < view.height; ++v) {
    for (std::size_t u = 0; 2 * u < row.size(); ++u) {
      row[2 * u] = static_cast<double>(u);
      row[2 * u + 1] = v;
    }
    expectOk(rectiline_view_to_pixels(&camera, &view, reasons.size(), row.data(), raw.data(),
                                      reasons.data()));
    for (std::size_t u = 0; u < reasons.size(); ++u) {
      const std::size_t i = map.index(static_cast<int>(u), v);
      otherReasons += map.reasons[i] != reasons[u];
      const bool hasSource = map.reasons[i] <= RECTILINE_PIXEL_OK_PAST_LAST_CENTRE;
      EXPECT_EQ(hasSource, map.x[i] != -1 || map.y[i] != -1);
      if (!hasSource) continue;
      ++withSource;
      worst = std::max(worst, std::hypot(static_cast<double>(map.x[i]) - raw[2 * u],
                                         static_cast<double>(map.y[i]) - raw[2 * u + 1]));
    }
    std::vector<double>& back = raw;  // converted in place
    expectOk(rectiline_pixels_to_view(&camera, &view, reasons.size(), raw.data(), back.data(),
                                      reasons.data()));
    for (std::size_t i = 0; i < back.size(); ++i) {
      EXPECT_TRUE(reasons[i / 2] != RECTILINE_PIXEL_OK || std::fabs(back[i] - row[i]) < 1e-6);
    }
  }
  EXPECT_LT(worst, 0.001);
  EXPECT_LE(otherReasons, view.width * view.height / 500);
  EXPECT_GT(withSource, view.width * view.height / 10);
  return withSource;
}

}  // namespace rectiline::capi::testing
