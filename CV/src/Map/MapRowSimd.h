#pragma once

#include <cstddef>

#include "Map/MapRow.h"
#include "Map/SplineTable.h"

namespace AR::CV::Internal {

/// One map with what its rows are made of. `undistortion` is read for a distorted
/// target only.
struct MapInput {
  const MapJob<float>& job;
  const SplineTable& distortion;
  const SplineTable& undistortion;
};

/// The order of coefficients in which the best instruction set of this machine reads a table of so
/// many bins.
SplineTable::Layout splineLayout(std::size_t bins);

/// The vector form of mapRowScalar(). The tables must be usable and laid out as splineLayout()
/// says.
/// @param allRaysValid  every pixel has a ray that the source's distortion can be evaluated for
MapRowReport mapRowSimd(const MapInput& input, bool allRaysValid, int y, int width, float* mapX,
                        float* mapY, std::uint8_t* reasons);

}  // namespace AR::CV::Internal
