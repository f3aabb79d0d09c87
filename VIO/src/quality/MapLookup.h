#pragma once

#include "AR/Math/Matrix.h"
#include "VIO/quality/MapView.h"

namespace VIO {

/// A map pair of any content as a smooth function of real target positions, and its inverse.
///
/// Between pixels both maps are piecewise cubic (the polynomial through the four nearest pixels of
/// each axis): straight lines would be off by more than the maps are.
class MapLookup {
 public:
  /// @param map  its memory must outlive the lookup
  explicit MapLookup(const MapView& map) : mMap(map) {}

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

  MapView mMap;
};

}  // namespace VIO
