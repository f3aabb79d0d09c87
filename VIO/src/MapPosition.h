#pragma once

#include <cmath>

namespace VIO {

/// Whether a target pixel with these values in the X and Y map has a source.
inline bool hasSource(float x, float y) {
  return std::isfinite(x) && std::isfinite(y) && !(x == -1 && y == -1);
}

}  // namespace VIO
