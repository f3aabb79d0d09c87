#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "TestDevices.h"
#include "VIO/StereoRectifyWrapper.h"
#include "testing/GuardedBuffer.h"
#include "testing/LogCapture.h"

namespace VIO {
namespace {

using rectiline::testing::GuardedBuffer;
using rectiline::testing::LogCapture;
using testing::device;
using testing::kPixels;

constexpr char kMaps[] =
    "mapLeftX != nullptr && mapLeftY != nullptr && mapRightX != nullptr && mapRightY != nullptr";
constexpr char kCamera[] = "rectifiedCam != nullptr";
constexpr char kDevice[] = "deviceCalibration != nullptr && deviceCalibration->num_cameras == 2";
constexpr char kConversion[] = "ret";
constexpr char kSizes[] =
    "mapLeftX_size==map_buffer_size && mapLeftY_size==map_buffer_size && "
    "mapRightX_size==map_buffer_size && mapRightY_size==map_buffer_size";

/// The arguments of one call, good unless changed, and the four buffers behind it.
struct Call {
  explicit Call(std::size_t byteOffset = 0, std::vector<std::uint32_t> declared = {})
      : sizes(declared.empty() ? std::vector<std::uint32_t>(4, kPixels) : std::move(declared)) {
    for (const std::uint32_t size : sizes) maps.emplace_back(size, -7.0F, byteOffset);
    std::memset(static_cast<void*>(&camera), 0x55, sizeof camera);
  }

  bool run() {
    float* p[4];
    for (std::size_t i = 0; i < 4; ++i) p[i] = i == nullMap ? nullptr : maps[i].data();
    return CreateRectifyMap(isDeviceNull ? nullptr : &record, 0, p[0], sizes[0], p[1], sizes[1],
                            p[2], sizes[2], p[3], sizes[3], isDepthNull ? nullptr : &depth,
                            isCameraNull ? nullptr : &camera);
  }

