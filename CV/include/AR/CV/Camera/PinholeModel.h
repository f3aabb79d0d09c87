#pragma once

#include "AR/Math/Vector.h"
#include "CameraModel/CameraModel.h"

namespace AR::CV {

/// The model of a camera without distortion, valid as far as its image reaches; all in pixels.
template <typename P>
[[nodiscard]] CamModel::CameraModel<P> pinholeModel(const Math::Vec<P, 2>& size,
                                                    const Math::Vec<P, 2>& principalPoint,
                                                    const Math::Vec<P, 2>& focalLength) {
  CamModel::CameraModel<P> model(size, principalPoint, focalLength, {}, {}, CamModel::LINEAR, {});
  model.setupValidDistortionRange({}, false);
  return model;
}

}  // namespace AR::CV
