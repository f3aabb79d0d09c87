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
  const SO3<float> sideways(AR::Math::Mat<float, 3, 3>(0, 0, 1, 0, 1, 0, -1, 0, 0));
  const LogCapture log;  // a report for each pixel of the middle column
  setupUndistortMap(camera, camera, true, sideways, undistorted.view);
  EXPECT_EQ(log.count("AR_ASSERT nVal != 0 "), testing::kHeight) << log.text();
}

TEST(StereoRectify, ReportsMapsThatDoNotFit) {
  const auto rig = rigOf(device());
  const auto& camera = rig.at(0).getIntrinsics();
  Maps right(testing::kWidth, testing::kHeight), wrong(testing::kWidth, testing::kHeight - 1);
  ArrayView<ImageFloat> one(right.images, 1);
  LogCapture log;
  setupUndistortMap(camera, camera, false, {}, one);
  setupRectifyMap(rig.at(0), false, rig.at(0), {}, one);
  EXPECT_EQ(log.count("AR_ASSERT mapXY.size() == 2 VIO/src/StereoRectify("), 2) << log.text();
  setupUndistortMap(camera, camera, false, {}, wrong.view);
  EXPECT_EQ(log.count("mapXY[0].size() == targetSize"), 1) << log.text();
  EXPECT_EQ(log.count("mapXY[1].size() == targetSize"), 1) << log.text();
  const AR::CV::FullCamera<float> empty;
  setupRectifyMap(empty, false, rig.at(0), {}, right.view);
  EXPECT_EQ(log.count("AR_ASSERT isInitialized() VIO/src/StereoRectify("), 1) << log.text();
  EXPECT_TRUE(right.untouched() && wrong.untouched());
  right.images[1].set(nullptr, right.images[0].size(), right.images[0].size(), false);
  setupUndistortMap(camera, camera, false, {}, right.view);
  EXPECT_EQ(log.count("AR_ASSERT mPixels "), 1) << log.text();
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
  GuardedBuffer<float> X(6), Y(7);
  const LogCapture log;
  copyMapToArrays(maps, X.data(), 6, Y.data(), 7);
  EXPECT_TRUE(X[3] == 4 && X[5] == 6 && Y[0] == -7 && X.intact());
  EXPECT_EQ(log.count("AR_ASSERT mapXY[1].numPixels() == mapYOut_size"), 1) << log.text();
  copyMapToArrays(maps, nullptr, 5, Y.data(), 6);
  EXPECT_TRUE(Y[3] == 16 && Y[6] == -7 && Y.intact());
  copyMapToArrays(maps, nullptr, 6, nullptr, 6);
  EXPECT_EQ(log.count("AR_ASSERT out != nullptr"), 2) << log.text();
  copyMapToArrays(ArrayView<ImageFloat>(images, 1), pixels[0], 6, pixels[1], 6);
  EXPECT_EQ(log.count("AR_ASSERT mapXY.size() == 2"), 1) << log.text();
}

TEST(StereoRectify, ALeftCameraAloneIsMovedToTheOrigin) {
  auto rig = rigOf(device(1));
  rig.at(0).setExtrinsics({SO3<float>::exp({0, 0.3F, 0.1F}), {}});
  SE3<float> pose;
  const LogCapture log;
  EXPECT_TRUE(moveLeftCameraToOrigin(rig, pose));
  EXPECT_EQ(log.count("AR_ASSERT index<current_size "), 1) << log.text();
}

}  // namespace
}  // namespace VIO
