#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "PairCall.h"
#include "VIO/StereoRectify.h"

namespace VIO {
namespace {

using AR::Common::ArrayView;
using AR::CV::ImageFloat;
using AR::Math::SE3;
using AR::Math::SO3;
using testing::device;
using testing::GuardedBuffer;
using testing::LogCapture;
using testing::PairCall;
using testing::rigOf;

using Rig = AR::CV::FullStereoCameraCalibration<float>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// The maps of two cameras both ways and their gains, in guarded buffers.
struct Maps {
  Maps() {
    constexpr std::uint32_t width = testing::kWidth, height = testing::kHeight, n = width * height;
    for (int i = 0; i < 10; ++i) floats.emplace_back(n, -7.0F, 4);
    for (std::size_t i = 0; i < 2; ++i) {
      const auto data = [&](std::size_t k) { return floats[4 * i + k].data(); };
      forward[i] = {data(0), width, height, data(1), width, height};
      inverse[i] = {data(2), width, height, data(3), width, height};
      vignetting[i] = {floats[8 + i].data(), width, height};
    }
  }

  /// Of each camera forward X, Y, inverse X, Y; then of each its gains.
  [[nodiscard]] std::string contents() const {
    std::string all;
    for (std::size_t i = 0; i < 8; ++i) all += PairCall::content(floats[i], i % 2 == 0);
    for (std::size_t i = 8; i < 10; ++i) all += floats[i][0] == -7 ? '.' : 'g';
    return all;
  }
  [[nodiscard]] bool intact() const {
    bool ok = true;
    for (const auto& values : floats) ok &= values.intact();
    return ok;
  }

  std::vector<GuardedBuffer<float>> floats;
  UndistortionMap forward[2], inverse[2];
  VignettingMap vignetting[2];
  CalibrationMap map{forward, inverse, vignetting, 2};
};

struct Call : Maps {
  int run() { return CreateCalibrationMap(source, target, config, map); }

