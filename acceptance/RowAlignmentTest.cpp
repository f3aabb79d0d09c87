// Known points, put through the exact formulas of both real cameras, must land on the same row of
// both rectified images (the same column for a vertical pair), with the disparity of their depth.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <optional>
#include <random>
#include <string>

#include "AR/CV/Camera/StereoCamera.h"
#include "AR/Common/ConfigNode.h"
#include "DeviceRecords.h"
#include "VIO/MapQuality.h"
#include "testing/ExactModel.h"
#include "testing/Lenses.h"

namespace rectiline::acceptance {
namespace {

using testing::Point2;
using Buffer = testing::GuardedBuffer<float>;

/// One camera's map pair as a function of real positions, and its inverse.
class InvertibleMap {
 public:
  InvertibleMap(const Buffer& X, const Buffer& Y, int width, int height)
      : mX(X), mY(Y), mWidth(width), mHeight(height) {}

  /// The rectified position whose source position is `source`, searched from `start` (Newton).
  [[nodiscard]] std::optional<Point2> find(const Point2& source, Point2 start) const {
    for (int i = 0; i < 8; ++i) {
      const auto here = at(start);
      const auto right = at({start.x + 0.5, start.y});
      const auto left = at({start.x - 0.5, start.y});
      const auto down = at({start.x, start.y + 0.5});
      const auto up = at({start.x, start.y - 0.5});
      if (!here || !right || !left || !down || !up) return std::nullopt;
      const double a = right->x - left->x;
      const double b = down->x - up->x;
      const double c = right->y - left->y;
      const double d = down->y - up->y;
      const double ex = source.x - here->x;
      const double ey = source.y - here->y;
      const double det = a * d - b * c;
      start.x += (d * ex - b * ey) / det;
      start.y += (a * ey - c * ex) / det;
    }
    return start;
  }

 private:
  /// Bi-quadratic interpolation: the maps are smooth, and straight lines between their pixels would
  /// be off by more than the maps are.
  [[nodiscard]] std::optional<Point2> at(const Point2& p) const {
    const int x0 = static_cast<int>(std::lround(p.x));
    const int y0 = static_cast<int>(std::lround(p.y));
    if (!(x0 >= 1 && y0 >= 1 && x0 < mWidth - 1 && y0 < mHeight - 1)) return std::nullopt;
    const std::array<double, 3> wx = weights(p.x - x0);
    const std::array<double, 3> wy = weights(p.y - y0);
    Point2 sum{0, 0};
    for (int j = 0; j < 3; ++j) {
      for (int i = 0; i < 3; ++i) {
        const auto k = static_cast<std::size_t>(y0 + j - 1) * static_cast<std::size_t>(mWidth) +
                       static_cast<std::size_t>(x0 + i - 1);
        if (mX[k] == -1 && mY[k] == -1) return std::nullopt;
        const double w = wx[static_cast<std::size_t>(i)] * wy[static_cast<std::size_t>(j)];
        sum.x += w * static_cast<double>(mX[k]);
        sum.y += w * static_cast<double>(mY[k]);
      }
    }
    return sum;
  }

  static std::array<double, 3> weights(double t) {
    return {t * (t - 1) / 2, 1 - t * t, t * (t + 1) / 2};
  }

  const Buffer& mX;
  const Buffer& mY;
  int mWidth;
  int mHeight;
};

struct Alignment {
  double worstRow = 0;    // pixels across the baseline
  double worstDepth = 0;  // pixels of disparity
  int tested = 0;
};

/// Sends points over the whole rectified field at 0.3 m to 30 m through both real cameras.
Alignment measure(const DeviceCalibrationZEL& device) {
  const RectifiedPair pair(device, 1);
  EXPECT_TRUE(pair.intact());
  const InvertibleMap left(pair.leftX, pair.leftY, pair.width, pair.height);
  const InvertibleMap right(pair.rightX, pair.rightY, pair.width, pair.height);
  const testing::ExactModel exactL(device.cameras[0].intrinsics);
  const testing::ExactModel exactR(device.cameras[1].intrinsics);
  const IntrinsicCameraCalibrationZEL& in = pair.camera.intrinsics;
  const auto& t = device.cameras[1].pose.position;
  const bool vertical = std::fabs(t.x) < std::fabs(t.y);
  Alignment result;
  for (const double Z : {0.3, 1.0, 4.0, 30.0}) {
    const double disparity = static_cast<double>(pair.depthConstant) / Z;
    for (int y = 4; y < pair.height - 4; y += 17) {
      for (int x = 4; x < pair.width - 4; x += 17) {
        const Point3 P_tl{Z * (x - in.principal_point_x) / in.focal_length_x,
                          Z * (y - in.principal_point_y) / in.focal_length_y, Z};
        const Point3 P_ol = rotate(pair.camera.pose.orientation, P_tl);
        const Point3 P_or = apply(device.cameras[1].pose, P_ol);
        if (P_ol.z < 0.05 || P_or.z < 0.05) continue;
        const Point2 sourceL = exactL.pixel(P_ol.x / P_ol.z, P_ol.y / P_ol.z);
        const Point2 sourceR = exactR.pixel(P_or.x / P_or.z, P_or.y / P_or.z);
        const Point2 startL{double(x), double(y)};
        const Point2 startR{x - (vertical ? 0 : disparity), y - (vertical ? disparity : 0)};
        const auto foundL = left.find(sourceL, startL);
        const auto foundR = right.find(sourceR, startR);
        if (!foundL || !foundR) continue;
        const double dx = foundL->x - foundR->x;
        const double dy = foundL->y - foundR->y;
        result.worstRow = std::max(result.worstRow, std::fabs(vertical ? dx : dy));
        result.worstDepth =
            std::max(result.worstDepth, std::fabs((vertical ? dy : dx) - disparity));
        ++result.tested;
      }
    }
  }
  return result;
}

void expectAligned(const char* name, const DeviceCalibrationZEL& device) {
  const Alignment a = measure(device);
  std::printf("%-28s %5d points: row error %.5f px, disparity error %.5f px\n", name, a.tested,
              a.worstRow, a.worstDepth);
  EXPECT_LE(a.worstRow, 0.02) << name;
  EXPECT_LE(a.worstDepth, 0.02) << name;
  EXPECT_GT(a.tested, 500) << name;
}

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
    expectAligned(name, rig);
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
      expectAligned(name.c_str(), randomPair(random, lens, vertical));
    }
  }
}

}  // namespace
}  // namespace rectiline::acceptance
