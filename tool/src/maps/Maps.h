#pragma once

#include <cstdint>
#include <string>

#include "images/Png.h"
#include "rectiline/rectiline.h"

namespace rectiline::tool {

/// A map in memory of its own.
class Map {
 public:
  Map(int width, int height);

  /// The map as the library sees it; valid as long as this object stays where it is.
  [[nodiscard]] rectiline_map view();
  [[nodiscard]] const Pixels<std::uint8_t>& reasons() const { return mReasons; }

 private:
  Pixels<float> mX;
  Pixels<float> mY;
  Pixels<std::uint8_t> mReasons;
};

/// What the library makes of the first two cameras of a device.
struct PairMaps {
  rectiline_rectification rectification;
  Map left;
  Map right;
};

/// Makes the rectification maps and prints the library's warnings on standard error. Throws Error
/// when the pair cannot be rectified.
PairMaps createPairMaps(const DeviceCalibrationZEL& device);

rectiline_report reportOn(Map& map);

/// Remaps an image bilinearly. Throws Error.
GreyImage remap(GreyImage& source, Map& map);

/// Reads an image of the camera's size. Throws Error.
GreyImage readImage(const std::string& file, const CameraCalibrationZEL& camera);

}  // namespace rectiline::tool
