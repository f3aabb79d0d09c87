#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "PairCall.h"

namespace VIO {
namespace {

using testing::PairCall;
using testing::PairFunction;

TEST(CreateRectifyMap, GoesOnSafelyFromBadInputOfItsOwn) {
  const auto expect = [](const char* name, const std::vector<const char*>& checks, char content,
                         const std::function<void(PairCall&)>& spoil) {
    testing::expectSafe(PairFunction::Rectify, name, checks, std::string(4, content).c_str(),
                        std::string(2, content).c_str(), spoil);
  };
  expect("model -1", {"ret"}, '-',
         [](auto& c) { c.record.cameras[0].intrinsics.distortion_model = -1; });
  expect("zero quaternion", {"ret"}, '-',
         [](auto& c) { c.record.cameras[0].pose.orientation.w = 0; });
  expect("infinite focal length", {"ret"}, '-', [](auto& c) {
    c.record.cameras[0].intrinsics.focal_length_y = std::numeric_limits<double>::infinity();
  });
  expect("bad inertial unit", {}, 'm',
         [](auto& c) { c.record.imus[0].pose.orientation.w = std::nan(""); });
  expect("unterminated name", {}, 'm',
         [](auto& c) { std::memset(c.record.cameras[0].name, 'x', sizeof(c.camera.name)); });
  expect("centre column unseen", {}, '-', [](auto& c) {
    IntrinsicCameraCalibrationZEL& in = c.record.cameras[0].intrinsics;
    in.distortion_limit = in.undistortion_limit = 0.2;
  });
  expect("endless baseline", {}, '-', [](auto& c) {
    c.record.cameras[1].pose.position = {-3e38, 3e38, 0};
  });
  expect("no rectified camera", {"rectifiedCam != nullptr"}, 'm',
         [](auto& c) { c.isCameraNull = true; });
  expect("no depth constant", {}, 'm', [](auto& c) { c.isDepthNull = true; });
  expect("hardly anything", {"rectifiedCam != nullptr", testing::kDeviceCheck}, '-',
         [](auto& c) { c.isCameraNull = c.isDepthNull = c.isDeviceNull = true; });
}

TEST(CreateRectifyMapDeathTest, TwoCamerasAtOnePlaceEndTheProcess) {
  // A forked child would wait for worker threads that it does not have.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  PairCall call(PairFunction::Rectify);
  call.record.cameras[1].pose.position = {};
  EXPECT_DEATH(call.run(false), "length>0");
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

}  // namespace
}  // namespace VIO
