#pragma once

#include "CameraModel/DistortionTraits.h"

namespace CamModel {

/// The row of a model. Defined in the model's own file, which alone sees its formulas.
template <DistortionModel MODEL, typename P>
struct LensRow {
  [[nodiscard]] static const DistortionTraits<P>& get() noexcept;
};

}  // namespace CamModel
