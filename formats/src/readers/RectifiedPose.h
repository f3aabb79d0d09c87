#pragma once

#include "Conventions.h"

namespace rectiline::formats {

/// T_camera_rectified of a camera that a rectification describes: `R` turns its directions into the
/// common rectified frame, `P` = K' [I | t] projects points of that frame, whose origin is the
/// first camera's.
[[nodiscard]] Pose readRectifiedPose(const Field& R, const Field& P);

/// Whether a rectification is one of a camera alone.
[[nodiscard]] bool isAlone(const Pose& T_camera_rectified);

}  // namespace rectiline::formats
