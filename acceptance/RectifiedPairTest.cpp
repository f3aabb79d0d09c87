// What callers get of ideal, real and random pairs.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "VIO/StereoRectifyWrapper.h"
#include "rectiline/rectiline.h"
#include "testing/GuardedBuffer.h"
#include "testing/Lenses.h"
#include "testing/LogCapture.h"

namespace rectiline::acceptance {
namespace {

using testing::GuardedBuffer;

/// A camera, and one like it at that pose.
DeviceCalibrationZEL pairOf(const IntrinsicCameraCalibrationZEL& intrinsics,
                            const XrPosedZEL_t& T_right_left) {
  DeviceCalibrationZEL device{};
  device.num_cameras = 2;
  device.cameras[0].intrinsics = device.cameras[1].intrinsics = intrinsics;
  device.cameras[0].pose.orientation.w = 1;
  device.cameras[1].pose = T_right_left;
  return device;
}

DeviceCalibrationZEL idealPair(int width, int height, double f, double B) {
  return pairOf({width, height, width / 2.0, height / 2.0, f, f, {}, 0, 0, CamModel::LINEAR, 0},
                {{0, 0, 0, 1}, {-B, 0, 0}});
}

/// The greatest distance between a map's positions and its pixels; pixels without a source are off
/// by whole pixels.
double deviation(const GuardedBuffer<float>& X, const GuardedBuffer<float>& Y, int width) {
  double worst = 0;
  for (int i = 0; i < static_cast<int>(X.size()); ++i) {
    const auto at = static_cast<std::size_t>(i);
    worst = std::max({worst, std::fabs(static_cast<double>(X[at]) - i % width),
                      std::fabs(static_cast<double>(Y[at]) - i / width)});
  }
  return worst;
}

// Two identical pinhole cameras side by side are rectified already.
void expectIdentity(int width, int height, double f, double B) {
  SCOPED_TRACE(::testing::Message() << width << "x" << height << " f " << f << " B " << B);
  const auto n = static_cast<std::uint32_t>(width * height);
  const DeviceCalibrationZEL device = idealPair(width, height, f, B);
  std::vector<GuardedBuffer<float>> maps(4, GuardedBuffer<float>(n, -7));
  const auto data = [&](std::size_t i) { return maps[i].data(); };
  float depthConstant = 0;
  CameraCalibrationZEL camera{};
  const testing::LogCapture log;
  EXPECT_TRUE(CreateRectifyMap(&device, 0, data(0), n, data(1), n, data(2), n, data(3), n,
                               &depthConstant, &camera));
  EXPECT_LE(deviation(maps[0], maps[1], width), 1e-3);
  EXPECT_LE(deviation(maps[2], maps[3], width), 1e-3);
  EXPECT_NEAR(static_cast<double>(depthConstant) / (f * B), 1, 1e-5);
  for (const auto& map : maps) EXPECT_TRUE(map.intact());
  EXPECT_EQ(log.failedChecks(), 0) << log.text();
}

TEST(IdealPair, MapsAreTheIdentity) {
  for (const double f : {300.0, 450.0, 500.0, 512.5, 600.0}) {
    for (const double B : {0.052, 0.056, 0.064, 0.098, 0.169}) {
      expectIdentity(640, 480, f, B);
      expectIdentity(752, 480, f, B);
      expectIdentity(1280, 960, f, B);
    }
  }
}

template <typename Struct>
Struct sized() {
  Struct s{};
  s.struct_size = sizeof s;
  return s;
}

/// A map of the size of a camera's image, in memory of its own.
struct OwnMap {
  explicit OwnMap(const IntrinsicCameraCalibrationZEL& in)
      : x(static_cast<std::size_t>(in.width * in.height)), y(x.size()) {
    map.width = in.width;
    map.height = in.height;
    map.x = x.data();
    map.y = y.data();
  }

