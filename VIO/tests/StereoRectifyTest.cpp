#include <gtest/gtest.h>

#include <cmath>

#include "TestDevices.h"
#include "VIO/StereoRectify.h"
#include "testing/GuardedBuffer.h"
#include "testing/LogCapture.h"

namespace VIO {
namespace {

using AR::Common::ArrayView;
using AR::CV::ImageFloat;
using AR::Math::SE3;
using AR::Math::SO3;
using AR::Math::Vec;
using rectiline::testing::GuardedBuffer;
using rectiline::testing::LogCapture;
using testing::device;
using testing::rigOf;

/// A map pair of the caller's memory.
struct Maps {
  Maps(int width, int height)
      : X(static_cast<std::size_t>(width * height)), Y(X.size()), view(images, 2) {
    images[0].set(X.data(), {width, height}, {width, height}, false);
    images[1].set(Y.data(), {width, height}, {width, height}, false);
  }
  [[nodiscard]] bool untouched() const { return X[0] == -7 && Y[X.size() - 1] == -7; }

  GuardedBuffer<float> X, Y;
  ImageFloat images[2];
  ArrayView<ImageFloat> view;
};

TEST(StereoRectify, RectifyMapsTakeThePosesOfBothCameras) {
  DeviceCalibrationZEL record = device();
  record.cameras[0].pose.orientation = {0, 0, std::sin(0.1), std::cos(0.1)};  // 0.2 about z
  record.cameras[1].pose.orientation = {0, 0, std::sin(0.4), std::cos(0.4)};
  const auto rig = rigOf(record);
  Maps maps(2, 2);  // given the target's size, in memory of their own
  setupRectifyMap(rig.at(0), true, rig.at(1), SO3<float>::exp({0, 0, 0.3F}), maps.view);
  ASSERT_EQ(maps.images[0].numPixels(), testing::kPixels);
  // 0.2 + 0.3 - 0.8 = -0.3 about z: ten pixels right of the centre
  EXPECT_NEAR(maps.images[0].getPixel(42, 24), 32 + 10 * std::cos(-0.3), 1e-4);
  EXPECT_NEAR(maps.images[1].getPixel(42, 24), 24 + 10 * std::sin(-0.3), 1e-4);
  EXPECT_TRUE(maps.untouched() && maps.X.intact());
}

TEST(StereoRectify, UndistortMapsMirrorWhatIsBehindAndRectifyMapsDoNot) {
  const auto rig = rigOf(device());
  const auto& camera = rig.at(0).getIntrinsics();
  const SO3<float> backwards(AR::Math::Mat<float, 3, 3>(-1, 0, 0, 0, 1, 0, 0, 0, -1));
  Maps rectified(testing::kWidth, testing::kHeight), undistorted(testing::kWidth, testing::kHeight);
  setupRectifyMap(rig.at(0), true, rig.at(0), backwards, rectified.view);
  setupUndistortMap(camera, camera, true, backwards, undistorted.view);
  for (std::size_t i = 0; i < testing::kPixels; ++i) {
    EXPECT_EQ(rectified.X[i], -1);
    EXPECT_NEAR(undistorted.X[i], static_cast<double>(i % testing::kWidth), 1e-4);
    EXPECT_NEAR(undistorted.Y[i], 48 - static_cast<double>(i / testing::kWidth), 1e-4);
  }
}

TEST(StereoRectify, AFocalScaleZooms) {
  DeviceCalibrationZEL record = device();
  record.cameras[0].intrinsics.principal_point_x = 30;
  const auto rig = rigOf(record);
  for (const bool keepOutside : {false, true}) {
    Maps maps(testing::kWidth, testing::kHeight);
    setupUndistortMap(rig.at(0).getIntrinsics(), keepOutside, {}, 0.5F, maps.view);
    EXPECT_NEAR(maps.images[0].getPixel(40, 20), 30 + 2 * 10, 1e-4);
    EXPECT_NEAR(maps.images[1].getPixel(40, 20), 24 - 2 * 4, 1e-4);
    EXPECT_NEAR(maps.images[0].getPixel(0, 0), keepOutside ? -30 : -1, 1e-4);
    EXPECT_TRUE(maps.X.intact() && maps.Y.intact());
  }
  LogCapture log;
  Maps maps(testing::kWidth, testing::kHeight);
  setupUndistortMap(rig.at(0).getIntrinsics(), false, {}, -1, maps.view);
  EXPECT_EQ(log.count("AR_ASSERT result "), 1) << log.text();
  EXPECT_TRUE(maps.untouched());
}

TEST(StereoRectify, ReportsMapsThatDoNotFit) {
  const auto rig = rigOf(device());
  const auto& camera = rig.at(0).getIntrinsics();
  Maps right(testing::kWidth, testing::kHeight), wrong(testing::kWidth, testing::kHeight - 1);
  ArrayView<ImageFloat> one(right.images, 1);
  {
    LogCapture log;
    setupUndistortMap(camera, camera, false, {}, one);
    setupRectifyMap(rig.at(0), false, rig.at(0), {}, one);
    EXPECT_EQ(log.count("AR_ASSERT mapXY.size() == 2 VIO/src/StereoRectify("), 2) << log.text();
    EXPECT_TRUE(right.untouched());
  }
  LogCapture log;
  setupUndistortMap(camera, camera, false, {}, wrong.view);
  EXPECT_EQ(log.count("mapXY[0].size() == targetSize"), 1) << log.text();
  EXPECT_EQ(log.count("mapXY[1].size() == targetSize"), 1) << log.text();
  EXPECT_TRUE(wrong.untouched());
  right.images[1].set(nullptr, right.images[0].size(), right.images[0].size(), false);
  setupUndistortMap(camera, camera, false, {}, right.view);
  EXPECT_EQ(log.count("AR_ASSERT mPixels "), 1) << log.text();
  const AR::CV::FullCamera<float> empty;
  setupRectifyMap(empty, false, rig.at(0), {}, wrong.view);
  EXPECT_EQ(log.count("AR_ASSERT isInitialized() VIO/src/StereoRectify("), 1) << log.text();
  EXPECT_TRUE(wrong.untouched());
}

TEST(StereoRectify, VignettingGainsAreThoseOfTheSensor) {
  DeviceCalibrationZEL record = device();
  record.cameras[0].intrinsics.width = 1600;
  record.cameras[0].intrinsics.height = 480;
  record.cameras[0].intrinsics.principal_point_x = 800;
  const auto rig = rigOf(record);
  ImageFloat scale;
  setupVignettingMap(rig.at(0).getIntrinsics(), rig.at(1).getIntrinsics(), scale);
  ASSERT_EQ(scale.size()(0), 1600);
  EXPECT_EQ(scale.getPixel(320, 240), 1);
  EXPECT_NEAR(scale.getPixel(720, 240), 1 / (1 - 1.2782925 + 1.0701685 - 0.310786), 1e-5);
  EXPECT_EQ(scale.getPixel(1599, 240), 0) << "the polynomial is negative there";
  for (int x = 0; x < 1600; ++x) {
    EXPECT_TRUE(scale.getPixel(x, 0) >= 0 && scale.getPixel(x, 0) <= 255) << x;
  }
}

TEST(StereoRectify, CopiesMapsOfTheRightSize) {
  float pixels[2][12];
  for (int i = 0; i < 24; ++i) pixels[i / 12][i % 12] = static_cast<float>(i);
  ImageFloat images[2];
  for (int i = 0; i < 2; ++i) images[i].set(pixels[i], {3, 2}, {4, 3}, false);
  const ArrayView<ImageFloat> maps(images, 2);
  const struct { std::uint32_t sizeX, sizeY; } kCases[] = {{6, 6}, {5, 6}, {6, 7}};
  for (const auto& c : kCases) {
    LogCapture log;
    GuardedBuffer<float> X(c.sizeX), Y(c.sizeY);
    copyMapToArrays(maps, X.data(), c.sizeX, Y.data(), c.sizeY);
    EXPECT_EQ(X[3], c.sizeX == 6 ? 4 : -7);
    EXPECT_EQ(Y[5], c.sizeY == 6 ? 18 : -7);
    EXPECT_TRUE(X.intact() && Y.intact());
    EXPECT_EQ(log.count("AR_ASSERT mapXY[0].numPixels() == mapXOut_size"), c.sizeX != 6);
    EXPECT_EQ(log.count("AR_ASSERT mapXY[1].numPixels() == mapYOut_size"), c.sizeY != 6);
  }
  LogCapture log;
  copyMapToArrays(maps, nullptr, 6, nullptr, 6);
  copyMapToArrays(ArrayView<ImageFloat>(images, 1), pixels[0], 6, pixels[1], 6);
  EXPECT_EQ(log.count("AR_ASSERT out != nullptr"), 2) << log.text();
  EXPECT_EQ(log.count("AR_ASSERT mapXY.size() == 2"), 1) << log.text();
}

TEST(StereoRectify, MovesARotatedLeftCameraToTheOrigin) {
  const SE3<float> T_right_left(SO3<float>::exp({0.1F, 0, 0}), {-0.1F, 0, 0});
  const SE3<float> kTurned(SO3<float>::exp({0, 0.3F, 0.1F}), {1, 2, 3});
  const SE3<float> kShifted(SO3<float>(), {1, 2, 3});
  for (const SE3<float>& T_left_ref : {kTurned, kShifted}) {
    const bool turned = T_left_ref.rotation().matrix()(0, 0) != 1;
    auto rig = rigOf(device());
    rig.at(0).setExtrinsics(T_left_ref);
    rig.at(1).setExtrinsics(T_right_left * T_left_ref);
    SE3<float> pose = T_right_left * T_left_ref;
    LogCapture log;
    EXPECT_TRUE(moveLeftCameraToOrigin(rig, pose));
    EXPECT_EQ(log.count("StereoRectify requires the left camera to be at the origin."), turned);
    const Vec<float, 3> p(0.5F, -0.7F, 2);
    const Vec<float, 3> p_left = turned ? p : T_left_ref * p;
    EXPECT_LT(norm(pose * p - T_right_left * p_left), 1e-5);
    EXPECT_LT(norm(rig.at(0).getCamReferenceToLocal() * p - p_left), turned ? 1e-30 : 1e-5);
    EXPECT_LT(norm(rig.at(1).getCamReferenceToLocal() * p - T_right_left * p_left), 1e-5);
  }
  auto single = rigOf(device(1));
  single.at(0).setExtrinsics(kTurned);
  SE3<float> pose;
  LogCapture log;
  EXPECT_TRUE(moveLeftCameraToOrigin(single, pose));
  EXPECT_EQ(log.count("AR_ASSERT index<current_size "), 1) << log.text();
}

}  // namespace
}  // namespace VIO
