// What the maps of the entry points and of the functions below them hold.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "AR/CV/Camera/Interchange.h"
#include "EntryCall.h"
#include "VIO/Gains.h"
#include "VIO/StereoRectify.h"
#include "testing/ExactModel.h"
#include "testing/InstructionSets.h"
#include "testing/LogCapture.h"
#include "testing/TableErrors.h"

namespace VIO {
namespace {

using AR::Common::ArrayView;
using AR::CV::ImageFloat;
using AR::Math::SE3;
using AR::Math::SO3;
using AR::Math::Vec;
using rectiline::testing::LogCapture;
using rectiline::testing::tableError;
using testing::Entry;
using testing::EntryCall;
using testing::GuardedBuffer;
using testing::kHeight;
using testing::kPixels;
using testing::kWidth;
using testing::rigOf;

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// Expects that the maps of camera `i` hold what position(x, y) says, and returns for how many
/// pixels of the image they hold anything.
template <typename Position>
int expectPositions(const EntryCall& call, std::size_t i, int width, int height, double off,
                    Position&& position) {
  int tested = 0;
  for (int k = 0; k < width * height; ++k) {
    const double u = call.floats[2 * i][std::size_t(k)], v = call.floats[2 * i + 1][std::size_t(k)];
    if (u == -1 && v == -1) continue;
    const auto [x, y] = position(k % width, k / width);
    EXPECT_LT(std::hypot(u - x, v - y), off) << k % width << ", " << k / width;
    if (::testing::Test::HasFailure()) break;
    ++tested;
  }
  return tested;
}

/// `least`, or what the tables of the device's right camera are off by when that is more.
double bound(double least, const DeviceCalibrationZEL& device) {
  return std::max(least, 2 * tableError(rigOf(device).at(1).getIntrinsics()) * 204);
}

TEST(UndistortMap, SeesWhatAPinholeCameraOfTheScaledFocalLengthSees) {
  for (const testing::Lens& lens : testing::kLenses) {
    for (const float fovFactor : {0.5F, 1.0F, 2.5F}) {
      SCOPED_TRACE(lens.name);
      EntryCall call(320 * 240);
      call.record = testing::device(lens);
      IntrinsicCameraCalibrationZEL& in = call.record.cameras[1].intrinsics;
      in.principal_point_x = 150;
      call.record.cameras[1].pose.orientation = {0.5, 0.5, 0.5, 0.5};  // poses do not enter
      call.factor = fovFactor;
      call.config.keepOutside = 1;
      ASSERT_TRUE(call.run(Entry::Undistort));
      const rectiline::testing::ExactModel exact(in);
      const double f = in.focal_length_x * exact.factor(0) * static_cast<double>(fovFactor);
      const double off = bound(0.01, call.record);
      const auto position = [&](int x, int y) {
        return exact.pixel((x - 150) / f, (y - 119.5) / (1.02 * f));
      };
      EXPECT_GT(expectPositions(call, 1, 320, 240, off, position), 28000);
    }
  }
}

TEST(FixedPlane, AnEyeInTheCameraSeesItsImageWhereItHasRays) {
  for (const testing::Lens& lens : testing::kLenses) {
    SCOPED_TRACE(lens.name);
    EntryCall call(320 * 240);
    call.record = call.other = testing::device(lens);
    call.other.cameras[1].intrinsics.distortion_limit = 0.9;
    call.other.cameras[1].intrinsics.undistortion_limit = 0.7;
    ASSERT_TRUE(call.run(Entry::FixedPlane));
    const double off = bound(0.02, call.record);
    const auto itself = [](int x, int y) { return std::pair(x, y); };
    EXPECT_NEAR(expectPositions(call, 1, 320, 240, off, itself), 58000, 3000)
        << "a disc of 140 pixels, cut at top and bottom";
  }
}

XrPosedZEL_t pose(const Vec<double, 3>& w, const Vec<double, 3>& t) {
  return AR::CV::se32idl(SE3<double>(SO3<double>::exp(w), t));
}

TEST(FixedPlane, EachEyeSeesItsPlaneThroughItsCameraFromEveryFrame) {
  const SE3<double> kFrame(SO3<double>::exp({0.3, -0.2, 0.4}), {0.5, -0.4, 0.3});
  for (const auto& [distance, isMoved] : {std::pair(0.3F, false), {4.0F, true}, {kInf, false}}) {
    EntryCall call(96 * 64);
    call.sizes[2] = call.sizes[3] = 80 * 60;
    call.record.cameras[1].pose = pose({0.05, -0.1, 0.02}, {-0.1, 0.01, 0.02});
    call.other.cameras[0].intrinsics = {96, 64, 47, 30, 70, 72, {}, 0, 0, 0, 0};
    call.other.cameras[1].intrinsics = {80, 60, 41, 28, 60, 60, {}, 0, 0, 0, 0};
    call.other.cameras[0].pose = pose({0.1, 0.05, -0.2}, {0.02, -0.01, -0.03});
    call.other.cameras[1].pose = pose({-0.05, 0.02, 0.1}, {-0.08, 0.02, -0.04});
    for (DeviceCalibrationZEL* record : {&call.record, &call.other}) {
      for (CameraCalibrationZEL& camera : record->cameras) {
        const SE3<double> T_local_new =
            AR::CV::idl2se3<double>(camera.pose) * (isMoved ? kFrame : SE3<double>());
        camera.pose = AR::CV::se32idl(T_local_new);
      }
    }
    call.config.keepOutside = 1;
    call.factor = distance;
    LogCapture log;
    ASSERT_TRUE(call.run(Entry::FixedPlane));
    EXPECT_EQ(log.count("requires the left camera to be at the origin."), isMoved);
    EXPECT_EQ(log.failedChecks(), 0) << log.text();
    const double D = std::min(static_cast<double>(distance), 1e7);
    for (std::size_t e = 0; e < 2; ++e) {
      const auto T_source_eye = AR::CV::idl2se3<double>(call.record.cameras[e].pose) *
                                AR::CV::idl2se3<double>(call.other.cameras[e].pose).inverse();
      const IntrinsicCameraCalibrationZEL& in = call.other.cameras[e].intrinsics;
      const auto position = [&](int px, int py) {
        const double x = (px - in.principal_point_x) / in.focal_length_x;
        const double y = (py - in.principal_point_y) / in.focal_length_y;
        const Vec<double, 3> p = T_source_eye * Vec<double, 3>(D * x, D * y, D);
        return std::pair(32 + 50 * p(0) / p(2), 24 + 50 * p(1) / p(2));
      };
      const int count = in.width * in.height;
      EXPECT_EQ(expectPositions(call, e, in.width, in.height, 1e-3, position), count);
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
    EntryCall call;
    call.factor = c.distance;
    call.config.keepOutside = 1;
    for (CameraCalibrationZEL& eye : call.other.cameras) eye.pose.position.z += c.behind;
    ASSERT_TRUE(call.run(Entry::FixedPlane));
    EXPECT_EQ(call.floats[0][0] != -1, c.seen) << c.distance;
  }
}

TEST(CalibrationMap, RotationsTurnTheTargetFrameIntoTheSourceFrame) {
  static constexpr float kRotations[] = {0, 0, 0, 0, 0, 0.3F};
  for (const std::uint32_t keepOutside : {0U, 1U}) {
    EntryCall call;
    call.other.cameras[1].intrinsics.focal_length_x = 25;
    call.record.cameras[1].pose.orientation = {1, 0, 0, 0};  // poses do not enter
    call.config = {keepOutside, true, kRotations, 2};
    ASSERT_EQ(call.run(Entry::Calibration), 0);
    EXPECT_EQ(call.left(Entry::Calibration).substr(0, 6), "mm??mm") << "of the left camera";
    // Ideal (0.2, 0) turned by 0.3 about z; the inverse is made with the same rotation.
    const std::size_t row = 24 * kWidth;
    EXPECT_NEAR(call.floats[2][row + 37], 32 + 50 * 0.2 * std::cos(0.3), 1e-3);
    EXPECT_NEAR(call.floats[3][row + 37], 24 + 50 * 0.2 * std::sin(0.3), 1e-3);
    EXPECT_NEAR(call.floats[6][row + 42], 32 + 25 * 0.2 * std::cos(0.3), 1e-3);
    EXPECT_NEAR(call.floats[7][row + 42], 24 + 50 * 0.2 * std::sin(0.3), 1e-3);
    EXPECT_EQ(call.floats[2][row] == -1, keepOutside == 0);
  }
  static constexpr float kNoRotations[] = {kNaN, 0, 0, 1e38F, 0, 0};
  EntryCall call;
  call.config.rotations = kNoRotations;
  EXPECT_EQ(call.run(Entry::Calibration), 0);
  EXPECT_EQ(call.left(Entry::Calibration), "--------gg");
}

bool hasPositionOutside(const GuardedBuffer<float>& X) {
  bool has = false;
  for (std::size_t i = 0; i < kPixels; ++i) has |= X[i] < -1 || X[i] > kWidth;
  return has;
}

TEST(PairMaps, HoldPositionsOutsideTheImageWhenTheyAreToBeKept) {
  for (const Entry entry : {Entry::Rectify, Entry::Undistort, Entry::FixedPlane}) {
    for (const std::uint32_t keepOutside : {0U, 1U}) {
      EntryCall call;
      call.factor = entry == Entry::Undistort ? 0.5F : 1.0F;
      call.record.cameras[1].pose = pose({0, 0, 0.5}, {-0.1, 0.05, 0});
      for (CameraCalibrationZEL& eye : call.other.cameras) eye.intrinsics.focal_length_x = 25;
      call.config.keepOutside = keepOutside;
      ASSERT_TRUE(call.run(entry));
      EXPECT_EQ(hasPositionOutside(call.floats[0]), keepOutside == 1) << int(entry);
      EXPECT_EQ(hasPositionOutside(call.floats[2]), keepOutside == 1) << int(entry);
    }
  }
}

/// A map pair of the caller's memory.
struct MapPair {
  explicit MapPair(int width = kWidth, int height = kHeight)
      : X(static_cast<std::size_t>(width * height)), Y(X.size()), view(images, 2) {
    images[0].set(X.data(), {width, height}, {width, height}, false);
    images[1].set(Y.data(), {width, height}, {width, height}, false);
  }
  [[nodiscard]] bool isAll(float value) const {
    bool all = true;
    for (std::size_t i = 0; i < X.size(); ++i) all &= X[i] == value && Y[i] == value;
    return all;
  }

  GuardedBuffer<float> X, Y;
  ImageFloat images[2];
  ArrayView<ImageFloat> view;
};

class StereoRectify : public ::testing::Test {
 protected:
  AR::CV::FullStereoCameraCalibration<float> mRig = rigOf(testing::device());
  const AR::CV::FullCamera<float>& mCamera = mRig.at(0);
  MapPair mMaps;
  LogCapture mLog;
};

TEST_F(StereoRectify, RectifyMapsTakeThePosesOfBothCameras) {
  mRig.at(0).setExtrinsics({SO3<float>::exp({0, 0, 0.2F}), {}});
  mRig.at(1).setExtrinsics({SO3<float>::exp({0, 0, 0.8F}), {}});
  setupRectifyMap(mCamera, true, mRig.at(1), SO3<float>::exp({0, 0, 0.3F}), mMaps.view);
  // 0.2 + 0.3 - 0.8 = -0.3 about z: ten pixels right of the centre
  EXPECT_NEAR(mMaps.images[0].getPixel(42, 24), 32 + 10 * std::cos(-0.3), 1e-4);
  EXPECT_NEAR(mMaps.images[1].getPixel(42, 24), 24 + 10 * std::sin(-0.3), 1e-4);
}

TEST_F(StereoRectify, UndistortMapsMirrorWhatIsBehindAndRectifyMapsDoNot) {
  const auto& intrinsics = mCamera.getIntrinsics();
  const SO3<float> backwards(AR::Math::Mat<float, 3, 3>(-1, 0, 0, 0, 1, 0, 0, 0, -1));
  setupRectifyMap(mCamera, true, mCamera, backwards, mMaps.view);
  EXPECT_TRUE(mMaps.isAll(-1));
  setupUndistortMap(intrinsics, intrinsics, true, backwards, mMaps.view);
  for (std::size_t i = 0; i < kPixels; ++i) {
    ASSERT_NEAR(mMaps.X[i], static_cast<int>(i % kWidth), 1e-4);
    ASSERT_NEAR(mMaps.Y[i], 48 - static_cast<int>(i / kWidth), 1e-4);
  }
  const SO3<float> sideways(AR::Math::Mat<float, 3, 3>(0, 0, 1, 0, 1, 0, -1, 0, 0));
  setupUndistortMap(intrinsics, intrinsics, true, sideways, mMaps.view);
  EXPECT_EQ(mLog.count("AR_ASSERT nVal != 0 "), kHeight) << "the middle column" << mLog.text();
}

TEST_F(StereoRectify, GoesOnWithMapsThatDoNotFitAsFarAsTheyReach) {
  const auto& intrinsics = mCamera.getIntrinsics();
  ArrayView<ImageFloat> one(mMaps.images, 1);
  setupUndistortMap(intrinsics, intrinsics, false, {}, one);
  setupRectifyMap(mCamera, false, mCamera, {}, one);
  EXPECT_EQ(mLog.count("AR_ASSERT mapXY.size() == 2 VIO/src/StereoRectify("), 2) << mLog.text();
  EXPECT_TRUE(mMaps.X[0] == -1 && mMaps.X[kPixels - 1] == -1 && mMaps.Y[0] == -7);
  MapPair wrong(kWidth + 1, kHeight - 1);
  setupUndistortMap(intrinsics, intrinsics, false, {}, wrong.view);
  EXPECT_EQ(mLog.count("mapXY[0].size() == targetSize"), 1) << mLog.text();
  EXPECT_EQ(mLog.count("void VIO::setupUndistortMap("), 4) << mLog.text();
  EXPECT_NEAR(wrong.images[0].getPixel(63, 46), 63, 1e-4);
  EXPECT_EQ(wrong.images[1].getPixel(64, 46), -1) << "beyond the target";
  EXPECT_TRUE(mMaps.X.intact() && wrong.X.intact() && wrong.Y.intact());
}

TEST_F(StereoRectify, CamerasAndMemoryThatAreNotThereLeaveNoSource) {
  setupRectifyMap(AR::CV::FullCamera<float>(), false, mCamera, {}, mMaps.view);
  EXPECT_EQ(mLog.count("AR_ASSERT isInitialized() VIO/src/StereoRectify("), 1) << mLog.text();
  EXPECT_TRUE(mMaps.isAll(-1));
  MapPair undistorted;
  setupUndistortMap({}, false, {}, 1.0F, undistorted.view);
  EXPECT_EQ(mLog.count("AR_ASSERT result "), 1) << mLog.text();
  EXPECT_TRUE(undistorted.isAll(-1));
  mMaps.images[1].set(nullptr, mMaps.images[0].size(), mMaps.images[0].size(), false);
  setupUndistortMap(mCamera.getIntrinsics(), mCamera.getIntrinsics(), false, {}, mMaps.view);
  EXPECT_EQ(mLog.count("AR_ASSERT mPixels "), 1) << mLog.text();
}

TEST_F(StereoRectify, CopiesMapsOfTheRightSize) {
  float pixels[2][12];
  for (int i = 0; i < 24; ++i) pixels[i / 12][i % 12] = static_cast<float>(i);
  for (int i = 0; i < 2; ++i) mMaps.images[i].set(pixels[i], {3, 2}, {4, 3}, false);
  GuardedBuffer<float> X(6), Y(7), small(5);
  copyMapToArrays(mMaps.view, X.data(), 6, Y.data(), 7);  // a larger array is still copied to
  EXPECT_TRUE(X[3] == 4 && X[5] == 6 && Y[3] == 16 && Y[6] == -7 && X.intact());
  EXPECT_EQ(mLog.count("AR_ASSERT mapXY[1].numPixels() == mapYOut_size"), 1) << mLog.text();
  copyMapToArrays(mMaps.view, small.data(), 5, nullptr, 6);
  EXPECT_TRUE(small[0] == -7 && small.intact());
  EXPECT_EQ(mLog.count("AR_ASSERT out != nullptr"), 1) << mLog.text();
  copyMapToArrays(ArrayView<ImageFloat>(mMaps.images, 1), X.data(), 6, Y.data(), 7);
  EXPECT_EQ(mLog.count("AR_ASSERT mapXY.size() == 2"), 1) << mLog.text();
  EXPECT_EQ(mLog.count("mapXY[0]: 6, mapXY[1]: 0, mapXOut_size=6, mapYOut_size=7"), 1);
}

TEST_F(StereoRectify, RectifyMapsReportPixelsOfTheTargetThatHaveNoRay) {
  DeviceCalibrationZEL limited = testing::device();
  IntrinsicCameraCalibrationZEL& in = limited.cameras[0].intrinsics;
  in.distortion_limit = in.undistortion_limit = 0.2;
  const auto rig = rigOf(limited);
  setupFixedPlaneMap(mCamera, false, rig.at(0), 1, mMaps.view);
  EXPECT_EQ(mLog.failedChecks(), 0) << mLog.text();
  setupRectifyMap(mCamera, false, rig.at(0), {}, mMaps.view);
  const double disc = M_PI * 10 * 10;
  EXPECT_NEAR(mLog.count("AR_ASSERT result "), kPixels - disc, 20);
}

TEST_F(StereoRectify, ALeftCameraAloneIsMovedToTheOrigin) {
  auto rig = rigOf(testing::device(1));
  const SE3<float> T_ol_ref(SO3<float>::exp({0, 0.3F, 0.1F}), {});
  const SE3<float> T_any_ref(SO3<float>::exp({0.5F, 0, 0}), {1, 2, 3});
  rig.at(0).setExtrinsics(T_ol_ref);
  SE3<float> pose = T_any_ref;
  EXPECT_TRUE(moveLeftCameraToOrigin(rig, pose));
  const Vec<float, 3> P_ref(0.1F, -0.2F, 0.3F);
  const Vec<float, 3> miss = pose * (T_ol_ref * P_ref) - T_any_ref * P_ref;
  EXPECT_LT(AR::Math::norm(miss), 1e-5F) << "the pose is as it was, seen from the left camera";
  EXPECT_EQ(mLog.count("AR_ASSERT index<current_size "), 1) << mLog.text();
}

TEST(Gains, UndoTheFallOffOfTheSensor) {
  DeviceCalibrationZEL record = testing::device();
  record.cameras[0].intrinsics.width = 1600;
  record.cameras[0].intrinsics.height = 480;
  record.cameras[0].intrinsics.principal_point_x = 800;
  const auto rig = rigOf(record);
  ImageFloat gains;
  setupVignettingMap(rig.at(0).getIntrinsics(), rig.at(1).getIntrinsics(), gains);
  EXPECT_EQ(gains.size(), (Vec<int, 2>(1600, 480)));
  EXPECT_EQ(gains.getPixel(320, 240), 1);
  EXPECT_NEAR(gains.getPixel(720, 240), 1 / (1 - 1.2782925 + 1.0701685 - 0.310786), 1e-5);
  EXPECT_EQ(gains.getPixel(1599, 240), 0) << "the polynomial is negative there";
  EXPECT_LE(*std::max_element(gains.row(0), gains.row(0) + 1600), 255);
}

TEST(Gains, ReachTheirOwnPixelsOfALargeImage) {
  constexpr std::uint32_t kSize = 1000;
  std::vector<std::uint8_t> pixels(kSize * kSize, 2), target(pixels.size());
  std::vector<float> gains(pixels.size()), outside(pixels.size(), -1);
  for (std::size_t i = 0; i < gains.size(); ++i) gains[i] = static_cast<float>(i % 101);
  const Image source{pixels.data(), kSize, kSize, 0};
  Image remapped{target.data(), kSize, kSize, 0};
  UndistortionMap undistortion{outside.data(), kSize, kSize, outside.data(), kSize, kSize};
  VignettingMap vignetting{gains.data(), kSize, kSize};
  ASSERT_EQ(ApplyCalibrationMap(&source, 1, {&undistortion, nullptr, &vignetting, 1}, &remapped),
            0);
  for (std::size_t i = 0; i < gains.size(); ++i) ASSERT_EQ(pixels[i], 2 * (i % 101)) << i;
}

/// Every pixel value with every gain, in rows of every length up to four AVX-512 groups.
TEST(Gains, AreClampedAndCutUnderEveryInstructionSet) {
  const float kGains[] = {0,     -0.0F, 1,     1.0039216F, 0.7475F, 1.2749F, 1e-40F, -1e-40F,
                          1e38F, kInf,  -kInf, -0.5F,      255,     kNaN,    -kNaN};
  const auto corrected = [](std::size_t pixel, float gain) {
    const float value = gain * static_cast<float>(pixel);
    return std::isnan(value) ? 0 : static_cast<int>(std::clamp(value, 0.0F, 255.0F));
  };
  rectiline::testing::forEachInstructionSet([&] {
    for (std::size_t i = 0; i < 256 * std::size(kGains); ++i) {
      GuardedBuffer<std::uint8_t> pixels(i % 65, 0, i % 3);
      GuardedBuffer<float> gains(pixels.size(), 0, 4);
      for (std::size_t k = 0; k < pixels.size(); ++k) {
        pixels.data()[k] = static_cast<std::uint8_t>(i + k);
        gains.data()[k] = kGains[(i / 256 + k) % std::size(kGains)];
      }
      applyGains(pixels.data(), gains.data(), pixels.size());
      for (std::size_t k = 0; k < pixels.size(); ++k) {
        ASSERT_EQ(pixels[k], corrected((i + k) % 256, gains[k])) << i + k << " * " << gains[k];
      }
      ASSERT_TRUE(pixels.intact());
    }
  });
}

}  // namespace
}  // namespace VIO
