#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "AR/CV/Camera/Interchange.h"
#include "TestDevices.h"
#include "VIO/StereoRectifyWrapper.h"
#include "VIO/quality/CameraCertificate.h"
#include "VIO/quality/ExactCamera.h"
#include "VIO/quality/MapReport.h"
#include "VIO/quality/RectificationCertificate.h"

namespace {

using VIO::CameraCertificate;
using VIO::MapReport;
using VIO::RectificationCertificate;
using VIO::testing::device;
using VIO::testing::Lens;
using VIO::testing::lensNamed;

constexpr int kW = 320;
constexpr int kH = 240;
constexpr double kTurn = 0.1 * M_PI / 180;

const Lens &kLinear = lensNamed("linear"), &kBarrel = lensNamed("radial2");
const Lens* const kSomeLenses[] = {&kLinear, &kBarrel, &lensNamed("radial3 pincushion"),
                                   &lensNamed("fisheye4 wide")};

DeviceCalibrationZEL rig(const Lens& lens, double aboutX, double tx, double ty) {
  DeviceCalibrationZEL record = device(lens);
  record.cameras[1].pose = {{std::sin(aboutX / 2), 0, 0, std::cos(aboutX / 2)}, {tx, ty, 0.002}};
  return record;
}

using Certificate = std::optional<RectificationCertificate>;

/// What claims to rectify a device.
struct Claim {
  explicit Claim(const DeviceCalibrationZEL& record) {
    CreateRectifyMap(&record, 0, m[0].data(), n, m[1].data(), n, m[2].data(), n, m[3].data(), n,
                     &depthConstant, &camera);
  }
  [[nodiscard]] Certificate certify(const DeviceCalibrationZEL& record) const {
    const IntrinsicCameraCalibrationZEL& in = camera.intrinsics;
    const auto& t = record.cameras[1].pose.position;
    const int axis = std::fabs(t.y) > 0.05 ? 1 : 0;
    const AR::CV::TargetView view{AR::CV::TargetProjection::Pinhole,
                                  axis,
                                  kW,
                                  kH,
                                  in.focal_length_x,
                                  in.focal_length_y,
                                  in.principal_point_x,
                                  in.principal_point_y};
    const VIO::MapView left{m[0].data(), m[1].data(), kW, kH, kW};
    const VIO::MapView right{m[2].data(), m[3].data(), kW, kH, kW};
    const auto R_oltl = AR::CV::idl2se3<double>(camera.pose).rotation();
    RectificationCertificate result;
    const bool ok = certifyRectification({record.cameras[0], record.cameras[1], view, R_oltl,
                                          static_cast<double>(depthConstant), left, right},
                                         result);
    return ok ? Certificate(result) : std::nullopt;
  }

