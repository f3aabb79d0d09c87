#pragma once

#include "rectify/ViewSource.h"

namespace rectiline::capi {

/// A rectangle in the plane of a view: positions for focal lengths of 1 and a principal point of 0,
/// which are tangents of a pinhole view and radians of a latitude-longitude view.
struct Extent {
  double minX, maxX;
  double minY, maxY;

  [[nodiscard]] double width() const { return maxX - minX; }
  [[nodiscard]] double height() const { return maxY - minY; }
  [[nodiscard]] bool isEmpty() const { return !(width() > 0 && height() > 0); }
};

Extent unionOf(const Extent& a, const Extent& b);
Extent intersectionOf(const Extent& a, const Extent& b);

/// The smallest rectangle around all pixels of a camera that have a ray, as a view of this
/// projection and axis sees them; of a pinhole view, rays up to 85 degrees off its axis. Empty when
/// there is none.
Extent extentOf(const ViewSource& source, AR::CV::TargetProjection projection, int baselineAxis);

}  // namespace rectiline::capi
