#pragma once

#include <span>

#include "Map/SplineTable.h"

namespace AR::CV::Internal {

/// CamModel::invertFactors() of a spline over squared radii, to the same bits, with the best
/// instruction set. The table must be usable and laid out as splineLayout() says. False, with
/// nothing written, where vectors do not divide as the plain form does or there are none.
[[nodiscard]] bool tryInvertSpline(const SplineTable& table, std::span<const float> y,
                                   std::span<float> G);

}  // namespace AR::CV::Internal