  DeviceCalibrationZEL source = device(), target = device();
  CalibrationMapConfig config{0, true, nullptr, 2};
};

using Checks = std::vector<const char*>;

void expectSafe(const char* name, int status, const Checks& checks, const std::string& contents,
                const std::function<void(Call&)>& spoil) {
  SCOPED_TRACE(name);
  Call call;
  spoil(call);
  LogCapture log;
  EXPECT_EQ(call.run(), status);
  EXPECT_EQ(call.contents(), contents);
  EXPECT_TRUE(call.intact());
  std::size_t position = 0;
  for (const std::string check : checks) {
    position = log.text().find("AR_ASSERT " + check + " ", position);
    ASSERT_NE(position++, std::string::npos) << check << log.text();
  }
  EXPECT_EQ(log.failedChecks(), checks.size()) << log.text();
}

TEST(CalibrationMap, GoesOnSafelyFromEveryBadInput) {
  const Checks map = {"undistortionMap"},
               size = {"undistortionMap[cameraIdx] size == target camera size"};
  const Checks gains = {"calibrationMap.vignettingMaps"};
  const Checks gainSize = {"calibrationMap.vignettingMaps[cameraIdx] size == source camera size"};
  const std::string all = "mmmmmmmm", none = "..........";
  const auto expectWrong = [&](const char* name, const std::function<void(Call&)>& spoil) {
    expectSafe(name, 1999998, {}, none, spoil);
  };
  expectSafe("nothing wrong", 0, {}, all + "gg", [](auto&) {});
  expectSafe("no gains wanted", 0, {}, all + "..", [](auto& c) { c.config.vignetting = false; });
  expectSafe("one camera", 0, {}, "mmmm....gg", [](auto& c) { c.config.numCameras = 1; });
  expectSafe("no camera", 0, {}, "........gg", [](auto& c) { c.config.numCameras = 0; });
  expectSafe("nothing there", 0, {map[0], map[0], gains[0]}, none,
             [](auto& c) { c.config.numCameras = 0, c.map = {}; });
  expectWrong("bad source", [](auto& c) { c.source.num_cameras = 7; });
  expectWrong("bad target", [](auto& c) { c.target.cameras[0].pose.orientation.w = 0; });
  expectWrong("more than the target has", [](auto& c) { c.config.numCameras = 3; });
  expectWrong("X width", [](auto& c) { c.forward[1].X_width = 63; });
  expectWrong("X height", [](auto& c) { c.forward[0].X_height = 1; });
  expectWrong("Y width", [](auto& c) { c.forward[0].Y_width = 65; });
  expectWrong("Y height", [](auto& c) { c.forward[1].Y_height = 0; });
  expectSafe("no maps", -12, map, none, [](auto& c) { c.map.undistortion = nullptr; });
  expectSafe("no inverse", 0, map, "mm..mm..gg", [](auto& c) { c.map.inverse = nullptr; });
  expectSafe("no X", 0, {"undistortionMap[cameraIdx].X"}, "mmmm.-mmgg",
             [](auto& c) { c.forward[1].X = nullptr; });
  expectSafe("no Y", 0, {"undistortionMap[cameraIdx].Y"}, "mm-.mmmmgg",
             [](auto& c) { c.inverse[0].Y = nullptr; });
  expectSafe("inverse size", 0, size, "mm--mmmmgg",
             [](auto& c) { c.inverse[0].X_width = 32, c.inverse[0].X_height = 96; });
  expectSafe("huge inverse", 0, size, "mm..mmmmgg", [](auto& c) {
    c.inverse[0] = {c.inverse[0].X, 65536, 65537, c.inverse[0].Y, UINT32_MAX, UINT32_MAX};
  });
  const char* const index = "index<current_size";
  expectSafe("source lacks a camera", 0, {index, index, index}, "mmmm----g.",
             [](auto& c) { c.source.num_cameras = 1; });
  expectSafe("no gain maps", 0, gains, all + "..", [](auto& c) { c.map.vignettingMaps = nullptr; });
  expectSafe("no gains", 0, {"calibrationMap.vignettingMaps[cameraIdx].scaleFactors"}, all + ".g",
             [](auto& c) { c.vignetting[0].scaleFactors = nullptr; });
  expectSafe("gain size", 0, gainSize, all + "g.", [](auto& c) { c.vignetting[1].width = 1; });
  expectSafe("huge gains", 0, gainSize, all + ".g",
             [](auto& c) { c.vignetting[0].width = c.vignetting[0].height = UINT32_MAX; });
}

TEST(CalibrationMap, RigsWithoutIntrinsicsGetNone) {
  Rig empty = testing::emptyRig();
  empty.setupEmptyCalibrationWithDefaultIds(2);
  Maps maps;
  const LogCapture log;
  CreateUndistortMap(empty, testing::rigOf(device()), {0, true, nullptr, 2}, maps.forward);
  CreateVignettingMap(empty, empty, true, maps.map);
  EXPECT_EQ(maps.contents(), "--..--....");
  EXPECT_EQ(log.count("AR_ASSERT isInitialized() VIO/src/StereoRectifyWrapper("), 6) << log.text();
  EXPECT_EQ(log.failedChecks(), 6) << log.text();
}

TEST(CalibrationMap, RotationsTurnTheTargetFrameIntoTheSourceFrame) {
  const float rotations[] = {0, 0, 0, 0, 0, 0.3F};
  for (const std::uint32_t keepOutside : {0U, 1U}) {
    Call call;
    call.target.cameras[1].intrinsics.focal_length_x = 25;
    call.source.cameras[1].pose.orientation = {1, 0, 0, 0};  // poses do not enter
    call.config = {keepOutside, true, rotations, 2};
    ASSERT_EQ(call.run(), 0);
    EXPECT_EQ(call.contents().substr(0, 4), "mmmm");
    // Ideal (0.2, 0) turned by 0.3 about z; the inverse is made with the same rotation.
    const std::size_t row = 24 * testing::kWidth;
    EXPECT_NEAR(call.floats[4][row + 37], 32 + 50 * 0.2 * std::cos(0.3), 1e-3);
    EXPECT_NEAR(call.floats[5][row + 37], 24 + 50 * 0.2 * std::sin(0.3), 1e-3);
    EXPECT_NEAR(call.floats[6][row + 42], 32 + 25 * 0.2 * std::cos(0.3), 1e-3);
    EXPECT_NEAR(call.floats[7][row + 42], 24 + 50 * 0.2 * std::sin(0.3), 1e-3);
    EXPECT_EQ(call.floats[4][row] == -1, keepOutside == 0);
  }
  const float noRotations[] = {kNaN, 0, 0, 1e38F, 0, 0};
  Call call;
  call.config.rotations = noRotations;
  EXPECT_EQ(call.run(), 0);
  EXPECT_EQ(call.contents(), "--------gg");
}

/// A map pair of the caller's memory.
struct MapPair {
  MapPair(int width, int height)
      : X(static_cast<std::size_t>(width * height)), Y(X.size()), view(images, 2) {
    images[0].set(X.data(), {width, height}, {width, height}, false);
    images[1].set(Y.data(), {width, height}, {width, height}, false);
  }

