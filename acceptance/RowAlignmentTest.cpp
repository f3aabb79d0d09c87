// What CreateRectifyMap makes of real and of random pairs, by the library's own certificate, which
// has its own tests.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>

#include "AR/CV/Camera/StereoCamera.h"
#include "AR/Common/ConfigNode.h"
#include "DeviceRecords.h"
#include "rectiline/rectiline.h"
#include "testing/Lenses.h"

namespace rectiline::acceptance {
namespace {

DeviceCalibrationZEL loadRig(const std::string& file) {
  AR::Common::ConfigNode config;
  EXPECT_TRUE(config.setFromXMLFile(file.c_str())) << file;
  AR::CV::FullStereoCameraCalibration<double> rig(
      AR::CV::CalibrationInfo(AR::CV::CalibrationInfo::UNKNOWN, 0));
  EXPECT_TRUE(rig.loadCameraCalibFromDeviceConfig(config, {}, false)) << file;
  const AR::Math::SE3<double> identity;
  DeviceCalibrationZEL device = pairRecord(rig.at(0).toIdl(identity), rig.at(1).toIdl(identity));
  device.cameras[0].pose = pose(0, 0, 0, 0, 0, 0);
  return device;
}

/// The maps of a pair of one size, in memory of their own.
struct PairMaps {
  explicit PairMaps(const IntrinsicCameraCalibrationZEL& in)
      : values(4, std::vector<float>(static_cast<std::size_t>(in.width * in.height))),
        left{sizeof left,      in.width, in.height, 0, values[0].data(),
             values[1].data(), 0,        nullptr,   0},
        right{sizeof right,     in.width, in.height, 0, values[2].data(),
              values[3].data(), 0,        nullptr,   0} {}

  std::vector<std::vector<float>> values;
  rectiline_map left, right;
};

/// The library's own certificate of its maps, and of the tables under them.
void expectCertified(const char* name, const DeviceCalibrationZEL& device) {
  PairMaps maps(device.cameras[0].intrinsics);
  rectiline_rectification claim{};
  claim.struct_size = sizeof claim;
  rectiline_certificate c{};
  c.struct_size = sizeof c;
  ASSERT_EQ(rectiline_rectify(&device, nullptr, &maps.left, &maps.right, &claim), RECTILINE_OK);
  ASSERT_EQ(rectiline_certify_rectification(&device, &claim, &maps.left, &maps.right, &c),
            RECTILINE_OK);
  std::printf("%-28s %5u points: row %.5f px (rms %.5f), depth %.5f, maps %.5f and %.5f px\n", name,
              c.points, c.max_row_error, c.rms_row_error, c.max_depth_error, c.max_map_error_left,
              c.max_map_error_right);
  EXPECT_LT(std::max({c.max_row_error, c.max_map_error_left, c.max_map_error_right}), 0.02) << name;
  EXPECT_GT(c.points, 500U) << name;
  for (int i = 0; i < 2; ++i) {
    rectiline_camera_certificate camera{};
    camera.struct_size = sizeof camera;
    ASSERT_EQ(rectiline_certify_camera(&device.cameras[i], &camera), RECTILINE_OK);
    EXPECT_LT(std::max(camera.max_distortion_error, camera.max_undistortion_error), 0.02) << name;
  }
}

TEST(RowAlignment, ShippedRigs) {
  for (const char* name : {"radtan_752x480", "fisheye_512x512"}) {
    const DeviceCalibrationZEL rig = loadRig(std::string(RECTILINE_RIGS) + "/" + name + ".rig.xml");
    expectCertified(name, rig);
  }
}

/// A second camera turned by up to `spread` radians about each axis, next to or above the first.
DeviceCalibrationZEL randomPair(std::mt19937& random, const testing::Lens& lens, bool vertical) {
  constexpr double kSpread = 0.08;
  std::uniform_real_distribution<double> turn(-kSpread, kSpread);
  std::uniform_real_distribution<double> baseline(0.05, 0.17);
  std::uniform_real_distribution<double> sideways(-0.01, 0.01);
  const IntrinsicCameraCalibrationZEL left = intrinsicsOf(lens);
  IntrinsicCameraCalibrationZEL right = left;
  right.principal_point_x += 3.7;
  right.principal_point_y -= 2.4;
  right.focal_length_x *= 1.004;
  right.focal_length_y *= 1.003;
  const double B = baseline(random);
  const double tx = vertical ? sideways(random) : -B;
  const double ty = vertical ? -B : sideways(random);
  const double rx = turn(random);
  const double ry = turn(random);
  const double rz = turn(random);
  return pairRecord(cameraRecord("left", left, pose(0, 0, 0, 0, 0, 0)),
                    cameraRecord("right", right, pose(rx, ry, rz, tx, ty, sideways(random))));
}

TEST(RowAlignment, RandomPairsOfEveryModel) {
  std::mt19937 random(20261121);
  for (const testing::Lens& lens : testing::kLenses) {
    // Their uniform bins are coarse near the centre; what they reach is measured per camera.
    const bool coarse =
        lens.model == CamModel::FISHEYE_1_PARAMETER || lens.model == CamModel::FISHEYE_RATIONAL;
    if (coarse) continue;
    for (const bool vertical : {false, true}) {
      const std::string name = std::string(lens.name) + (vertical ? " vertical" : "");
      expectCertified(name.c_str(), randomPair(random, lens, vertical));
    }
  }
}

}  // namespace
}  // namespace rectiline::acceptance
