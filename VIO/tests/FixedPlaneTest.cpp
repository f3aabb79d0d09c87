#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "AR/CV/Camera/Interchange.h"
#include "PairCall.h"
#include "TestModels.h"

namespace VIO {
namespace {

using AR::Math::SE3;
using AR::Math::Vec;
using testing::LogCapture;
using testing::PairCall;
using testing::PairFunction;

constexpr float kInf = std::numeric_limits<float>::infinity();

XrPosedZEL_t pose(const Vec<double, 3>& w, const Vec<double, 3>& t) {
  return AR::CV::se32idl(SE3<double>(AR::Math::SO3<double>::exp(w), t));
}

TEST(FixedPlane, GoesOnSafelyFromBadEyes) {
  constexpr char kEyesCheck[] =
      "seeThroughCalibration != nullptr && seeThroughCalibration->num_cameras == 2";
  const auto expect = [](const char* name, const std::vector<const char*>& checks, char map,
                         const std::function<void(PairCall&)>& spoil) {
    testing::expectSafe(PairFunction::FixedPlane, name, checks, std::string(4, map).c_str(),
                        std::string(2, map).c_str(), spoil);
  };
  const auto count = [](int eyes) { return [=](PairCall& c) { c.eyes.num_cameras = eyes; }; };
  expect("no eyes", {kEyesCheck}, '-', [](auto& c) { c.areEyesNull = true; });
  expect("one eye", {kEyesCheck}, '-', count(1));
  expect("three eyes", {kEyesCheck}, 'm', count(3));
  expect("seven eyes", {kEyesCheck, "ret"}, '-', count(7));
  expect("nothing there", {testing::kDeviceCheck, kEyesCheck}, '-',
         [](auto& c) { c.areEyesNull = c.isDeviceNull = true; });
  expect("unknown model", {"ret"}, '-',
         [](auto& c) { c.eyes.cameras[0].intrinsics.distortion_model = -1; });
  expect("no rotation", {"ret"}, '-', [](auto& c) { c.eyes.cameras[1].pose.orientation.w = 0; });
}

TEST(FixedPlane, AnEyeInTheCameraSeesItsImageWhereItHasRays) {
  for (const testing::ModelCase& c : testing::kModels) {
    SCOPED_TRACE(c.name);
    PairCall call(PairFunction::FixedPlane, PairCall::Sizes(4, 320 * 240));
    call.record = call.eyes = testing::device(c);
    call.eyes.cameras[1].intrinsics.distortion_limit = 0.9;
    call.eyes.cameras[1].intrinsics.undistortion_limit = 0.7;
    call.keepOutside = 1;
    LogCapture log;
    ASSERT_TRUE(call.run(false));
    EXPECT_EQ(log.failedChecks(), 0) << log.text();
    const auto rig = testing::rigOf(call.record);
    const double bound = std::max(0.02, 2 * testing::tableError(rig.at(0).getIntrinsics()) * 204);
    int tested = 0;
    for (std::size_t i = 0; i < 320 * 240; ++i) {
      if (call.maps[2][i] == -1 && call.maps[3][i] == -1) continue;
      ASSERT_NEAR(call.maps[2][i], static_cast<double>(i % 320), bound) << i;
      ASSERT_NEAR(call.maps[3][i], static_cast<double>(i / 320), bound) << i;
      ++tested;
    }
    EXPECT_NEAR(tested, 58000, 3000) << "a disc of 140 pixels, cut at top and bottom";
  }
}

TEST(FixedPlane, AnEyeToTheSideShiftsColumnsByTheDisparity) {
  for (const float distance : {0.5F, 2.0F, kInf}) {
    PairCall call(PairFunction::FixedPlane);
    call.factor = distance;
    call.keepOutside = 1;
    for (CameraCalibrationZEL& eye : call.eyes.cameras) eye.pose.position.x -= 0.02;
    ASSERT_TRUE(call.run(false));
    for (std::size_t i = 0; i < testing::kPixels; ++i) {
      const auto column = static_cast<double>(i % testing::kWidth);
      ASSERT_NEAR(call.maps[2][i], column + 50 * 0.02 / static_cast<double>(distance), 1e-4);
    }
  }
}

/// Cameras turned and apart, eyes of their own sizes in front of them.
PairCall turnedCall() {
  PairCall call(PairFunction::FixedPlane, {96 * 64, 96 * 64, 80 * 60, 80 * 60});
  call.record.cameras[1].pose = pose({0.05, -0.1, 0.02}, {-0.1, 0.01, 0.02});
  call.eyes.cameras[0].intrinsics = {96, 64, 47, 30, 70, 72, {}, 0, 0, 0, 0};
  call.eyes.cameras[1].intrinsics = {80, 60, 41, 28, 60, 60, {}, 0, 0, 0, 0};
  call.eyes.cameras[0].pose = pose({0.1, 0.05, -0.2}, {0.02, -0.01, -0.03});
  call.eyes.cameras[1].pose = pose({-0.05, 0.02, 0.1}, {-0.08, 0.02, -0.04});
  call.keepOutside = 1;
  return call;
}

TEST(FixedPlane, EachEyeSeesItsPlaneThroughItsCamera) {
  for (const float distance : {0.3F, 4.0F, kInf}) {
    PairCall call = turnedCall();
    call.factor = distance;
    LogCapture log;
    ASSERT_TRUE(call.run(false));
    EXPECT_EQ(log.failedChecks(), 0) << log.text();
    const double D = std::min(static_cast<double>(distance), 1e7);
    for (std::size_t e = 0; e < 2; ++e) {
      const auto T_source_eye = AR::CV::idl2se3<double>(call.record.cameras[e].pose) *
                                AR::CV::idl2se3<double>(call.eyes.cameras[e].pose).inverse();
      const IntrinsicCameraCalibrationZEL& in = call.eyes.cameras[e].intrinsics;
      for (int i = 0; i < in.width * in.height; ++i) {
        const double x = (i % in.width - in.principal_point_x) / in.focal_length_x;
        const double y = (i / in.width - in.principal_point_y) / in.focal_length_y;
        const Vec<double, 3> p = T_source_eye * Vec<double, 3>(D * x, D * y, D);
        const auto at = static_cast<std::size_t>(i);
        ASSERT_NEAR(call.maps[2 * e][at], 32 + 50 * p(0) / p(2), 1e-3) << e << " " << i;
        ASSERT_NEAR(call.maps[2 * e + 1][at], 24 + 50 * p(1) / p(2), 1e-3) << e << " " << i;
      }
    }
  }
}

TEST(FixedPlane, TheReferenceFrameDoesNotMatter) {
  PairCall straight = turnedCall();
  PairCall turned = turnedCall();
  const SE3<double> T_ref_new(AR::Math::SO3<double>::exp({0.3, -0.2, 0.4}), {0.5, -0.4, 0.3});
  for (DeviceCalibrationZEL* record : {&turned.record, &turned.eyes}) {
    for (int i = 0; i < 2; ++i) {
      XrPosedZEL_t& p = record->cameras[i].pose;
      p = AR::CV::se32idl(AR::CV::idl2se3<double>(p) * T_ref_new);
    }
  }
  LogCapture log;
  ASSERT_TRUE(straight.run(false) && turned.run(false));
  EXPECT_EQ(log.count("StereoRectify requires the left camera to be at the origin."), 1);
  EXPECT_EQ(log.failedChecks(), 0) << log.text();
  for (std::size_t m = 0; m < 4; ++m) {
    for (std::size_t i = 0; i < straight.maps[m].size(); ++i) {
      ASSERT_NEAR(straight.maps[m][i], turned.maps[m][i], 1e-3) << m << " " << i;
    }
  }
}

TEST(FixedPlane, PointsNearerThanACentimetreHaveNoSource) {
  // The eye lies `behind` its camera, metres.
  const struct {
    double behind;
    float distance;
    bool seen;
  } kCases[] = {{0, 0.0101F, true}, {0, 0.0099F, false}, {0.5, 0.495F, false},
                {0.5, 0.52F, true}, {-2, 1e-6F, true},   {0.5, 0.3F, false}};
  for (const auto& c : kCases) {
    PairCall call(PairFunction::FixedPlane);
    call.factor = c.distance;
    call.keepOutside = 1;
    for (CameraCalibrationZEL& eye : call.eyes.cameras) eye.pose.position.z += c.behind;
    ASSERT_TRUE(call.run(true));
    EXPECT_EQ(call.maps[0][0] != -1, c.seen) << c.distance;
    EXPECT_EQ(call.reasons[0][0] == MAP_PIXEL_BEHIND_CAMERA, !c.seen) << c.distance;
  }
}

}  // namespace
}  // namespace VIO