  GuardedBuffer<float> X, Y;
  ImageFloat images[2];
  ArrayView<ImageFloat> view;
};

TEST(StereoRectify, RectifyMapsTakeThePosesOfBothCameras) {
  DeviceCalibrationZEL record = device();
  record.cameras[0].pose.orientation = {0, 0, std::sin(0.1), std::cos(0.1)};  // 0.2 about z
  record.cameras[1].pose.orientation = {0, 0, std::sin(0.4), std::cos(0.4)};
  const auto rig = rigOf(record);
  MapPair maps(testing::kWidth, testing::kHeight);
  setupRectifyMap(rig.at(0), true, rig.at(1), SO3<float>::exp({0, 0, 0.3F}), maps.view);
  // 0.2 + 0.3 - 0.8 = -0.3 about z: ten pixels right of the centre
  EXPECT_NEAR(maps.images[0].getPixel(42, 24), 32 + 10 * std::cos(-0.3), 1e-4);
  EXPECT_NEAR(maps.images[1].getPixel(42, 24), 24 + 10 * std::sin(-0.3), 1e-4);
}

TEST(StereoRectify, UndistortMapsMirrorWhatIsBehindAndRectifyMapsDoNot) {
  const auto rig = rigOf(device());
  const auto& camera = rig.at(0).getIntrinsics();
  const SO3<float> backwards(AR::Math::Mat<float, 3, 3>(-1, 0, 0, 0, 1, 0, 0, 0, -1));
  MapPair rectified(testing::kWidth, testing::kHeight),
      undistorted(testing::kWidth, testing::kHeight);
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

TEST(StereoRectify, GoesOnWithMapsThatDoNotFitAsFarAsTheyReach) {
  const auto rig = rigOf(device());
  const auto& camera = rig.at(0).getIntrinsics();
  MapPair lone(testing::kWidth, testing::kHeight), wrong(testing::kWidth + 1, testing::kHeight - 1);
  ArrayView<ImageFloat> one(lone.images, 1);
  LogCapture log;
  setupUndistortMap(camera, camera, false, {}, one);
  setupRectifyMap(rig.at(0), false, rig.at(0), {}, one);
  EXPECT_EQ(log.count("AR_ASSERT mapXY.size() == 2 VIO/src/StereoRectify("), 2) << log.text();
  EXPECT_TRUE(lone.X[0] == -1 && lone.X[testing::kPixels - 1] == -1 && lone.Y[0] == -7);
  setupUndistortMap(camera, camera, false, {}, wrong.view);
  EXPECT_EQ(log.count("mapXY[0].size() == targetSize"), 1) << log.text();
  EXPECT_EQ(log.count("void VIO::setupUndistortMap("), 4) << log.text();
  EXPECT_NEAR(wrong.images[0].getPixel(63, 46), 63, 1e-4);
  EXPECT_EQ(wrong.images[1].getPixel(64, 46), -1) << "beyond the target";
  EXPECT_TRUE(lone.X.intact() && wrong.X.intact() && wrong.Y.intact());
}

TEST(StereoRectify, CamerasAndMemoryThatAreNotThereLeaveNoSource) {
  const auto rig = rigOf(device());
  const auto& camera = rig.at(0).getIntrinsics();
  MapPair maps(testing::kWidth, testing::kHeight);
  LogCapture log;
  const AR::CV::FullCamera<float> empty;
  setupRectifyMap(empty, false, rig.at(0), {}, maps.view);
  setupUndistortMap({}, false, {}, 1.0F, maps.view);
  EXPECT_EQ(log.count("AR_ASSERT isInitialized() VIO/src/StereoRectify("), 1) << log.text();
  EXPECT_EQ(log.count("AR_ASSERT result "), 1) << log.text();
  for (std::size_t i = 0; i < testing::kPixels; ++i) {
    ASSERT_TRUE(maps.X[i] == -1 && maps.Y[i] == -1) << i;
  }
  maps.images[1].set(nullptr, maps.images[0].size(), maps.images[0].size(), false);
  setupUndistortMap(camera, camera, false, {}, maps.view);
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
  copyMapToArrays(maps, X.data(), 6, Y.data(), 7);  // a larger array is still copied to
  EXPECT_TRUE(X[3] == 4 && X[5] == 6 && Y[3] == 16 && Y[6] == -7 && X.intact());
  EXPECT_EQ(log.count("AR_ASSERT mapXY[1].numPixels() == mapYOut_size"), 1) << log.text();
  GuardedBuffer<float> small(5);
  copyMapToArrays(maps, small.data(), 5, nullptr, 6);
  EXPECT_TRUE(small[0] == -7 && small.intact());
  EXPECT_EQ(log.count("AR_ASSERT out != nullptr"), 1) << log.text();
  copyMapToArrays(ArrayView<ImageFloat>(images, 1), X.data(), 6, Y.data(), 7);
  EXPECT_EQ(log.count("AR_ASSERT mapXY.size() == 2"), 1) << log.text();
  EXPECT_EQ(log.count("mapXY[0]: 6, mapXY[1]: 0, mapXOut_size=6, mapYOut_size=7"), 1);
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
