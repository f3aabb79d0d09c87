#pragma once

#include <cstdint>

#include "rectiline/CalibrationRecords.h"

namespace VIO {

/// How well the tables of one camera agree with its exact model. Errors in pixels, over the whole
/// disc in which the tables are valid. Radii in the ideal (undistorted, normalised) plane.
struct CameraCertificate {
  double maxDistortionError;       // ray to pixel
  double distortionErrorRadius;    // where
  double maxUndistortionError;     // pixel to ray, judged by the exact pixel of the ray
  double undistortionErrorRadius;  // where, as the ideal radius of the ray
  double validRadius;              // largest ideal radius of the distortion table
  double validRadiusPixels;        // all pixels this far from the principal point have a ray
  double fieldOfView;              // radians, full angle at validRadius
  std::uint32_t distortionBins;
  std::uint32_t undistortionBins;
};

/// Measures one camera as the entry points would set it up (single precision). Its pose is not
/// read.
/// @return false, with `certificate` untouched, for a record that no camera can be made of; the
///     model prints why
[[nodiscard]] bool certifyCamera(const IntrinsicCameraCalibrationZEL& camera,
                                 CameraCertificate& certificate);

}  // namespace VIO
