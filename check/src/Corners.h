#pragma once

#include <vector>

#include "Image.h"

namespace rectiline::check {

/// A pixel whose surroundings change in every direction.
struct Corner {
  int x;
  int y;
};

/// Up to `count` corners (Shi & Tomasi 1994: local maxima of the smaller eigenvalue of the summed
/// gradient products), spread over the image: each cell of a grid gives its best ones. None is
/// nearer than `margin` to a border or to a pixel that was not seen.
std::vector<Corner> findCorners(const Image& image, int count, int margin);

}  // namespace rectiline::check
