#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "PairCall.h"

namespace VIO {
namespace {

using testing::expectSafe;
using testing::kDeviceCheck;
using testing::kMapsCheck;
using testing::LogCapture;
using testing::PairCall;
using testing::PairFunction;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr PairFunction kScaled[] = {PairFunction::Undistort, PairFunction::FixedPlane};

TEST(PairMaps, GoOnSafelyFromEveryBadInput) {
  constexpr std::uint32_t n = testing::kPixels;
  constexpr char kSizes[] =
      "mapLeftX_size==map_buffer_size && mapLeftY_size==map_buffer_size && "
      "mapRightX_size==map_buffer_size && mapRightY_size==map_buffer_size";
  const auto none = [](PairCall&) {};
  const auto count = [](int k) { return [=](PairCall& c) { c.record.num_cameras = k; }; };
  const auto noMap = [](std::size_t i) { return [=](PairCall& c) { c.nullMap = i; }; };
  for (const auto f : {PairFunction::Rectify, PairFunction::Undistort, PairFunction::FixedPlane}) {
    expectSafe(f, "nothing wrong", {}, "mmmm", "mm", none);
    expectSafe(f, "no device", {kDeviceCheck}, "----", "--",
               [](auto& c) { c.isDeviceNull = true; });
    expectSafe(f, "no camera", {kDeviceCheck}, "----", "--", count(0));
    expectSafe(f, "one camera", {kDeviceCheck}, "----", "--", count(1));
    expectSafe(f, "six cameras", {kDeviceCheck}, "mmmm", "mm", count(6));
    expectSafe(f, "seven cameras", {kDeviceCheck, "ret"}, "----", "--", count(7));
    expectSafe(f, "-1 cameras", {kDeviceCheck, "ret"}, "----", "--", count(-1));
    expectSafe(f, "unknown model", {"ret"}, "----", "--",
               [](auto& c) { c.record.cameras[1].intrinsics.distortion_model = 9; });
    expectSafe(f, "NaN", {"ret"}, "----", "--",
               [](auto& c) { c.record.cameras[0].pose.position.z = kNaN; });
    expectSafe(f, "no focal length", {"ret"}, "----", "--",
               [](auto& c) { c.record.cameras[1].intrinsics.focal_length_x = 0; });
    expectSafe(f, "no left X", {kMapsCheck}, ".-mm", "-m", noMap(0));
    expectSafe(f, "no left Y", {kMapsCheck}, "-.mm", "-m", noMap(1));
    expectSafe(f, "no right X", {kMapsCheck}, "mm.-", "m-", noMap(2));
    expectSafe(f, "no right Y", {kMapsCheck}, "mm-.", "m-", noMap(3));
    expectSafe(f, "no map, no device", {kMapsCheck, kDeviceCheck}, "---.", "--",
               [](auto& c) { c.nullMap = 3, c.isDeviceNull = true; });
    expectSafe(f, "short left X", {kSizes}, "--mm", "-m", none, {n - 1, n, n, n});
    expectSafe(f, "short right Y", {kSizes}, "mm--", "m-", none, {n, n, n, 1});
    expectSafe(f, "empty right", {kSizes}, "mm..", "m.", none, {n, n, 0, 0});
    expectSafe(f, "long left", {kSizes}, "mmmm", "mm", none, {n + 9, n, n, n});
    expectSafe(f, "long right Y", {kSizes}, "mmmm", "mm", none, {n, n, n, n + 1});
    expectSafe(f, "short, no device", {kDeviceCheck}, "----", "--",
               [](auto& c) { c.isDeviceNull = true; }, {5, n, n + 2, n});
  }
  expectSafe(PairFunction::FixedPlane, "a larger right eye", {kSizes}, "mm--", "m-",
             [](auto& c) { c.eyes.cameras[1].intrinsics.height *= 2; });
  expectSafe(PairFunction::Undistort, "a larger right camera",
             {"mapXY[0].size() == targetSize", "mapXY[1].size() == targetSize"}, "mm--", "m-",
             [](auto& c) { c.record.cameras[1].intrinsics.height *= 2; });
}

TEST(PairMaps, RefuseAFactorThatIsNotAboveZero) {
  for (const PairFunction function : kScaled) {
    for (const float factor : {0.0F, -0.0F, -1.5F, -kInf, kNaN}) {
      PairCall call(function);
      call.factor = factor;
      call.nullMap = 0;
      call.isDeviceNull = true;
      LogCapture log;
      EXPECT_FALSE(call.run(true));
      EXPECT_EQ(call.mapContents() + call.reasonContents(), "......");
      ASSERT_EQ(log.lines().size(), 3U) << log.text();
      EXPECT_EQ(log.count(kMapsCheck) + log.count(kDeviceCheck), 2);
      char text[64];
      std::snprintf(text, sizeof text,
                    function == PairFunction::Undistort
                        ? "Invalid undistortion field of view factor %f"
                        : "Invalid fixed plane distance %f",
                    static_cast<double>(factor));
      EXPECT_NE(log.lines()[2].text.find(text), std::string::npos) << log.text();
      EXPECT_EQ(log.lines()[2].priority, ANDROID_LOG_ERROR);
    }
  }
}

TEST(PairMaps, SurviveExtremeFactors) {
  for (const PairFunction function : kScaled) {
    for (const float factor : {1e-45F, 1e-30F, 0.001F, 1000.0F, 1e30F, 3e38F, kInf}) {
      PairCall call(function);
      call.factor = factor;
      LogCapture log;
      EXPECT_TRUE(call.run(true));
      EXPECT_TRUE(call.intact());
      // Pinhole cameras of such focal lengths cannot be made: both are reported.
      const bool isExtreme = factor < 1e-20F || factor > 1e20F;
      const bool noTarget = function == PairFunction::Undistort && isExtreme;
      EXPECT_EQ(log.count("AR_ASSERT result "), noTarget ? 2 : 0) << log.text();
      EXPECT_EQ(call.reasonContents() == "--", noTarget);
    }
  }
}

}  // namespace
}  // namespace VIO
