#pragma once

#include "MapCase.h"

namespace rectiline::bench {

/// An image, the maps to resample it by, and where the result goes; all of one size.
struct RemapCase {
  explicit RemapCase(const Size& size);

  Size size;
  Planes maps;          // of the plain lens
  cv::Mat fixedXY;      // the same positions in OpenCV's fixed-point form
  cv::Mat fixedWeight;  // its table indices
  cv::Mat source;       // CV_8UC1
  cv::Mat target;       // CV_8UC1
};

/// kelRemapu8, and the same in plain scalar code.
void remapOurs(RemapCase& c);
void remapScalar(RemapCase& c);

/// cv::remap, bilinear, zero outside.
void remapPeerFloat(RemapCase& c);
void remapPeerFixed(RemapCase& c);

}  // namespace rectiline::bench
