#include "Pairs.h"

#include <stdexcept>
#include <string>

namespace rectiline::check {
namespace {

void requireImage(const GreyView& image, const CameraCalibrationZEL& camera, int pair,
                  const char* side) {
  const std::string name = "pair " + std::to_string(pair) + ", " + side + " image: ";
  const int width = camera.intrinsics.width;
  const int height = camera.intrinsics.height;
  if (!image.data) throw std::invalid_argument(name + "has no data");
  if (image.width != width || image.height != height) {
    throw std::invalid_argument(name + "is " + std::to_string(image.width) + "x" +
                                std::to_string(image.height) + ", the calibration is for " +
                                std::to_string(width) + "x" + std::to_string(height));
  }
  if (image.stride != 0 && image.stride < static_cast<std::size_t>(width)) {
    throw std::invalid_argument(name + "its stride is less than its width");
  }
}

}  // namespace

PairImages Pairs::operator[](int i) const {
  const PairImages images = mSource.fetch(static_cast<std::size_t>(i));
  requireImage(images.left, mCameras.left, i, "left");
  requireImage(images.right, mCameras.right, i, "right");
  return images;
}

}  // namespace rectiline::check
