#include <algorithm>
#include <cmath>
#include <limits>

#include "Boundary.h"
#include "rectify/Coverage.h"
#include "rectify/ViewWishes.h"

namespace rectiline::capi {
namespace {

using AR::CV::TargetProjection;
using AR::CV::TargetView;

/// The focal length at which `from` to `to` (below `to`) fits between pixel 0 and pixel `last` when
/// position 0 lies at pixel `centre`; 0: at none.
double fittingFocalLength(double from, double to, double centre, double last) {
  double f = std::numeric_limits<double>::infinity();
  if (from < 0) f = std::min(f, centre / -from);
  if (to > 0) f = std::min(f, (last - centre) / to);
  const bool staysInside = (centre >= 0 || from > 0) && (centre <= last || to < 0);
  return staysInside && f > 0 ? f : 0;
}

Extent wholeExtent(const TargetView& view, const ViewSources& sources) {
  std::optional<Extent> whole;
  for (const ViewSource& source : sources) {
    const Extent extent = extentOf(source, view.projection, view.baselineAxis);
    if (extent.isEmpty()) {
      refuse(RECTILINE_CANNOT_RECTIFY,
             "Camera %d sees nothing of a view that lies half-way between the cameras: they look "
             "too far apart. Check the rotations of the poses, or use "
             "RECTILINE_LATITUDE_LONGITUDE.",
             std::max(source.index, 0));
    }
    whole = whole ? unionOf(*whole, extent) : extent;
  }
  return *whole;
}

}  // namespace

TargetView wholeView(const TargetView& view, const ViewSources& sources,
                     const PrincipalPoint& given) {
  const Extent whole = wholeExtent(view, sources);
  const double lastX = view.width - 1;
  const double lastY = view.height - 1;
  TargetView result = view;
  double f = std::min(lastX / whole.width(), lastY / whole.height());
  if (given) {
    f = std::min(fittingFocalLength(whole.minX, whole.maxX, (*given)(0), lastX),
                 fittingFocalLength(whole.minY, whole.maxY, (*given)(1), lastY));
    if (!(f > 0 && std::isfinite(f))) {
      refuse(
          RECTILINE_CANNOT_RECTIFY,
          "The whole of the images does not fit around the principal point (%g, %g) at any focal "
          "length. Leave options.has_principal_point 0 to have it chosen.",
          (*given)(0), (*given)(1));
    }
  }
  result.fx = result.fy = f;
  result.cx = given ? (*given)(0) : (lastX - f * (whole.minX + whole.maxX)) / 2;
  result.cy = given ? (*given)(1) : (lastY - f * (whole.minY + whole.maxY)) / 2;
  return result;
}

TargetView sizedView(const TargetView& view, const ViewSources& sources, double focalLength) {
  const Extent whole = wholeExtent(view, sources);
  // As many pixels as lie from one end to the other, both included.
  const double width = std::ceil(focalLength * whole.width()) + 1;
  const double height = std::ceil(focalLength * whole.height()) + 1;
  if (!(width <= kMaxSide && height <= kMaxSide)) {
    refuse(RECTILINE_CANNOT_RECTIFY,
           "The whole of the images at the left camera's focal length, %g pixels, would be %.0f x "
           "%.0f pixels, more than %d. Give options.width and options.height.",
           focalLength, width, height, kMaxSide);
  }
  TargetView result = view;
  result.width = static_cast<int>(width);
  result.height = static_cast<int>(height);
  result.fx = result.fy = focalLength;
  result.cx = (result.width - 1 - focalLength * (whole.minX + whole.maxX)) / 2;
  result.cy = (result.height - 1 - focalLength * (whole.minY + whole.maxY)) / 2;
  return result;
}

}  // namespace rectiline::capi
