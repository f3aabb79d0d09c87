#pragma once

#include <cstdint>
#include <string>

#include "Png.h"
#include "VIO/MapQuality.h"
#include "rectiline/CalibrationRecords.h"

namespace rectiline::tool {

using Map = Pixels<float>;
using Reasons = Pixels<std::uint8_t>;

/// What CreateRectifyMap makes of a device.
struct PairMaps {
  explicit PairMaps(int width, int height);

  Map leftX, leftY, rightX, rightY;
  Reasons leftReasons, rightReasons;
  float depthConstant = 0;
  CameraCalibrationZEL camera{};
  std::uint64_t failedChecks = 0;
};

/// Makes the rectification maps. Throws Error when the pair cannot be rectified.
PairMaps createPairMaps(const DeviceCalibrationZEL& device);

/// Whether the device's cameras stand one above the other.
bool isVertical(const DeviceCalibrationZEL& device);

MapReport reportOf(const Map& X, const Map& Y);

/// Remaps an image bilinearly. Throws Error.
GreyImage remap(const GreyImage& source, const Map& X, const Map& Y);

/// Reads an image of the camera's size. Throws Error.
GreyImage readImage(const std::string& file, const CameraCalibrationZEL& camera);

}  // namespace rectiline::tool
