#pragma once

#include <cmath>
#include <cstddef>

#include "AR/Math/Vector.h"

namespace VIO {

/// A position in an image, pixels; integer coordinates are pixel positions.
using PixelPosition = AR::Math::Vec<double, 2>;

/// What a map pair says of one target pixel.
enum class MapPosition {
  None,    ///< -1 in both maps: the pixel has no source
  Source,  ///< two finite values: where its source lies
  Broken,  ///< anything else: no map function writes it
};

inline MapPosition mapPosition(float x, float y) {
  if (x == -1 && y == -1) return MapPosition::None;
  return std::isfinite(x) && std::isfinite(y) ? MapPosition::Source : MapPosition::Broken;
}

/// A caller's map pair of any content, to be looked at.
struct MapView {
  const float* X;  // source columns, row-major
  const float* Y;  // source rows
  int width;       // pixels
  int height;
  std::ptrdiff_t stride;  // floats from one row to the next, in both maps

  [[nodiscard]] std::ptrdiff_t index(int x, int y) const { return y * stride + x; }
  [[nodiscard]] MapPosition position(int x, int y) const {
    return mapPosition(X[index(x, y)], Y[index(x, y)]);
  }
  [[nodiscard]] bool hasSource(int x, int y) const { return position(x, y) == MapPosition::Source; }
  /// What the maps hold, whether it is a source or not.
  [[nodiscard]] PixelPosition source(int x, int y) const {
    return {static_cast<double>(X[index(x, y)]), static_cast<double>(Y[index(x, y)])};
  }
};

}  // namespace VIO
