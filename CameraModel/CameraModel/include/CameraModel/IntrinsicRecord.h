#pragma once

#include "CameraModel/CameraModel.h"

namespace CamModel {

/// The interchange record of `camera`: the size truncated to integers (saturated; NaN gives 0),
/// radial then tangential coefficients in the distortion slots, the limits as radii (square
/// roots). Instantiated for float and double.
template <typename P>
[[nodiscard]] IntrinsicCameraCalibrationZEL toRecord(const CameraModel<P>& camera);

}  // namespace CamModel
