#pragma once

#include <cmath>
#include <cstddef>

#include "AR/Math/Matrix.h"
#include "ExactCamera.h"

namespace VIO {

/// A map pair of any content as a smooth function of real target positions, and its inverse.
///
/// Between pixels both maps are piecewise cubic (the polynomial through the four nearest pixels of
/// each axis): straight lines would be off by more than the maps are.
class MapLookup {
 public:
  /// @param X, Y  width x height floats each, row-major; the caller keeps them alive
  MapLookup(const float* X, const float* Y, int width, int height)
      : mX(X), mY(Y), mWidth(width), mHeight(height) {}

  /// The source position at a pixel of the map. False when the pixel has no source: -1 in both
  /// maps, or not a number.
  [[nodiscard]] bool trySource(int x, int y, PixelPosition& source) const {
    const std::size_t i = static_cast<std::size_t>(y) * static_cast<std::size_t>(mWidth) +
                          static_cast<std::size_t>(x);
    if ((mX[i] == -1 && mY[i] == -1) || std::isnan(mX[i]) || std::isnan(mY[i])) return false;
    source = {static_cast<double>(mX[i]), static_cast<double>(mY[i])};
    return true;
  }

  /// Searches the target position whose source position is `source` by Newton's method, from
  /// `target` on. False, with `target` untouched, when the search leaves the pixels that have a
  /// source, meets a place where the map does not change, or does not settle.
  [[nodiscard]] bool tryFind(const PixelPosition& source, PixelPosition& target) const;

 private:
  /// The map around one target position.
  struct Local {
    PixelPosition source;
    AR::Math::Mat<double, 2, 2> J;  // derivative of the source by the target position
  };

  [[nodiscard]] bool tryInterpolate(const PixelPosition& target, Local& local) const;

  const float* mX;
  const float* mY;
  int mWidth;
  int mHeight;
};

}  // namespace VIO
