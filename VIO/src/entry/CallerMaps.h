#pragma once

// The caller's buffers of a call that makes maps for the two cameras of a device.

#include <algorithm>
#include <cstdint>
#include <optional>

#include "AR/CV/Camera/PixelSize.h"
#include "AR/CV/Camera/StereoCamera.h"
#include "AR/CV/Image/Image.h"
#include "AR/Common/ArrayView.h"
#include "AR/Common/Macros.h"
#include "rectiline/CalibrationRecords.h"

namespace VIO {

using AR::CV::pixelSize;

inline constexpr char kWrapperSource[] = "VIO/src/StereoRectifyWrapper";
inline constexpr float kNoSource = -1.0F;

/// A caller's map with the number of floats that the caller says it holds.
struct CallerMap {
  float* data;
  std::uint32_t size;

  void fill(float value) const {
    if (data != nullptr) std::fill_n(data, size, value);
  }
  [[nodiscard]] bool hasRoom(std::uint64_t count) const { return data != nullptr && size >= count; }
};

/// Pixels of an image of `size`, which is not negative.
inline std::uint64_t pixelCount(const AR::Math::Vec<int, 2>& size) {
  return static_cast<std::uint64_t>(size(0)) * static_cast<std::uint64_t>(size(1));
}

/// The two maps of one camera.
struct CallerMapPair {
  CallerMap x;
  CallerMap y;

  [[nodiscard]] bool isOfSize(const AR::Math::Vec<int, 2>& size) const {
    return x.size == pixelCount(size) && y.size == pixelCount(size);
  }
  /// What a pair holds that could not be made.
  void fillNotMade() const {
    x.fill(kNoSource);
    y.fill(kNoSource);
  }

  /// Calls make(mapXY) on the pair as two images of `size`, in place, or fills it when it lacks
  /// room.
  template <typename Make>
  void make(const AR::Math::Vec<int, 2>& size, Make&& make) const {
    const std::uint64_t count = pixelCount(size);
    if (!x.hasRoom(count) || !y.hasRoom(count)) {
      fillNotMade();
      return;
    }
    AR::CV::Image<float> images[2];
    images[0].set(x.data, size, size, false);
    images[1].set(y.data, size, size, false);
    AR::Common::ArrayView<AR::CV::Image<float>> mapXY(images, 2);
    make(mapXY);
  }
};

/// The buffers of both cameras.
struct CallerMaps {
  CallerMapPair left;
  CallerMapPair right;

  [[nodiscard]] bool areAllThere() const {
    return left.x.data != nullptr && left.y.data != nullptr && right.x.data != nullptr &&
           right.y.data != nullptr;
  }
  void fillNotMade() const {
    left.fillNotMade();
    right.fillNotMade();
  }
};

/// The caller's record, if there is one. An entry point checks and uses this copy only: the
/// caller's may be written by another thread in between.
inline std::optional<DeviceCalibrationZEL> copyOf(const DeviceCalibrationZEL* callers) {
  if (callers == nullptr) return std::nullopt;
  return *callers;
}

// Checks that several entry points share. `site` is the place of the one that was called.

/// Reported: a null map.
bool checkMaps(const AR::Common::CallSite& site, const CallerMaps& maps);
/// Reported: maps that do not all hold width times height floats.
bool checkMapSizes(const AR::Common::CallSite& site, const CallerMaps& maps,
                   const AR::Math::Vec<int, 2>& leftSize, const AR::Math::Vec<int, 2>& rightSize);
/// Reported as `text`: no record, or one that has not exactly two cameras. False for none, one
/// camera and no camera. A count that no record can have is left to the conversion, which refuses
/// it.
bool checkDevice(const AR::Common::CallSite& site,
                 const std::optional<DeviceCalibrationZEL>& device, const char* text);

inline constexpr char kDeviceText[] =
    "deviceCalibration != nullptr && deviceCalibration->num_cameras == 2";

}  // namespace VIO
