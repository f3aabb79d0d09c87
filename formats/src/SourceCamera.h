#pragma once

#include <optional>
#include <string>

#include "models/SourceModel.h"
#include "rectiline_formats/Calibration.h"

namespace rectiline::formats {

/// One camera in its file's own terms.
struct SourceCamera {
  Place place;       ///< The file, and the camera's name.
  std::string word;  ///< Its lens model in the words of the file.
  const SourceModel* model = nullptr;
  LensParameters lens;
  std::optional<PixelSize> size;
  double pixelOrigin = 0;     ///< The coordinate of the first pixel's centre.
  bool isNormalised = false;  ///< Focal lengths and principal point are shares of the image size.
  std::optional<Pose> T_camera_reference;  ///< In the file's unit; frame of the file's choice.
  /// A camera of the library's own format, in place of model and lens.
  std::optional<CameraCalibrationZEL> record;

  /// The focal lengths, skew and principal point in pixels, the first pixel's centre at 0.
  [[nodiscard]] LensParameters inPixels() const;
};

/// The pixel of a ray of unit length by the formula of the file's format; the first pixel's centre
/// is 0. False where the model has none.
[[nodiscard]] bool tryPixel(const SourceCamera& camera, const Vec3& ray, Vec2& pixel);

}  // namespace rectiline::formats
