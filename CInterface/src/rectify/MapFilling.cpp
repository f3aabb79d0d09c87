#include "rectify/MapFilling.h"

#include <limits>
#include <utility>

#include "AR/CV/Image/Image.h"
#include "Boundary.h"

namespace rectiline::capi {
namespace {

using Size = AR::Math::Vec<int, 2>;

/// Rows of the caller as an image; their stride counts in pixels there.
void wrap(const Rows& rows, int width, int height, AR::CV::Image<float>& image) {
  const std::size_t pixels = height == 1 ? static_cast<std::size_t>(width) : rows.stride / 4;
  if (pixels > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    refuseArgument("stride", static_cast<double>(rows.stride),
                   "is %zu bytes; rows may be at most 8 GB apart", rows.stride);
  }
  image.set(rows.row<float>(0), Size(width, height), Size(static_cast<int>(pixels), height), false);
}

/// Of a call that is refused: the target, if it is in order.
void fillNotMade(const rectiline_map* callers) {
  try {
    if (callers != nullptr) checkedTarget(callers, "right").fillNotMade();
  } catch (const Refusal&) {
  }
}

}  // namespace

TargetMaps checkedTargets(const rectiline_map* left, const rectiline_map* right) {
  TargetMaps maps;
  // A map that is refused is no reason to leave the other one as it was.
  try {
    if (left != nullptr) maps.left = checkedTarget(left, "left");
  } catch (...) {
    fillNotMade(right);
    throw;
  }
  if (right == nullptr) return maps;
  orFillNotMade(maps, [&] { maps.right = checkedTarget(right, "right"); });
  if (maps.left) requireApart(*maps.left, *maps.right);
  return maps;
}

void requireSize(const Map& map, int width, int height, const char* name) {
  if (map.width == width && map.height == height) return;
  const bool isWidth = map.width != width;
  refuseArgument({name, isWidth ? "width" : "height"}, isWidth ? map.width : map.height,
                 "belongs to a map of %d x %d pixels; the target has %d x %d", map.width,
                 map.height, width, height);
}

void addMap(AR::CV::MapJob<float> job, const Map& map, AR::CV::MapBatch<float>& batch) {
  AR::CV::Image<float> x;
  AR::CV::Image<float> y;
  wrap(map.x, map.width, map.height, x);
  wrap(map.y, map.width, map.height, y);
  AR::CV::MapReasons reasons;
  if (map.hasReasons) {
    reasons = {map.reasons.row<std::uint8_t>(0), static_cast<std::ptrdiff_t>(map.reasons.stride)};
  }
  batch.add(std::move(job), false, x, y, reasons);
}

}  // namespace rectiline::capi