  DeviceCalibrationZEL record = device();
  std::vector<std::uint32_t> sizes;  // left X, left Y, right X, right Y
  std::vector<GuardedBuffer<float>> maps;
  std::size_t nullMap = 4;
  bool isDeviceNull = false, isDepthNull = false, isCameraNull = false;
  float depth = 7;
  CameraCalibrationZEL camera;
};

/// 'm' the map of an ideal pair, '-' all -1, '.' untouched, '?' anything else.
char content(const GuardedBuffer<float>& map, bool isX) {
  std::size_t same = 0, none = 0, untouched = 0;
  for (std::size_t i = 0; i < map.size(); ++i) {
    const std::size_t position = isX ? i % testing::kWidth : i / testing::kWidth;
    const bool past = i >= kPixels;  // what is declared beyond the map stays as it is
    same += past ? map[i] == -7 : std::fabs(map[i] - static_cast<float>(position)) < 1e-3F;
    none += map[i] == -1;
    untouched += map[i] == -7;
  }
  if (untouched == map.size()) return '.';
  return same == map.size() ? 'm' : none == map.size() ? '-' : '?';
}

std::string contents(const Call& call) {
  std::string result;
  for (std::size_t i = 0; i < 4; ++i) result += content(call.maps[i], i % 2 == 0);
  return result;
}

bool isZero(const CameraCalibrationZEL& camera) {
  const CameraCalibrationZEL zero{};
  return std::memcmp(&camera, &zero, sizeof zero) == 0;
}

enum class Camera { Rectified, Zeroed, Untouched };

struct BadInput {
  const char* name;
  std::function<void(Call&)> spoil;
  std::vector<const char*> checks;  // of the entry point, in this order
  const char* maps;
  float depth;  // 7: untouched
  Camera camera;
  std::vector<std::uint32_t> sizes = {};
};

std::vector<BadInput> badInputs() {
  constexpr std::uint32_t n = kPixels;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const auto count = [](int cameras) { return [=](Call& c) { c.record = device(cameras); }; };
  const auto none = [](Call&) {};
  const auto left = [](auto change) { return [=](Call& c) { change(c.record.cameras[0]); }; };
  const auto noMap = [](std::size_t i) { return [=](Call& c) { c.nullMap = i; }; };
  const auto Z = Camera::Zeroed;
  const auto R = Camera::Rectified;
  // clang-format off
  return {
      {"nothing wrong", none, {}, "mmmm", 5, R},
      {"no device", [](Call& c) { c.isDeviceNull = true; }, {kDevice}, "----", -1, Z},
      {"no camera", count(0), {kDevice}, "----", -1, Z},
      {"one camera", count(1), {kDevice}, "----", -1, Z},
      {"three cameras", count(3), {kDevice}, "mmmm", 5, R},
      {"six cameras", count(6), {kDevice}, "mmmm", 5, R},
      {"seven cameras", count(7), {kDevice}, "----", -1, Z},
      {"-1 cameras", count(-1), {kDevice}, "----", -1, Z},
      {"model -1", left([](auto& c) { c.intrinsics.distortion_model = -1; }),
       {kConversion}, "----", -1, Z},
      {"model 9", left([](auto& c) { c.intrinsics.distortion_model = 9; }),
       {kConversion}, "----", -1, Z},
      {"zero quaternion", left([](auto& c) { c.pose.orientation.w = 0; }),
       {kConversion}, "----", -1, Z},
      {"NaN", left([=](auto& c) { c.intrinsics.focal_length_y = nan; }),
       {kConversion}, "----", -1, Z},
      {"no focal length", left([](auto& c) { c.intrinsics.focal_length_x = 0; }),
       {kConversion}, "----", -1, Z},
      {"bad inertial unit", [=](Call& c) { c.record.imus[0].pose.orientation.w = nan; },
       {}, "mmmm", 5, R},
      {"unterminated name", left([](auto& c) { std::memset(c.name, 'x', sizeof c.name); }),
       {}, "mmmm", 5, R},
      {"centre column unseen", left([](auto& c) {
         c.intrinsics.distortion_limit = c.intrinsics.undistortion_limit = 0.2;
       }), {}, "----", -1, Z},
      {"endless baseline", [](Call& c) { c.record.cameras[1].pose.position = {-3e38, 3e38, 0}; },
       {}, "----", -1, Z},
      {"no left X", noMap(0), {kMaps}, ".-mm", 5, R},
      {"no left Y", noMap(1), {kMaps}, "-.mm", 5, R},
      {"no right X", noMap(2), {kMaps}, "mm.-", 5, R},
      {"no right Y", noMap(3), {kMaps}, "mm-.", 5, R},
      {"hardly anything", [](Call& c) {
         c.nullMap = 0;
         c.isDeviceNull = c.isCameraNull = true;
       }, {kMaps, kCamera, kDevice}, ".---", -1, Camera::Untouched},
      {"no rectified camera", [](Call& c) { c.isCameraNull = true; },
       {kCamera}, "mmmm", 5, Camera::Untouched},
      {"no depth constant", [](Call& c) { c.isDepthNull = true; }, {}, "mmmm", 7, R},
      {"short left X", none, {kSizes}, "--mm", 5, R, {n - 1, n, n, n}},
      {"short right Y", none, {kSizes}, "mm--", 5, R, {n, n, n, n - 64}},
      {"empty left", none, {kSizes}, "..mm", 5, R, {0, 0, n, n}},
      {"long left", none, {kSizes}, "mmmm", 5, R, {n + 1, n + 100, n, n}},
      {"long and short", none, {kSizes}, "mm--", 5, R, {n, n + 1, n + 1, 1}},
      {"short, no device", [](Call& c) { c.isDeviceNull = true; },
       {kDevice}, "----", -1, Z, {1, 2, n + 3, n}},
  };
  // clang-format on
}

TEST(CreateRectifyMap, GoesOnSafelyFromEveryBadInput) {
  for (const BadInput& input : badInputs()) {
    for (const std::size_t byteOffset : {0U, 4U}) {
      SCOPED_TRACE(input.name);
      Call call(byteOffset, input.sizes);
      input.spoil(call);
      LogCapture log;
      EXPECT_TRUE(call.run());
      EXPECT_EQ(contents(call), input.maps);
      for (const auto& map : call.maps) EXPECT_TRUE(map.intact());
      EXPECT_FLOAT_EQ(call.depth, input.depth);
      EXPECT_EQ(isZero(call.camera), input.camera == Camera::Zeroed);
      EXPECT_EQ(call.camera.intrinsics.width == testing::kWidth, input.camera == Camera::Rectified);
      std::size_t position = 0;
      for (const char* check : input.checks) {
        const std::string line =
            "AR_ASSERT " + std::string(check) + " VIO/src/StereoRectifyWrapper(";
        position = log.text().find(line.substr(0, 150), position);
        EXPECT_NE(position, std::string::npos) << check << log.text();
      }
      const auto isOther = [](const char* check) { return check != kConversion; };
      EXPECT_EQ(log.count("VIO/src/StereoRectifyWrapper(") - log.count("AR_ASSERT ret "),
                std::count_if(input.checks.begin(), input.checks.end(), isOther))
          << log.text();
    }
  }
}

TEST(CreateRectifyMapDeathTest, TwoCamerasAtOnePlaceEndTheProcess) {
  // A forked child would wait for worker threads that it does not have.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Call call;
  call.record.cameras[1].pose.position = {};
  EXPECT_DEATH(call.run(), "length>0");
}

TEST(CreateRectifyMap, TheRectifiedCameraMayReplaceOneOfTheDevice) {
  Call call;
  CameraCalibrationZEL* const right = &call.record.cameras[1];
  CreateRectifyMap(&call.record, 0, call.maps[0].data(), kPixels, call.maps[1].data(), kPixels,
                   call.maps[2].data(), kPixels, call.maps[3].data(), kPixels, &call.depth, right);
  EXPECT_EQ(contents(call), "mmmm");
  EXPECT_FLOAT_EQ(call.depth, 5);
  EXPECT_EQ(right->pose.position.x, 0);
  EXPECT_EQ(right->pose.orientation.w, 1);
  EXPECT_EQ(right->intrinsics.principal_point_x, 32);
}

}  // namespace
}  // namespace VIO
