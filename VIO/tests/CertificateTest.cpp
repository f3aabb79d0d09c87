#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "TestModels.h"
#include "VIO/MapQuality.h"
#include "VIO/StereoRectifyWrapper.h"

namespace VIO::testing {
namespace {

constexpr int kW = 320;
constexpr int kH = 240;
constexpr double kTurn = 0.1 * M_PI / 180;

const ModelCase* const kLenses[] = {&kModels[0], &kModels[1], &kModels[2], &kModels[5]};

DeviceCalibrationZEL rig(const ModelCase& lens, double aboutX, double tx, double ty) {
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
    RectificationCertificate result;
    const bool ok = CertifyRectification(&record, m[0].data(), n, m[1].data(), n, m[2].data(), n,
                                         m[3].data(), n, depthConstant, &camera, &result);
    return ok ? Certificate(result) : std::nullopt;
  }

  static constexpr std::uint32_t n = kW * kH;
  std::vector<std::vector<float>> m{4, std::vector<float>(n)};
  float depthConstant = 0;
  CameraCalibrationZEL camera{};
};

double worstMap(const Certificate& c) { return std::max(c->maxMapErrorLeft, c->maxMapErrorRight); }

TEST(RectificationCertificate, GoodRigsPassWhereverTheyStand) {
  DeviceCalibrationZEL record = rig(kModels[1], 0.03, 0.004, -0.1);
  const Claim claim(record);
  for (int i = 0; i < 2; ++i) record.cameras[i].pose.position.x += 2;  // of the second's frame
  const Certificate c = claim.certify(record);
  ASSERT_TRUE(c);
  EXPECT_LT(std::max(c->maxRowError, worstMap(c)), 0.02);
  EXPECT_LE(c->rmsRowError, c->maxRowError);
}

TEST(RectificationCertificate, MapsOfATurnedCameraFailByTheAngle) {
  for (const ModelCase* const lens : kLenses) {
    const Claim claim(rig(*lens, kTurn, -0.1, 0));
    const Certificate c = claim.certify(rig(*lens, 0, -0.1, 0));
    ASSERT_TRUE(c) << lens->name;
    // A turn about x moves the row at height y (ideal plane) by f (1 + y^2) times the angle.
    const double f = claim.camera.intrinsics.focal_length_y;
    const double y = (static_cast<double>(c->worstRow.y) - kH / 2.0) / f;
    EXPECT_NEAR(c->maxRowError, f * (1 + y * y) * kTurn, 0.03 * f * kTurn) << lens->name;
    EXPECT_GT(c->rmsRowError, f * kTurn) << lens->name;
    EXPECT_NEAR(c->maxMapErrorRight / (200 * kTurn), 1.3, 0.35) << lens->name;
    EXPECT_LT(c->maxMapErrorLeft, 0.02) << lens->name;
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
      {"depth", [](Claim& c) { c.depthConstant *= 1.1F; }, 0, 0, 0.09},
      {"NaN depth", [](Claim& c) { c.depthConstant = NAN; }, 0, 0, INFINITY}};
  const DeviceCalibrationZEL record = rig(kModels[1], 0.03, -0.1, 0.004);
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

TEST(RectificationCertificate, HostileMapsNeverPass) {
  const DeviceCalibrationZEL record = rig(kModels[0], 0.03, -0.1, 0.004);
  const float values[] = {NAN, INFINITY, -INFINITY, 1e38F, -1e38F, -1, 0, 100};
  std::mt19937 random(7);
  Claim claim(record);
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

TEST(RectificationCertificate, RefusalsLeaveTheCertificateAlone) {
  const DeviceCalibrationZEL good = rig(kModels[0], 0.03, -0.1, 0.004);
  const Claim claim(good);
  const std::function<void(DeviceCalibrationZEL&, CameraCalibrationZEL&)> damages[] = {
      [](auto& d, auto&) { d.num_cameras = 1; },
      [](auto& d, auto&) { d.num_cameras = 7; },
      [](auto& d, auto&) { d.cameras[1].intrinsics.distortion_model = 9; },
      [](auto&, auto& c) { c.pose.orientation.x = NAN; },
      [](auto&, auto& c) { c.intrinsics.focal_length_y = NAN; },
      [](auto&, auto& c) { c.intrinsics.distortion[7] = 1e-3; }};
  for (std::size_t i = 0; i < std::size(damages); ++i) {
    DeviceCalibrationZEL record = good;
    Claim damaged = claim;
    damages[i](record, damaged.camera);
    EXPECT_FALSE(damaged.certify(record)) << i;
  }
  RectificationCertificate result{};
  for (int i = 0; i < 11; ++i) {  // each pointer null, then each size wrong
    const auto X = [&](int k) { return i == k ? nullptr : claim.m[static_cast<size_t>(k)].data(); };
    const auto n = [&](int k) { return i == 7 + k ? claim.n - 1 : claim.n; };
    EXPECT_FALSE(CertifyRectification(
        i == 4 ? nullptr : &good, X(0), n(0), X(1), n(1), X(2), n(2), X(3), n(3),
        claim.depthConstant, i == 5 ? nullptr : &claim.camera, i == 6 ? nullptr : &result));
  }
  EXPECT_EQ(result.points, 0U);
}

TEST(CameraCertificate, MeasuresTheTables) {
  CameraCertificate c{};
  for (const ModelCase* const lens : kLenses) {
    ASSERT_TRUE(CertifyCamera(device(*lens).cameras, &c)) << lens->name;
    EXPECT_LT(std::max(c.maxDistortionError, c.maxUndistortionError), 0.01) << lens->name;
    EXPECT_GT(c.validRadiusPixels, kH / 2.0) << lens->name;
  }
  // Uniform bins over the squared radius are coarse at the centre of a wide one-parameter fisheye.
  DeviceCalibrationZEL coarse = device({"", CamModel::FISHEYE_1_PARAMETER, {0.93}, {}}, 95);
  ASSERT_TRUE(CertifyCamera(coarse.cameras, &c));
  EXPECT_GT(c.maxDistortionError, 0.01);
  EXPECT_LT(c.distortionErrorRadius, 1);
  EXPECT_NEAR(c.fieldOfView, 2 * std::atan(25.0), 1e-6);
  EXPECT_FALSE(CertifyCamera(nullptr, &c) || CertifyCamera(coarse.cameras, nullptr));
  coarse.cameras[0].intrinsics.focal_length_x = 0;
  EXPECT_FALSE(CertifyCamera(coarse.cameras, &c));
  EXPECT_GT(c.maxDistortionError, 0.01) << "the certificate is left alone";
}

}  // namespace
}  // namespace VIO::testing
