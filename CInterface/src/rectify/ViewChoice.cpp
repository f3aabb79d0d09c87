#include "rectify/ViewChoice.h"

#include <cmath>

#include "Boundary.h"

namespace rectiline::capi {
namespace {

using AR::CV::TargetProjection;
using AR::CV::TargetView;

double focalLengthOf(double fieldOfView, const TargetView& view) {
  const double f = view.projection == TargetProjection::Pinhole
                       ? view.width / (2 * std::tan(fieldOfView / 2))
                       : view.width / fieldOfView;
  if (isFocalLength(f)) return f;
  refuseArgument("options.field_of_view", fieldOfView,
                 "is %g, which makes a focal length of %g pixels; it must be from 1e-7 to 1e7",
                 fieldOfView, f);
}

/// From the full view to the whole one: focal length and principal point go in a straight line.
TargetView between(const TargetView& full, const TargetView& whole, double coverage) {
  TargetView view = full;
  view.fx = view.fy = std::lerp(full.fx, whole.fx, coverage);
  view.cx = std::lerp(full.cx, whole.cx, coverage);
  view.cy = std::lerp(full.cy, whole.cy, coverage);
  return view;
}

TargetView coveringView(const ViewWishes& wishes, const TargetView& automatic,
                        const ViewSources& sources) {
  const double coverage = *wishes.coverage;
  const bool isWhole = coverage == 1;
  if (isWhole && automatic.projection == TargetProjection::LatitudeLongitude && !wishes.size &&
      !wishes.principalPoint) {
    return sizedView(automatic, sources, automatic.fx);
  }
  if (automatic.width < 2 || automatic.height < 2) {
    refuseArgument("options.width", automatic.width,
                   "and height are %d and %d; a coverage needs at least 2 pixels each",
                   automatic.width, automatic.height);
  }
  if (coverage == 0) return fullView(automatic, sources, wishes.principalPoint);
  const TargetView whole = wholeView(automatic, sources, wishes.principalPoint);
  if (isWhole) return whole;
  return between(fullView(automatic, sources, wishes.principalPoint), whole, coverage);
}

}  // namespace

TargetView chosenView(const ViewWishes& wishes, const TargetView& automatic,
                      const ViewSources& sources) {
  TargetView view = automatic;
  if (wishes.principalPoint) {
    view.cx = (*wishes.principalPoint)(0);
    view.cy = (*wishes.principalPoint)(1);
  }
  if (wishes.coverage) return coveringView(wishes, view, sources);
  if (wishes.focalLength) view.fx = view.fy = *wishes.focalLength;
  if (wishes.fieldOfView) view.fx = view.fy = focalLengthOf(*wishes.fieldOfView, view);
  return view;
}

}  // namespace rectiline::capi