  static constexpr std::uint32_t n = kW * kH;
  std::vector<std::vector<float>> m{4, std::vector<float>(n)};
  float depthConstant = 0;
  CameraCalibrationZEL camera{};
};

double worstMap(const Certificate& c) { return std::max(c->maxMapErrorLeft, c->maxMapErrorRight); }

TEST(RectificationCertificate, GoodRigsPassWhereverTheyStand) {
  DeviceCalibrationZEL record = rig(kBarrel, 0.03, 0.004, -0.1);
  const Claim claim(record);
  for (int i = 0; i < 2; ++i) record.cameras[i].pose.position.x += 2;  // of the second's frame
  const Certificate c = claim.certify(record);
  ASSERT_TRUE(c);
  EXPECT_LT(std::max(c->maxRowError, worstMap(c)), 0.02);
  EXPECT_LE(c->rmsRowError, c->maxRowError);
  EXPECT_LT(c->maxDepthError, 0.01);
}

TEST(RectificationCertificate, MapsOfATurnedCameraFailByTheAngle) {
  for (const Lens* const lens : kSomeLenses) {
    SCOPED_TRACE(lens->name);
    const Claim claim(rig(*lens, kTurn, -0.1, 0));
    const Certificate c = claim.certify(rig(*lens, 0, -0.1, 0));
    ASSERT_TRUE(c);
    // A turn about x moves the row at height y (ideal plane) by f (1 + y^2) times the angle.
    const double f = claim.camera.intrinsics.focal_length_y;
    const double y = (static_cast<double>(c->worstRow.y) - kH / 2.0) / f;
    EXPECT_NEAR(c->maxRowError, f * (1 + y * y) * kTurn, 0.03 * f * kTurn);
    EXPECT_GT(c->rmsRowError, f * kTurn);
    EXPECT_NEAR(c->maxMapErrorRight / (200 * kTurn), 1.3, 0.35);
    EXPECT_LT(c->maxMapErrorLeft, 0.02);
  }
}

void shift(std::vector<float>& map) {
  for (float& v : map) v = v == -1 ? v : v + 0.5F;
}

TEST(RectificationCertificate, DamagedMapsFail) {
  struct Case {
    const char* name;
    std::function<void(Claim&)> damage;
    double leastRow, leastMap, leastDepth;
  };
  const Case cases[] = {
      {"left, right", [](Claim& c) { swap(c.m[0], c.m[2]), swap(c.m[1], c.m[3]); }, 1, 2, 0},
      {"X, Y", [](Claim& c) { swap(c.m[0], c.m[1]), swap(c.m[2], c.m[3]); }, 1, 50, 0},
      {"columns", [](Claim& c) { shift(c.m[0]), shift(c.m[2]); }, 0, 0.49, 0},
      {"rows of one", [](Claim& c) { shift(c.m[3]); }, 0.49, 0.49, 0},
      {"one pixel", [](Claim& c) { c.m[2][kW * 100 + 100] = INFINITY; }, 0, INFINITY, 0},
      {"no number", [](Claim& c) { c.m[1][kW * 100 + 100] = NAN; }, 0, INFINITY, 0},
      {"depth", [](Claim& c) { c.depthConstant *= 1.1F; }, 0, 0, 0.09},
      {"NaN depth", [](Claim& c) { c.depthConstant = NAN; }, 0, 0, INFINITY}};
  const DeviceCalibrationZEL record = rig(kBarrel, 0.03, -0.1, 0.004);
  const Claim good(record);
  for (const Case& test : cases) {
    SCOPED_TRACE(test.name);
    Claim claim = good;
    test.damage(claim);
    const Certificate c = claim.certify(record);
    ASSERT_TRUE(c);
    EXPECT_GE(c->maxRowError, test.leastRow);
    EXPECT_GE(worstMap(c), test.leastMap);
    EXPECT_GE(c->maxDepthError, test.leastDepth);
  }
}

TEST(RectificationCertificate, OnePixelThatIsOffIsFoundWhereverItLies) {
  const DeviceCalibrationZEL record = rig(kLinear, 0.03, -0.1, 0.004);
  const Claim good(record);
  for (const std::size_t plane : {0U, 1U, 2U, 3U}) {
    const auto hasSource = [](float v) { return v != -1; };
    const std::vector<float>& map = good.m[plane];
    const auto first = std::find_if(map.begin(), map.end(), hasSource) - map.begin();
    const auto end = map.rend() - std::find_if(map.rbegin(), map.rend(), hasSource);
    for (const auto at : {first, std::ptrdiff_t{kW * 100 + 100}, end - 1}) {
      Claim claim = good;
      claim.m[plane][static_cast<std::size_t>(at)] += 0.5F;
      const Certificate c = claim.certify(record);
      ASSERT_TRUE(c);
      EXPECT_NEAR(plane < 2 ? c->maxMapErrorLeft : c->maxMapErrorRight, 0.5, 0.02);
      EXPECT_LT(plane < 2 ? c->maxMapErrorRight : c->maxMapErrorLeft, 0.02);
      const VIO::CertificatePlace& worst = plane < 2 ? c->worstMapLeft : c->worstMapRight;
      EXPECT_EQ(worst.x + worst.y * kW, static_cast<float>(at)) << plane;
    }
  }
}

TEST(RectificationCertificate, HostileMapsNeverPass) {
  const DeviceCalibrationZEL record = rig(kLinear, 0.03, -0.1, 0.004);
  const float values[] = {NAN, INFINITY, -INFINITY, 1e38F, -1e38F, -1, 0, 100};
  std::mt19937 random(7);
  Claim claim(record);
  claim.camera.pose.orientation = {0, 1, 0, 0};
  EXPECT_FALSE(claim.certify(record)) << "what is behind the cameras";
  claim = Claim(record);
  for (const float value : values) {
    for (auto& map : claim.m) std::fill(map.begin(), map.end(), value);
    EXPECT_FALSE(claim.certify(record)) << value;
    for (auto& map : claim.m) {
      for (float& v : map) v = random() % 2 == 0 ? value : static_cast<float>(random() % kW);
    }
    const Certificate c = claim.certify(record);
    EXPECT_TRUE(!c || worstMap(c) > 50) << value;
  }
}

/// Every pixel less than `radius` away from the principal point must have a ray.
void expectRays(const DeviceCalibrationZEL& record, double radius) {
  const auto rig = VIO::testing::rigOf(record);
  const auto& camera = rig.at(0).getIntrinsics();
  const AR::Math::Vec<float, 2> centre = camera.getPrincipalPoint();
  AR::Math::Vec<float, 2> offset, ideal;
  for (offset(1) = -300; offset(1) < 300; offset(1) += 0.5F) {
    for (offset(0) = -300; offset(0) < 300; offset(0) += 0.5F) {
      if (AR::Math::norm(offset.cast<double>()) >= radius) continue;
      ASSERT_TRUE(camera.tryPixel2ideal(centre + offset, ideal)) << offset(0) << " " << offset(1);
    }
  }
}

CameraCertificate certified(const DeviceCalibrationZEL& record) {
  CameraCertificate c{};
  EXPECT_TRUE(VIO::certifyCamera(record.cameras[0].intrinsics, c));
  return c;
}

TEST(CameraCertificate, MeasuresTheTables) {
  for (const Lens* const lens : kSomeLenses) {
    SCOPED_TRACE(lens->name);
    const CameraCertificate c = certified(device(*lens));
    EXPECT_LT(std::max(c.maxDistortionError, c.maxUndistortionError), 0.01);
    EXPECT_GT(c.validRadiusPixels, kH / 2.0);
    expectRays(device(*lens), c.validRadiusPixels);
  }
}

TEST(CameraCertificate, TangentialTermsMakeTheValidDiscSmaller) {
  // They move the disc of the radial table: it reaches less far on one side.
  DeviceCalibrationZEL record = device(kBarrel);
  IntrinsicCameraCalibrationZEL& in = record.cameras[0].intrinsics;
  in.distortion_limit = 1;
  in.undistortion_limit = 0.7;
  in.focal_length_y = 200;
  EXPECT_NEAR(certified(record).validRadiusPixels, 140, 1e-3);
  in.distortion[6] = in.distortion[7] = 0.01;
  const CameraCertificate moved = certified(record);
  EXPECT_NEAR(moved.validRadiusPixels, 134, 4);
  EXPECT_TRUE(std::isfinite(moved.maxUndistortionError));
}

TEST(CameraCertificate, CoarseTablesFail) {
  // Uniform bins over the squared radius are coarse at the centre of a wide one-parameter fisheye.
  DeviceCalibrationZEL coarse = device(lensNamed("fisheye1"), 95);
  CameraCertificate c = certified(coarse);
  EXPECT_GT(c.maxDistortionError, 0.01);
  EXPECT_LT(c.distortionErrorRadius, 1);
  EXPECT_NEAR(c.fieldOfView, 2 * std::atan(25.0), 1e-6);
  // The error of the first bin, a thousandth of the disc, looked at more closely.
  const auto tables = VIO::testing::rigOf(coarse);
  const auto exact = VIO::ExactCamera::fromRecord(coarse.cameras[0].intrinsics);
  double worst = 0;
  for (float y = 0; y < 1; y += 1e-4F) {
    AR::Math::Vec<float, 2> pixel;
    ASSERT_TRUE(tables.at(0).getIntrinsics().tryIdeal2pixel({0, y}, pixel));
    worst = std::max(
        worst, AR::Math::norm(exact->pixel(0, static_cast<double>(y)) - pixel.cast<double>()));
  }
  EXPECT_NEAR(c.maxDistortionError / worst, 0.985, 0.015);
  coarse.cameras[0].intrinsics.focal_length_x = 0;
  EXPECT_FALSE(VIO::certifyCamera(coarse.cameras[0].intrinsics, c));
  EXPECT_GT(c.maxDistortionError, 0.01) << "the certificate is left alone";
}

constexpr float kInfinity = std::numeric_limits<float>::infinity();
using MapFunction = std::function<float(int, int)>;

MapReport reportOf(int width, int height, const MapFunction& X, const MapFunction& Y) {
  std::vector<float> x, y;
  for (int i = 0; i < width * height; ++i) {
    x.push_back(X(i % width, i / width));
    y.push_back(Y(i % width, i / width));
  }
  return VIO::reportOn({x.data(), y.data(), width, height, width});
}

/// x -> a x + b y + c.
MapFunction linear(float a, float b, float c = 0) {
  return [=](int x, int y) { return a * static_cast<float>(x) + b * static_cast<float>(y) + c; };
}

TEST(MapReportTest, ScalesAndFolds) {
  const auto fold = [](int x, int) { return static_cast<float>(x < 6 ? x : 11 - x); };
  const struct {
    const char* name;
    MapFunction x, y;
    std::uint64_t folded;
    double least, greatest;
  } rows[] = {
      {"mirrored as a whole", linear(-1, 0, 20), linear(0, 1), 0, 1, 1},
      {"half as large along x", linear(2, 0), linear(0, 1), 0, 0.5, 1},
      // 5 columns turned back, and one between where the column does not change at all.
      {"folded", fold, linear(0, 1), 54, 1, kInfinity},
      {"a line", linear(1, 2), linear(3, 6), 99, 1 / std::sqrt(50.0), kInfinity},
      {"a point", linear(0, 0, 3), linear(0, 0, 4), 99, kInfinity, kInfinity},
      {"huge", [](int x, int) { return x % 2 == 0 ? 3e38F : -3e38F; }, linear(0, 1), 45,
       0.5 / 3e38F, 1},
      {"no number", linear(0, 0, std::nanf("")), linear(0, 1), 0, 0, 0},
  };
  for (const auto& c : rows) {
    SCOPED_TRACE(c.name);
    const MapReport r = reportOf(12, 10, c.x, c.y);
    EXPECT_EQ(r.shareWithSource, c.least > 0 ? 1 : 0);
    EXPECT_EQ(r.measuredPixels, c.least > 0 ? 99U : 0U);
    EXPECT_EQ(r.foldedPixels, c.folded);
    EXPECT_DOUBLE_EQ(r.leastMagnification, c.least);
    EXPECT_EQ(r.greatestMagnification, c.greatest);
  }
}

using Rect = std::array<int, 4>;  // x, y, width, height

/// The first largest rectangle without a hole, by trying all.
Rect bruteForceRect(int width, int height, const std::vector<bool>& holes) {
  Rect best{};
  for (int i = 0; i < width * height; ++i) {
    int right = width;
    for (int y = i / width; y < height; ++y) {
      int x = i % width;
      while (x < right && !holes[static_cast<std::size_t>(y * width + x)]) ++x;
      right = x;
      const Rect rect{i % width, i / width, right - i % width, y - i / width + 1};
      if (rect[2] * rect[3] > best[2] * best[3]) best = rect;
    }
  }
  return best;
}

TEST(MapReportTest, LargestRectangleOfRandomMaps) {
  std::mt19937 random(7);
  for (int i = 0; i < 200; ++i) {
    std::bernoulli_distribution hole(0.02 + 0.002 * i);
    const int width = 1 + static_cast<int>(random() % 17);
    const int height = 1 + static_cast<int>(random() % 13);
    std::vector<bool> holes(static_cast<std::size_t>(width * height));
    std::generate(holes.begin(), holes.end(), [&] { return hole(random); });
    const auto at = [&](int x, int y) {
      return holes[static_cast<std::size_t>(y * width + x)] ? -1.0F : 5.0F;
    };
    const MapReport r = reportOf(width, height, at, at);
    ASSERT_EQ((Rect{r.rectX, r.rectY, r.rectWidth, r.rectHeight}),
              bruteForceRect(width, height, holes));
  }
}

}  // namespace
