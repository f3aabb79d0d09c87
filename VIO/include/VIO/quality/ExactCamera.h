#pragma once

#include <optional>

#include "AR/Math/Matrix.h"
#include "CameraModel/CameraModel.h"
#include "VIO/quality/MapView.h"
#include "rectiline/CalibrationRecords.h"

namespace VIO {

/// A record's camera by its formulas, in double: what the tables and maps are measured against.
class ExactCamera {
 public:
  /// None when no camera can be made of the record; the model prints its fault.
  static std::optional<ExactCamera> fromRecord(const IntrinsicCameraCalibrationZEL& record);

  /// The pixel of the ideal point (x, y). Tangential terms as in Brown 1966.
  [[nodiscard]] PixelPosition pixel(double x, double y) const;

  /// The pixel of a point, or direction, in the camera's frame. False unless it lies in front of
  /// the camera.
  [[nodiscard]] bool tryProject(const AR::Math::Vec<double, 3>& P, PixelPosition& pixel) const;

  /// Moves `ideal` by Newton's method to the ideal point whose pixel is `pixel`: as near as double
  /// precision allows. False, with `ideal` untouched, when that takes it anywhere else.
  [[nodiscard]] bool tryUnproject(const PixelPosition& pixel, PixelPosition& ideal) const;

 private:
  explicit ExactCamera(const CamModel::CameraModel<double>& model) : mModel(model) {}

  /// The derivative of pixel() by the ideal point.
  [[nodiscard]] AR::Math::Mat<double, 2, 2> derivative(const PixelPosition& ideal) const;

  CamModel::CameraModel<double> mModel;
};

}  // namespace VIO
