#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "TestDevices.h"
#include "VIO/StereoRectifyWrapper.h"
#include "testing/GuardedBuffer.h"
#include "testing/LogCapture.h"

namespace VIO::testing {

using rectiline::testing::GuardedBuffer;
using rectiline::testing::LogCapture;

enum class PairFunction { Rectify, Undistort, FixedPlane };

/// A call that makes the maps of a pair, with its guarded buffers. Unless changed it is good, and
/// the maps are the identity.
struct PairCall {
  using Sizes = std::vector<std::uint32_t>;  // left X, left Y, right X, right Y

  explicit PairCall(PairFunction which, Sizes declared = Sizes(4, kPixels), std::size_t offset = 0)
      : function(which), sizes(std::move(declared)) {
    for (const std::uint32_t size : sizes) maps.emplace_back(size, -7.0F, offset);
    std::memset(static_cast<void*>(&camera), 0x55, sizeof camera);
  }

  bool run() {
    float* m[4];
    for (std::size_t i = 0; i < 4; ++i) m[i] = i == nullMap ? nullptr : maps[i].data();
    const Sizes& s = sizes;
    const auto* const d = isDeviceNull ? nullptr : &record;
    const auto* const e = areEyesNull ? nullptr : &eyes;
    const std::uint32_t k = keepOutside;
    float* const f = isDepthNull ? nullptr : &depth;
    CameraCalibrationZEL* const c = isCameraNull ? nullptr : &camera;
    switch (function) {
      case PairFunction::Rectify:
        return CreateRectifyMap(d, k, m[0], s[0], m[1], s[1], m[2], s[2], m[3], s[3], f, c);
      case PairFunction::Undistort:
        return CreateUndistortMap(d, k, factor, m[0], s[0], m[1], s[1], m[2], s[2], m[3], s[3]);
      case PairFunction::FixedPlane:
        return CreateFixedPlaneVSTMaps(d, e, k, factor, m[0], s[0], m[1], s[1], m[2], s[2], m[3],
                                       s[3]);
    }
    return false;
  }

  /// Of each map: 'm' the identity over the first kPixels and nothing beyond, '-' all -1,
  /// '.' untouched, '?' anything else.
  [[nodiscard]] std::string mapContents() const {
    std::string all;
    for (std::size_t i = 0; i < 4; ++i) all += content(maps[i], i % 2 == 0);
    return all;
  }
  static char content(const GuardedBuffer<float>& map, bool isX) {
    std::size_t same = 0, none = 0, untouched = 0;
    for (std::size_t i = 0; i < map.size(); ++i) {
      const auto position = static_cast<float>(isX ? i % kWidth : i / kWidth);
      same += i >= kPixels ? map[i] == -7 : std::fabs(map[i] - position) < 1e-3F;
      none += map[i] == -1;
      untouched += map[i] == -7;
    }
    if (untouched == map.size()) return '.';
    return same == map.size() ? 'm' : none == map.size() ? '-' : '?';
  }

  /// 'm' rectified, '-' zeroed, '.' untouched.
  [[nodiscard]] char cameraContent() const {
    const CameraCalibrationZEL zero{};
    if (std::memcmp(&camera, &zero, sizeof zero) == 0) return '-';
    return camera.intrinsics.width == 0x55555555 ? '.' : 'm';
  }
  [[nodiscard]] bool intact() const {
    bool ok = true;
    for (const auto& map : maps) ok &= map.intact();
    return ok;
  }

  PairFunction function;
  DeviceCalibrationZEL record = device();
  DeviceCalibrationZEL eyes = device();
  std::uint32_t keepOutside = 0;
  float factor = 1;  // of the field of view, or the plane's distance
  Sizes sizes;
  std::vector<GuardedBuffer<float>> maps;
  std::size_t nullMap = 4;
  bool isDeviceNull = false, areEyesNull = false;
  bool isDepthNull = false, isCameraNull = false;  // of a rectification
  float depth = 7;
  CameraCalibrationZEL camera;
};

inline constexpr char kDeviceCheck[] =
    "deviceCalibration != nullptr && deviceCalibration->num_cameras == 2";
inline constexpr char kMapsCheck[] =
    "mapLeftX != nullptr && mapLeftY != nullptr && mapRightX != nullptr && mapRightY != nullptr";

/// Makes the call at two alignments and compares everything; `checks` are the entry point's failed
/// ones in their order.
inline void expectSafe(PairFunction function, const char* name,
                       const std::vector<const char*>& checks, const std::string& maps,
                       const std::function<void(PairCall&)>& spoil,
                       const PairCall::Sizes& sizes = PairCall::Sizes(4, kPixels)) {
  SCOPED_TRACE(name);
  for (const std::size_t offset : {0U, 4U}) {
    PairCall call(function, sizes, offset);
    spoil(call);
    LogCapture log;
    EXPECT_TRUE(call.run());
    EXPECT_EQ(call.mapContents(), maps);
    EXPECT_TRUE(call.intact());
    if (function == PairFunction::Rectify) {
      const bool isMade = call.mapContents().find('m') != std::string::npos;
      EXPECT_FLOAT_EQ(call.depth, call.isDepthNull ? 7 : isMade ? 5 : -1);
      EXPECT_EQ(call.cameraContent(), call.isCameraNull ? '.' : isMade ? 'm' : '-');
    }
    std::size_t position = 0;
    for (const std::string check : checks) {
      position = log.text().find("AR_ASSERT " + check + " VIO/src/StereoRectify", position);
      EXPECT_NE(position, std::string::npos) << check << log.text();
    }
    EXPECT_EQ(log.count("VIO/src/StereoRectify"), checks.size()) << log.text();
    EXPECT_EQ(log.count("anonymous namespace"), 0) << "checks name the entry point" << log.text();
  }
}

}  // namespace VIO::testing
