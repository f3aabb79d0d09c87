#pragma once

#include <vector>

#include "Image.h"
#include "rectiline_check/Check.h"

namespace rectiline::check {

/// One point in both images.
struct ImageMatch {
  Position left;
  Position right;
};

/// How far from its row a point of the left image is searched in the right one.
enum class Search {
  Narrow,  // about 1 % of the width: a pair whose rows nearly agree
  Wide     // a sixth of the height, at half the resolution
};

/// Points found in both images: corners of the left one, searched in the right one and back again
/// where the pyramid is small, then refined to a fraction of a pixel down to the full images.
std::vector<ImageMatch> matchImages(const Pyramid& left, const Pyramid& right, Search search,
                                    int maxCorners);

}  // namespace rectiline::check
