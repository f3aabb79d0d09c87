#pragma once

#include <cstdint>
#include <string>

#include "images/PixelLimit.h"
#include "images/Pixels.h"
#include "rectiline/rectiline.h"

namespace rectiline::tool {

/// A map in memory of its own.
class Map {
 public:
  Map(int width, int height);
  /// Of planes of one size, without reasons.
  Map(Pixels<float> x, Pixels<float> y);

  /// The map as the library sees it; valid as long as this object stays where it is.
  [[nodiscard]] rectiline_map view() const;
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

/// Everything automatic.
rectiline_options automaticOptions();

/// Makes the rectification maps and prints the library's warnings on standard error. Throws Error
/// when the pair cannot be rectified, or its images would be above the limit.
PairMaps createPairMaps(const DeviceCalibrationZEL& device,
                        const rectiline_options& options = automaticOptions(),
                        const PixelLimit& limit = {});

/// One camera's image without its distortion.
struct UndistortMap {
  rectiline_view view;
  Map map;
};

/// Throws Error as above.
UndistortMap createUndistortMap(const CameraCalibrationZEL& camera,
                                const rectiline_options& options, const PixelLimit& limit);

rectiline_report reportOn(const Map& map);

}  // namespace rectiline::tool
