#pragma once

#include "AR/CV/Camera/PinholeModel.h"

namespace AR::CV::testing {

/// A camera without distortion whose square pixels have the focal length `f`.
template <typename P>
CamModel::CameraModel<P> pinholeModel(P width, P height, P f, P cx, P cy) {
  using Vec2 = Math::Vec<P, 2>;
  return AR::CV::pinholeModel(Vec2(width, height), Vec2(cx, cy), Vec2(f, f));
}

}  // namespace AR::CV::testing
