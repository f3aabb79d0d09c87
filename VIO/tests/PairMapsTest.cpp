#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "AR/CV/Camera/Interchange.h"
#include "PairCall.h"
#include "TestModels.h"

namespace VIO {
namespace {

using AR::Math::SE3;
using AR::Math::Vec;
using testing::device;
using testing::expectSafe;
using testing::GuardedBuffer;
using testing::kDeviceCheck;
using testing::kMapsCheck;
using testing::kPixels;
using testing::LogCapture;
using testing::PairCall;
using testing::PairFunction;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr PairFunction kFunctions[] = {PairFunction::Rectify, PairFunction::Undistort,
                                       PairFunction::FixedPlane};

TEST(PairMaps, GoOnSafelyFromEveryBadInput) {
  constexpr std::uint32_t n = testing::kPixels;
  constexpr char kSizes[] =
      "mapLeftX_size==map_buffer_size && mapLeftY_size==map_buffer_size && "
      "mapRightX_size==map_buffer_size && mapRightY_size==map_buffer_size";
  const auto none = [](PairCall&) {};
  const auto count = [](int k) { return [=](PairCall& c) { c.record.num_cameras = k; }; };
  const auto noMap = [](std::size_t i) { return [=](PairCall& c) { c.nullMap = i; }; };
  for (const PairFunction f : kFunctions) {
    expectSafe(f, "nothing wrong", {}, "mmmm", none);
    expectSafe(f, "no device", {kDeviceCheck}, "----", [](auto& c) { c.isDeviceNull = true; });
    expectSafe(f, "one camera", {kDeviceCheck}, "----", count(1));
    expectSafe(f, "six cameras", {kDeviceCheck}, "mmmm", count(6));
    expectSafe(f, "seven cameras", {kDeviceCheck, "ret"}, "----", count(7));
    expectSafe(f, "unknown model", {"ret"}, "----", [](auto& c) {
      c.record.cameras[1].intrinsics.distortion_model = CamModel::kNumDistortionModels;
    });
    expectSafe(f, "no left X", {kMapsCheck}, ".-mm", noMap(0));
    expectSafe(f, "no right X", {kMapsCheck}, "mm.-", noMap(2));
    expectSafe(f, "no right Y", {kMapsCheck}, "mm-.", noMap(3));
    expectSafe(f, "no map, no device", {kMapsCheck, kDeviceCheck}, "---.",
               [](auto& c) { c.nullMap = 3, c.isDeviceNull = true; });
    expectSafe(f, "short left X", {kSizes}, "--mm", none, {n - 1, n, n, n});
    expectSafe(f, "short right Y", {kSizes}, "mm--", none, {n, n, n, 1});
    expectSafe(f, "empty right", {kSizes}, "mm..", none, {n, n, 0, 0});
    expectSafe(f, "long left", {kSizes}, "mmmm", none, {n + 9, n, n, n});
    expectSafe(f, "short, no device", {kDeviceCheck}, "----",
               [](auto& c) { c.isDeviceNull = true; }, {5, n, n + 2, n});
  }
  expectSafe(PairFunction::FixedPlane, "a larger right eye", {kSizes}, "mm--",
             [](auto& c) { c.eyes.cameras[1].intrinsics.height *= 2; });
  expectSafe(PairFunction::Undistort, "a larger right camera",
             {"mapXY[0].size() == targetSize", "mapXY[1].size() == targetSize"}, "mm--",
             [](auto& c) { c.record.cameras[1].intrinsics.height *= 2; });
}

TEST(PairMaps, RefuseAFactorThatIsNotAboveZeroAndSurviveExtremeOnes) {
  for (const PairFunction function : {PairFunction::Undistort, PairFunction::FixedPlane}) {
    const bool isUndistort = function == PairFunction::Undistort;
    const std::string text = isUndistort ? "Invalid undistortion field of view factor "
                                         : "Invalid fixed plane distance ";
    for (const float factor : {0.0F, -kInf, kNaN}) {
      PairCall call(function);
      call.factor = factor;
      call.nullMap = 0;
      call.isDeviceNull = true;
      LogCapture log;
      EXPECT_FALSE(call.run());
      EXPECT_EQ(call.mapContents(), "....");
      EXPECT_EQ(log.count(kMapsCheck) + log.count(kDeviceCheck), 2) << log.text();
      EXPECT_EQ(log.count(text + std::to_string(factor)), 1) << log.text();
      EXPECT_EQ(log.lines().back().priority, ANDROID_LOG_ERROR);
    }
    for (const float factor : {1e-45F, 0.001F, 1000.0F, 3e38F, kInf}) {
      PairCall call(function);
      call.factor = factor;
      LogCapture log;
      EXPECT_TRUE(call.run() && call.intact());
      // Pinhole cameras of such focal lengths cannot be made: both are reported.
      const bool noTarget = isUndistort && (factor < 1e-20F || factor > 1e20F);
      EXPECT_EQ(log.count("AR_ASSERT result "), noTarget ? 2 : 0) << log.text();
      EXPECT_TRUE(!noTarget || call.mapContents() == "----");
    }
  }
}

TEST(PairMaps, GoOnSafelyFromBadInputOfTheirOwn) {
  constexpr char kEyesCheck[] =
      "seeThroughCalibration != nullptr && seeThroughCalibration->num_cameras == 2";
  constexpr PairFunction kPlane = PairFunction::FixedPlane, kRectify = PairFunction::Rectify;
  expectSafe(kPlane, "no eyes", {kEyesCheck}, "----", [](auto& c) { c.areEyesNull = true; });
  expectSafe(kPlane, "one eye", {kEyesCheck}, "----", [](auto& c) { c.eyes.num_cameras = 1; });
  expectSafe(kPlane, "seven eyes", {kEyesCheck, "ret"}, "----",
             [](auto& c) { c.eyes.num_cameras = 7; });
  expectSafe(kRectify, "unterminated name", {}, "mmmm",
             [](auto& c) { std::memset(c.record.cameras[0].name, 'x', sizeof(c.camera.name)); });
  expectSafe(kRectify, "centre column unseen", {}, "----", [](auto& c) {
    IntrinsicCameraCalibrationZEL& in = c.record.cameras[0].intrinsics;
    in.distortion_limit = in.undistortion_limit = 0.2;
  });
  expectSafe(kRectify, "endless baseline", {}, "----", [](auto& c) {
    c.record.cameras[1].pose.position = {-3e38, 3e38, 0};
  });
  expectSafe(kRectify, "no rectified camera", {"rectifiedCam != nullptr"}, "mmmm",
             [](auto& c) { c.isCameraNull = true; });
  expectSafe(kRectify, "no depth constant", {}, "mmmm", [](auto& c) { c.isDepthNull = true; });
}

TEST(CreateRectifyMap, TheRectifiedCameraMayReplaceOneOfTheDevice) {
  constexpr std::uint32_t n = testing::kPixels;
  PairCall call(PairFunction::Rectify);
  CameraCalibrationZEL* const right = &call.record.cameras[1];
  CreateRectifyMap(&call.record, 0, call.maps[0].data(), n, call.maps[1].data(), n,
                   call.maps[2].data(), n, call.maps[3].data(), n, &call.depth, right);
  EXPECT_EQ(call.mapContents(), "mmmm");
  EXPECT_FLOAT_EQ(call.depth, 5);
  EXPECT_EQ(right->pose.position.x, 0);
  EXPECT_EQ(right->pose.orientation.w, 1);
  EXPECT_EQ(right->intrinsics.principal_point_x, 32);
}

TEST(UndistortMap, SeesWhatAPinholeCameraOfTheScaledFocalLengthSees) {
  for (const testing::Lens& lens : testing::kLenses) {
    for (const double fovFactor : {0.5, 1.0, 2.5}) {
      SCOPED_TRACE(lens.name);
      PairCall call(PairFunction::Undistort, PairCall::Sizes(4, 320 * 240));
      call.record = device(lens);
      call.record.cameras[1].intrinsics.principal_point_x = 150;
      call.record.cameras[1].pose.orientation = {0.5, 0.5, 0.5, 0.5};  // poses do not enter
      call.factor = static_cast<float>(fovFactor);
      call.keepOutside = 1;
      ASSERT_TRUE(call.run());
      const IntrinsicCameraCalibrationZEL& in = call.record.cameras[1].intrinsics;
      const testing::ExactModel exact(in);
      const double scale = exact.factor(0) * fovFactor;
      const double error = testing::tableError(testing::rigOf(call.record).at(1).getIntrinsics());
      const double bound = std::max(0.01, 2 * error * in.focal_length_y);
      int tested = 0;
      for (std::size_t i = 0; i < 320 * 240; i += 7) {
        if (call.maps[2][i] == -1) continue;
        const double x = (static_cast<double>(i % 320) - 150) / (in.focal_length_x * scale);
        const double y = (static_cast<double>(i / 320) - 119.5) / (in.focal_length_y * scale);
        const auto pixel = exact.pixel(x, y);
        ASSERT_NEAR(call.maps[2][i], pixel.x, bound) << i;
        ASSERT_NEAR(call.maps[3][i], pixel.y, bound) << i;
        ++tested;
      }
      EXPECT_GT(tested, 4000);
    }
  }
}

XrPosedZEL_t pose(const Vec<double, 3>& w, const Vec<double, 3>& t) {
  return AR::CV::se32idl(SE3<double>(AR::Math::SO3<double>::exp(w), t));
}

TEST(FixedPlane, AnEyeInTheCameraSeesItsImageWhereItHasRays) {
  for (const testing::Lens& lens : testing::kLenses) {
    SCOPED_TRACE(lens.name);
    PairCall call(PairFunction::FixedPlane, PairCall::Sizes(4, 320 * 240));
    call.record = call.eyes = device(lens);
    call.eyes.cameras[1].intrinsics.distortion_limit = 0.9;
    call.eyes.cameras[1].intrinsics.undistortion_limit = 0.7;
    call.keepOutside = 1;
    LogCapture log;
    ASSERT_TRUE(call.run());
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

/// Cameras turned and apart, eyes of their own sizes in front of them, the first camera or another
/// place as the frame of reference.
PairCall turnedCall(float distance, const SE3<double>& T_ref_new) {
  PairCall call(PairFunction::FixedPlane, {96 * 64, 96 * 64, 80 * 60, 80 * 60});
  call.record.cameras[1].pose = pose({0.05, -0.1, 0.02}, {-0.1, 0.01, 0.02});
  call.eyes.cameras[0].intrinsics = {96, 64, 47, 30, 70, 72, {}, 0, 0, 0, 0};
  call.eyes.cameras[1].intrinsics = {80, 60, 41, 28, 60, 60, {}, 0, 0, 0, 0};
  call.eyes.cameras[0].pose = pose({0.1, 0.05, -0.2}, {0.02, -0.01, -0.03});
  call.eyes.cameras[1].pose = pose({-0.05, 0.02, 0.1}, {-0.08, 0.02, -0.04});
  for (DeviceCalibrationZEL* record : {&call.record, &call.eyes}) {
    for (int i = 0; i < 2; ++i) {
      XrPosedZEL_t& p = record->cameras[i].pose;
      p = AR::CV::se32idl(AR::CV::idl2se3<double>(p) * T_ref_new);
    }
  }
  call.keepOutside = 1;
  call.factor = distance;
  return call;
}

TEST(FixedPlane, EachEyeSeesItsPlaneThroughItsCameraFromEveryFrame) {
  const SE3<double> kFrame(AR::Math::SO3<double>::exp({0.3, -0.2, 0.4}), {0.5, -0.4, 0.3});
  for (const auto& [distance, isMoved] : {std::pair(0.3F, false), {4.0F, true}, {kInf, false}}) {
    PairCall call = turnedCall(distance, isMoved ? kFrame : SE3<double>());
    LogCapture log;
    ASSERT_TRUE(call.run());
    EXPECT_EQ(log.count("requires the left camera to be at the origin."), isMoved);
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

TEST(FixedPlane, PointsNearerThanACentimetreHaveNoSource) {
  // The eye lies `behind` its camera, metres.
  const struct {
    double behind;
    float distance;
    bool seen;
  } kCases[] = {{0, 0.0101F, true}, {0, 0.0099F, false}, {0.5, 0.3F, false}, {0.5, 0.52F, true}};
  for (const auto& c : kCases) {
    PairCall call(PairFunction::FixedPlane);
    call.factor = c.distance;
    call.keepOutside = 1;
    for (CameraCalibrationZEL& eye : call.eyes.cameras) eye.pose.position.z += c.behind;
    ASSERT_TRUE(call.run());
    EXPECT_EQ(call.maps[0][0] != -1, c.seen) << c.distance;
  }
}

}  // namespace
}  // namespace VIO
