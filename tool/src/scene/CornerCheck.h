#pragma once

#include <string>

#include "images/Pixels.h"
#include "rectiline/rectiline.h"

namespace rectiline::tool {

/// A rectified image pair with what its maker claims of it.
struct RectifiedImages {
  GreyImage left;
  GreyImage right;
  rectiline_rectification rectification;

  [[nodiscard]] bool isVertical() const { return rectification.axis == 1; }
};

/// How well known points agree with the rectified images.
struct CornerErrors {
  int points = 0;            // found in both images
  double rowRms = 0;         // pixels, across the baseline
  double rowMax = 0;         // pixels
  double disparityRms = 0;   // pixels, against depthConstant / true depth
  double depthRmsShare = 0;  // of the true depth
  double depthMaxShare = 0;
};

/// Finds checkerboard corners, given as Render.h says, in both images and compares rows,
/// disparities and depths. Corners whose cells are too small to measure are left out. Throws Error
/// for an unreadable file.
CornerErrors checkCorners(const RectifiedImages& pair, const std::string& pointsFile);

}  // namespace rectiline::tool
