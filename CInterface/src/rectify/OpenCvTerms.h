#pragma once

#include "AR/CV/Map/TargetView.h"
#include "rectify/PairGeometry.h"
#include "rectiline/rectiline.h"

namespace rectiline::capi {

/// Sets R1, R2, P1, P2 and Q of a result: what OpenCV's stereoRectify() returns under these names,
/// for the left camera as its first. R1 and R2 turn a camera's directions into its view's frame;
/// P1 and P2 project points of the left view's frame; Q takes (u, v, disparity, 1) to them.
void setOpenCvTerms(const PairGeometry& geometry, const AR::CV::TargetView& view,
                    rectiline_rectification& result);

}  // namespace rectiline::capi
