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
#include "VIO/MapQuality.h"
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

/// The library's own certificate of its maps, and of the tables under them.
void expectCertified(const char* name, const DeviceCalibrationZEL& device) {
  RectifiedPair pair(device, 1);
  const auto n = static_cast<std::uint32_t>(pair.count());
  RectificationCertificate c{};
  ASSERT_TRUE(CertifyRectification(&device, pair.leftX.data(), n, pair.leftY.data(), n,
                                   pair.rightX.data(), n, pair.rightY.data(), n, pair.depthConstant,
                                   &pair.camera, &c));
  std::printf("%-28s %5u points: row %.5f px (rms %.5f), depth %.5f, maps %.5f and %.5f px\n", name,
              c.points, c.maxRowError, c.rmsRowError, c.maxDepthError, c.maxMapErrorLeft,
              c.maxMapErrorRight);
  EXPECT_LT(std::max({c.maxRowError, c.maxMapErrorLeft, c.maxMapErrorRight}), 0.02) << name;
  EXPECT_GT(c.points, 500U) << name;
  for (int i = 0; i < 2; ++i) {
    CameraCertificate camera{};
    ASSERT_TRUE(CertifyCamera(&device.cameras[i], &camera));
    EXPECT_LT(std::max(camera.maxDistortionError, camera.maxUndistortionError), 0.02) << name;
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