  std::vector<float> x, y;
  rectiline_map map = sized<rectiline_map>();
};

/// The library's own certificate of its maps, and of the tables under them.
void expectCertified(const std::string& name, const DeviceCalibrationZEL& device) {
  SCOPED_TRACE(name);
  OwnMap left(device.cameras[0].intrinsics), right(device.cameras[0].intrinsics);
  auto claim = sized<rectiline_rectification>();
  auto c = sized<rectiline_certificate>();
  ASSERT_EQ(rectiline_rectify(&device, nullptr, &left.map, &right.map, &claim), RECTILINE_OK);
  ASSERT_EQ(rectiline_certify_rectification(&device, &claim, &left.map, &right.map, &c),
            RECTILINE_OK);
  std::printf("%-28s %5u points: row %.5f px (rms %.5f), depth %.5f, maps %.5f and %.5f px\n",
              name.c_str(), c.points, c.max_row_error, c.rms_row_error, c.max_depth_error,
              c.max_map_error_left, c.max_map_error_right);
  EXPECT_LT(std::max({c.max_row_error, c.max_map_error_left, c.max_map_error_right}), 0.02);
  EXPECT_GT(c.points, 500U);
  for (int i = 0; i < 2; ++i) {
    auto camera = sized<rectiline_camera_certificate>();
    ASSERT_EQ(rectiline_certify_camera(&device.cameras[i], &camera), RECTILINE_OK);
    EXPECT_LT(std::max(camera.max_distortion_error, camera.max_undistortion_error), 0.02);
  }
}

TEST(RowAlignment, ShippedRigs) {
  for (const std::string name : {"radtan_752x480", "fisheye_512x512"}) {
    DeviceCalibrationZEL rig{};
    const std::string file = std::string(RECTILINE_RIGS) + "/" + name + ".rig.xml";
    ASSERT_EQ(rectiline_rig_from_file(file.c_str(), &rig), RECTILINE_OK);
    expectCertified(name, rig);
  }
}

/// A second camera turned by up to 0.08 radians about each axis, next to or above the first.
DeviceCalibrationZEL randomPair(std::mt19937& random, const testing::Lens& lens, bool vertical) {
  const auto between = [&](double least, double greatest) {
    return std::uniform_real_distribution<double>(least, greatest)(random);
  };
  const double B = between(0.05, 0.17);
  const double sideways = between(-0.01, 0.01);
  const double w[] = {between(-0.08, 0.08), between(-0.08, 0.08), between(-0.08, 0.08)};
  const double angle = std::hypot(w[0], w[1], w[2]);
  const double s = std::sin(angle / 2) / angle;
  DeviceCalibrationZEL pair = pairOf(
      intrinsicsOf(lens),
      {{w[0] * s, w[1] * s, w[2] * s, std::cos(angle / 2)}, {-B, sideways, between(-0.01, 0.01)}});
  XrPosedZEL_t& T_right_left = pair.cameras[1].pose;
  if (vertical) std::swap(T_right_left.position.x, T_right_left.position.y);
  IntrinsicCameraCalibrationZEL& right = pair.cameras[1].intrinsics;
  right.principal_point_x += 3.7;
  right.principal_point_y -= 2.4;
  right.focal_length_x *= 1.004;
  right.focal_length_y *= 1.003;
  return pair;
}

TEST(RowAlignment, RandomPairsOfEveryModel) {
  std::mt19937 random(20261121);
  for (const testing::Lens& lens : testing::kLenses) {
    // Their uniform bins are coarse near the centre; what they reach is measured per camera.
    const bool coarse =
        lens.model == CamModel::FISHEYE_1_PARAMETER || lens.model == CamModel::FISHEYE_RATIONAL;
    if (coarse) continue;
    expectCertified(lens.name, randomPair(random, lens, false));
    expectCertified(std::string(lens.name) + " vertical", randomPair(random, lens, true));
  }
}

}  // namespace
}  // namespace rectiline::acceptance
