#pragma once

#include "Check.h"

namespace rectiline::formats {

/// Replaces the lens of `record` by the closest of the library's models: the first that is within
/// kGreatestDifference of all samples' pixels, or else the one whose greatest distance, which is
/// returned, is least. Focal lengths and principal
/// point are fitted, too. Throws FormatError when none comes near.
Comparison fitLens(const SourceCamera& camera, const std::vector<Sample>& samples,
                   CameraCalibrationZEL& record);

}  // namespace rectiline::formats
