#pragma once

#include <cstdint>

#include "VIO/quality/MapView.h"

namespace VIO {

/// What a map pair covers and how it scales. Magnification is of the image that the map makes: in
/// target pixels per source pixel, from the singular values of the map's local derivative, which is
/// the difference to the right and to the lower neighbour. A pixel is folded when its derivative's
/// determinant is 0 or has the sign that is rarer in this map; so a map that mirrors the whole
/// image is not folded.
struct MapReport {
  std::uint64_t pixels;            // width * height
  std::uint64_t pixelsWithSource;  // positions that are finite and not -1 in both maps
  std::uint64_t brokenPixels;      // neither that nor -1 in both maps
  double shareWithSource;          // 0 to 1
  std::uint64_t measuredPixels;    // pixels whose right and lower neighbours have a source as well
  std::uint64_t foldedPixels;      // measured pixels where the map turns back on itself
  double leastMagnification;       // over all measured pixels and directions; 0 when there is none
  double greatestMagnification;    // infinite where a derivative vanishes
  // The largest rectangle of pixels that all have a source; of equal ones the topmost, then
  // leftmost, then widest. Width and height 0 when there is none.
  std::int32_t rectX, rectY, rectWidth, rectHeight;
};

/// Reports on any map pair of at least one pixel.
[[nodiscard]] MapReport reportOn(const MapView& map);

}  // namespace VIO
