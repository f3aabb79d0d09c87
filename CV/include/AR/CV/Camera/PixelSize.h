#pragma once

#include "AR/CV/Camera/Camera.h"
#include "AR/Common/SaturatingCast.h"

namespace AR::CV {

/// A camera's image size as whole pixels. Sizes are reals in a model, and records may hold any.
template <typename P>
[[nodiscard]] Math::Vec<int, 2> pixelSize(const Camera<P>& camera) {
  return {Common::saturatingCast<int>(camera.getSize()(0)),
          Common::saturatingCast<int>(camera.getSize()(1))};
}

}  // namespace AR::CV
