#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "PairCall.h"
#include "TestModels.h"

namespace VIO {
namespace {

using testing::BadPairInput;
using testing::kDeviceCheck;
using testing::kMapsCheck;
using testing::kPixels;
using testing::kSizesCheck;
using testing::LogCapture;
using testing::ModelCase;
using testing::PairCall;
using testing::PairFunction;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

std::vector<BadPairInput> badInputs() {
  constexpr std::uint32_t n = kPixels;
  const auto none = [](PairCall&) {};
  const auto count = [](int cameras) {
    return [=](PairCall& c) { c.record.num_cameras = cameras; };
  };
  const auto noMap = [](std::size_t i) { return [=](PairCall& c) { c.nullMap = i; }; };
  return {
      {"nothing wrong", none, {}, "mmmm", "mm"},
      {"no device", [](auto& c) { c.isDeviceNull = true; }, {kDeviceCheck}, "----", "--"},
      {"no camera", count(0), {kDeviceCheck}, "----", "--"},
      {"one camera", count(1), {kDeviceCheck}, "----", "--"},
      {"six cameras", count(6), {kDeviceCheck}, "mmmm", "mm"},
      {"seven cameras", count(7), {kDeviceCheck, "ret"}, "----", "--"},
      {"-1 cameras", count(-1), {kDeviceCheck, "ret"}, "----", "--"},
      {"unknown model",
       [](auto& c) { c.record.cameras[1].intrinsics.distortion_model = 9; },
       {"ret"},
       "----",
       "--"},
      {"NaN", [](auto& c) { c.record.cameras[0].pose.position.z = kNaN; }, {"ret"}, "----", "--"},
      {"no focal length",
       [](auto& c) { c.record.cameras[1].intrinsics.focal_length_x = 0; },
       {"ret"},
       "----",
       "--"},
      {"no left X", noMap(0), {kMapsCheck}, ".-mm", "-m"},
      {"no left Y", noMap(1), {kMapsCheck}, "-.mm", "-m"},
      {"no right X", noMap(2), {kMapsCheck}, "mm.-", "m-"},
      {"no right Y", noMap(3), {kMapsCheck}, "mm-.", "m-"},
      {"no map, no device",
       [](auto& c) {
         c.nullMap = 3;
         c.isDeviceNull = true;
       },
       {kMapsCheck, kDeviceCheck},
       "---.",
       "--"},
      {"short left X", none, {kSizesCheck}, "--mm", "-m", true, {n - 1, n, n, n}},
      {"short right Y", none, {kSizesCheck}, "mm--", "m-", true, {n, n, n, 1}},
      {"empty right", none, {kSizesCheck}, "mm..", "m.", true, {n, n, 0, 0}},
      {"long left", none, {kSizesCheck}, "mmmm", "mm", true, {n + 9, n + 1, n, n}},
      {"nothing right",
       [](auto& c) {
         c.nullMap = 0;
         c.isDeviceNull = true;
         c.factor = 0;
       },
       {kMapsCheck, kDeviceCheck, "Invalid"},
       "....",
       "..",
       false,
       {5, n, n, n}},
  };
}

TEST(PairMaps, GoOnSafelyFromEveryBadInput) {
  for (const PairFunction function : {PairFunction::Undistort, PairFunction::FixedPlane}) {
    for (BadPairInput input : badInputs()) {
      // The last one is no check: it is looked for below.
      if (!input.returned) input.checks.pop_back();
      testing::expectSafe(function, input);
    }
  }
}

TEST(PairMaps, RefuseAFactorThatIsNotAboveZero) {
  for (const auto& [function, text] :
       {std::pair{PairFunction::Undistort, "Invalid undistortion field of view factor "},
        std::pair{PairFunction::FixedPlane, "Invalid fixed plane distance "}}) {
    for (const float factor : {0.0F, -0.0F, -1.5F, -kInf, kNaN}) {
      PairCall call(function);
      call.factor = factor;
      LogCapture log;
      EXPECT_FALSE(call.run(true));
      char number[32];
      std::snprintf(number, sizeof number, "%f", static_cast<double>(factor));
      ASSERT_EQ(log.lines().size(), 1U) << log.text();
      EXPECT_NE(log.lines()[0].text.find(text + std::string(number)), std::string::npos);
      EXPECT_EQ(log.lines()[0].priority, ANDROID_LOG_ERROR);
      for (const auto& map : call.maps) EXPECT_EQ(testing::content(map, true), '.');
      for (const auto& plane : call.reasons) EXPECT_EQ(testing::content(plane), '.');
    }
  }
}

TEST(PairMaps, SurviveExtremeFactors) {
  for (const PairFunction function : {PairFunction::Undistort, PairFunction::FixedPlane}) {
    for (const float factor : {1e-45F, 1e-30F, 0.001F, 1000.0F, 1e30F, 3e38F, kInf}) {
      PairCall call(function);
      call.factor = factor;
      LogCapture log;
      EXPECT_TRUE(call.run(true));
      for (const auto& map : call.maps) EXPECT_TRUE(map.intact() && map[7] != -7);
      // Pinhole cameras of such focal lengths cannot be made: both are reported.
      const bool isExtreme = factor < 1e-20F || factor > 1e20F;
      const bool noTarget = function == PairFunction::Undistort && isExtreme;
      EXPECT_EQ(log.count("AR_ASSERT result "), noTarget ? 2 : 0) << log.text();
      EXPECT_EQ(testing::content(call.reasons[0]) == '-', noTarget);
    }
  }
}

TEST(UndistortMap, SeesWhatAPinholeCameraOfTheScaledFocalLengthSees) {
  for (const ModelCase& c : testing::kModels) {
    SCOPED_TRACE(c.name);
    for (const float fovFactor : {0.5F, 1.0F, 2.5F}) {
      PairCall call(PairFunction::Undistort, std::vector<std::uint32_t>(4, 320 * 240));
      call.record = testing::device(c);
      const IntrinsicCameraCalibrationZEL& in = call.record.cameras[1].intrinsics;
      call.record.cameras[1].intrinsics.principal_point_x = 150;
      call.record.cameras[1].pose.orientation = {0.5, 0.5, 0.5, 0.5};  // poses do not enter
      call.factor = fovFactor;
      call.keepOutside = 1;
      ASSERT_TRUE(call.run(false));
      const auto rig = testing::rigOf(call.record);
      const CamModel::CameraModel<double> exact(in);
      const double F0 = exact.distortionFactor(0.0);
      const double bound =
          std::max(0.01, 2 * testing::tableError(rig.at(1).getIntrinsics()) * in.focal_length_y);
      int tested = 0;
      for (std::size_t i = 0; i < 320 * 240; i += 7) {
        if (call.maps[2][i] == -1) continue;
        const double x =
            (static_cast<double>(i % 320) - 150) / (in.focal_length_x * F0 * fovFactor);
        const double y =
            (static_cast<double>(i / 320) - 119.5) / (in.focal_length_y * F0 * fovFactor);
        const auto pixel = testing::exactPixel(exact, x, y);
        ASSERT_NEAR(call.maps[2][i], pixel(0), bound) << i;
        ASSERT_NEAR(call.maps[3][i], pixel(1), bound) << i;
        ++tested;
      }
      EXPECT_GT(tested, 4000);
    }
  }
}

TEST(UndistortMap, ARightCameraOfAnotherSizeGetsNone) {
  PairCall call(PairFunction::Undistort);
  call.record.cameras[1].intrinsics.height = 40;
  LogCapture log;
  EXPECT_TRUE(call.run(true));
  EXPECT_EQ(testing::content(call.maps[0], true), 'm');
  EXPECT_EQ(testing::content(call.maps[2], true), '-');
  EXPECT_EQ(testing::content(call.maps[3], false), '-');
  EXPECT_EQ(testing::content(call.reasons[1]), '-');
  EXPECT_EQ(log.count("AR_ASSERT mapXY[0].size() == targetSize VIO/src/StereoRectify("), 1);
  EXPECT_EQ(log.count("AR_ASSERT mapXY[1].size() == targetSize VIO/src/StereoRectify("), 1);
}

}  // namespace
}  // namespace VIO
