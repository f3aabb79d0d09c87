#pragma once

#include <string>

#include "MapCase.h"

// Whether two results are the same one, so that comparing their times means something. Each
// function throws std::runtime_error, which names `what`, when they are not.

namespace rectiline::bench {

/// Positions within 0.01 pixels wherever `ours` has one, which must be most of the map; where it
/// has none, `reference` must not lie inside the source image, which is of the maps' size.
void requireSameMap(const std::string& what, const Planes& ours, const Planes& reference);

/// Images within one grey level wherever `maps`, by which both were made, points at least one pixel
/// inside the source image, which is of the maps' size.
void requireSameImage(const std::string& what, const cv::Mat& ours, const cv::Mat& reference,
                      const Planes& maps);

}  // namespace rectiline::bench
