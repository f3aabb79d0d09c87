// rectiline_range_from_columns: how far points of a latitude-longitude pair are.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

#include "Boundary.h"
#include "Memory.h"
#include "Structs.h"
#include "Views.h"

namespace rectiline::capi {
namespace {

using AR::CV::TargetView;

/// The claim of a caller that its pair is one of latitude-longitude.
rectiline_rectification checkedLatitudeLongitude(const rectiline_rectification* callers) {
  const rectiline_rectification pair = readStruct(callers, "rectification");
  if (pair.left.projection != RECTILINE_LATITUDE_LONGITUDE) {
    refuseArgument("rectification.left.projection", pair.left.projection,
                   "is %d, no RECTILINE_LATITUDE_LONGITUDE; depths of a pinhole pair are "
                   "depth_constant / disparity",
                   pair.left.projection);
  }
  if (!(pair.baseline > 0)) {
    refuseArgument("rectification.baseline", pair.baseline, "is %g; it must be above 0",
                   pair.baseline);
  }
  if (pair.disparity_sign != 1 && pair.disparity_sign != -1) {
    refuseArgument("rectification.disparity_sign", pair.disparity_sign, "is %d; it must be 1 or -1",
                   pair.disparity_sign);
  }
  return pair;
}

/// True for a position along the axis at which the view has rays.
bool hasRay(const TargetView& view, double position) {
  const double across = view.baselineAxis == 0 ? view.cy : view.cx;
  TargetView::Vec3 ignored;
  return view.baselineAxis == 0 ? view.tryRay({position, across}, ignored)
                                : view.tryRay({across, position}, ignored);
}

double rangeOf(const TargetView& view, double baseline, double left, double right) {
  if (!hasRay(view, left) || !hasRay(view, right)) return kNoValue;
  if (left == right) return std::numeric_limits<double>::infinity();
  const double range = view.rangeFrom(baseline, left, right);
  return range > 0 ? range : kNoValue;
}

}  // namespace
}  // namespace rectiline::capi

std::int32_t rectiline_range_from_columns(const rectiline_rectification* rectification,
                                          std::size_t n, const double* left, const double* right,
                                          double* ranges) {
  using namespace rectiline::capi;
  return guarded([&] {
    const rectiline_rectification pair = checkedLatitudeLongitude(rectification);
    const TargetView view = checkedView(pair.left, "rectification.left").target;
    if (n == 0) return;
    for (const auto& [values, name] : {std::pair(left, "left"), std::pair(right, "right"),
                                       std::pair(static_cast<const double*>(ranges), "ranges")}) {
      checkedArray(values, n, sizeof(double), alignof(double), name);
    }
    const double baseline = pair.disparity_sign * pair.baseline;
    for (std::size_t i = 0; i < n; ++i) ranges[i] = rangeOf(view, baseline, left[i], right[i]);
  });
}
