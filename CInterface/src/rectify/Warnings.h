#pragma once

#include "rectify/PairGeometry.h"
#include "rectify/ViewSource.h"
#include "rectiline/rectiline.h"

namespace rectiline::capi {

/// How far the tables of a camera are from its formulas on the way from ray to pixel, in pixels:
/// sampled at a few hundred places, where rectiline_certify_camera() looks at all.
double tableError(const AR::CV::Camera<float>& camera, const IntrinsicCameraCalibrationZEL& record);

// What a person should know about a result that is otherwise in order. Each adds to
// result.warnings.

void warnOfGeometry(const PairGeometry& geometry, rectiline_rectification& result);
void warnOfTables(const ViewSource& source, const IntrinsicCameraCalibrationZEL& record,
                  rectiline_rectification& result);
void warnOfShares(rectiline_rectification& result);
void warnOfFailedChecks(rectiline_rectification& result);

}  // namespace rectiline::capi
