#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "TestDevices.h"
#include "VIO/MapQuality.h"
#include "testing/GuardedBuffer.h"
#include "testing/LogCapture.h"

namespace VIO::testing {

using rectiline::testing::GuardedBuffer;
using rectiline::testing::LogCapture;

enum class PairFunction { Rectify, Undistort, FixedPlane };

/// A call that makes the maps of a pair, with its guarded buffers. Unless changed it is good, and
/// the maps are the identity.
struct PairCall {
  explicit PairCall(PairFunction which, std::vector<std::uint32_t> declared = {},
                    std::size_t byteOffset = 0)
      : function(which),
        sizes(declared.empty() ? std::vector<std::uint32_t>(4, kPixels) : std::move(declared)) {
    for (const std::uint32_t size : sizes) maps.emplace_back(size, -7.0F, byteOffset);
    for (const std::uint32_t size : {sizes[0], sizes[2]}) reasons.emplace_back(size);
  }

  bool run(bool withReasons) {
    float* m[4];
    for (std::size_t i = 0; i < 4; ++i) m[i] = i == nullMap ? nullptr : maps[i].data();
    const auto& s = sizes;
    const auto* const d = isDeviceNull ? nullptr : &record;
    const auto* const e = areEyesNull ? nullptr : &eyes;
    const std::uint32_t k = keepOutside;
    float depth;
    CameraCalibrationZEL camera;
    if (withReasons) {
      const ReasonPlane l{reasons[0].data(), static_cast<std::uint32_t>(reasons[0].size())};
      const ReasonPlane r{reasons[1].data(), static_cast<std::uint32_t>(reasons[1].size())};
      switch (function) {
        case PairFunction::Rectify:
          return CreateRectifyMapWithReasons(d, k, m[0], s[0], m[1], s[1], m[2], s[2], m[3], s[3],
                                             &depth, &camera, l, r);
        case PairFunction::Undistort:
          return CreateUndistortMapWithReasons(d, k, factor, m[0], s[0], m[1], s[1], m[2], s[2],
                                               m[3], s[3], l, r);
        case PairFunction::FixedPlane:
          return CreateFixedPlaneVSTMapsWithReasons(d, e, k, factor, m[0], s[0], m[1], s[1], m[2],
                                                    s[2], m[3], s[3], l, r);
      }
    }
    switch (function) {
      case PairFunction::Rectify:
        return CreateRectifyMap(d, k, m[0], s[0], m[1], s[1], m[2], s[2], m[3], s[3], &depth,
                                &camera);
      case PairFunction::Undistort:
        return CreateUndistortMap(d, k, factor, m[0], s[0], m[1], s[1], m[2], s[2], m[3], s[3]);
      case PairFunction::FixedPlane:
        return CreateFixedPlaneVSTMaps(d, e, k, factor, m[0], s[0], m[1], s[1], m[2], s[2], m[3],
                                       s[3]);
    }
    return false;
  }

  PairFunction function;
  DeviceCalibrationZEL record = device();
  DeviceCalibrationZEL eyes = device();
  std::uint32_t keepOutside = 0;
  float factor = 1;                  // of the field of view, or the plane's distance
  std::vector<std::uint32_t> sizes;  // left X, left Y, right X, right Y
  std::vector<GuardedBuffer<float>> maps;
  std::vector<GuardedBuffer<std::uint8_t>> reasons;
  std::size_t nullMap = 4;
  bool isDeviceNull = false, areEyesNull = false;
};

/// 'm' the identity over the first kPixels and nothing beyond, '-' all -1, '.' untouched, '?' else.
inline char content(const GuardedBuffer<float>& map, bool isX) {
  std::size_t same = 0, none = 0, untouched = 0;
  for (std::size_t i = 0; i < map.size(); ++i) {
    const std::size_t position = isX ? i % kWidth : i / kWidth;
    const bool past = i >= kPixels;
    same += past ? map[i] == -7 : std::fabs(map[i] - static_cast<float>(position)) < 1e-3F;
    none += map[i] == -1;
    untouched += map[i] == -7;
  }
  if (untouched == map.size()) return '.';
  return same == map.size() ? 'm' : none == map.size() ? '-' : '?';
}

/// 'm' all ok over the first kPixels and nothing beyond, '-' all not made, '.' untouched, '?' else.
inline char content(const GuardedBuffer<std::uint8_t>& plane) {
  constexpr std::uint8_t kUntouched = 249;
  std::size_t ok = 0, none = 0, untouched = 0;
  for (std::size_t i = 0; i < plane.size(); ++i) {
    ok += i >= kPixels ? plane[i] == kUntouched : plane[i] == MAP_PIXEL_OK;
    none += plane[i] == MAP_PIXEL_NOT_MADE;
    untouched += plane[i] == kUntouched;
  }
  if (untouched == plane.size()) return '.';
  return ok == plane.size() ? 'm' : none == plane.size() ? '-' : '?';
}

inline constexpr char kDeviceCheck[] =
    "deviceCalibration != nullptr && deviceCalibration->num_cameras == 2";
inline constexpr char kEyesCheck[] =
    "seeThroughCalibration != nullptr && seeThroughCalibration->num_cameras == 2";
inline constexpr char kMapsCheck[] =
    "mapLeftX != nullptr && mapLeftY != nullptr && mapRightX != nullptr && mapRightY != nullptr";
inline constexpr char kSizesCheck[] =
    "mapLeftX_size==map_buffer_size && mapLeftY_size==map_buffer_size && "
    "mapRightX_size==map_buffer_size && mapRightY_size==map_buffer_size";

struct BadPairInput {
  const char* name;
  std::function<void(PairCall&)> spoil;
  std::vector<const char*> checks;  // of the entry point, in this order
  const char* maps;
  const char* reasons;
  bool returned = true;
  std::vector<std::uint32_t> sizes = {};
};

/// Makes the call with and without reasons, at both alignments, and compares everything.
inline void expectSafe(PairFunction function, const BadPairInput& input) {
  for (int variant = 0; variant < 4; ++variant) {
    SCOPED_TRACE(input.name);
    const bool withReasons = variant % 2 == 1;
    PairCall call(function, input.sizes, variant < 2 ? 0 : 4);
    input.spoil(call);
    LogCapture log;
    EXPECT_EQ(call.run(withReasons), input.returned);
    std::string maps, reasons;
    for (std::size_t i = 0; i < 4; ++i) {
      maps += content(call.maps[i], i % 2 == 0);
      EXPECT_TRUE(call.maps[i].intact());
      if (i % 2 == 0) reasons += content(call.reasons[i / 2]);
      EXPECT_TRUE(call.reasons[i / 2].intact());
    }
    EXPECT_EQ(maps, input.maps);
    EXPECT_EQ(reasons, withReasons ? input.reasons : "..");
    std::size_t position = 0;
    for (const char* check : input.checks) {
      const std::string line = "AR_ASSERT " + std::string(check) + " VIO/src/StereoRectifyWrapper(";
      position = log.text().find(line.substr(0, 150), position);
      EXPECT_NE(position, std::string::npos) << check << log.text();
    }
    EXPECT_EQ(log.count("VIO/src/StereoRectifyWrapper("), input.checks.size()) << log.text();
  }
}

}  // namespace VIO::testing
