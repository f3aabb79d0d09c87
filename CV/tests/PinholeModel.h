#pragma once

#include "CameraModel/CameraModel.h"

namespace AR::CV::testing {

/// A camera without distortion whose square pixels have the focal length `f`.
template <typename P>
CamModel::CameraModel<P> pinholeModel(P width, P height, P f, P cx, P cy) {
  CamModel::CameraModel<P> model;
  model.size = {width, height};
  model.principalPoint = {cx, cy};
  model.focalLength = {f, f};
  model.setupValidDistortionRange({}, false);
  return model;
}

}  // namespace AR::CV::testing
