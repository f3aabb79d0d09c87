#include "RemapCase.h"

#include <cmath>
#include <opencv2/imgproc.hpp>
#include <stdexcept>

#include "Kel/kelRemapu8.h"
#include "remapRow.h"

namespace rectiline::bench {
namespace {

/// Soft bumps: the peer's positions are cut to 1/32 of a pixel, which in a steep image would be
/// many grey levels.
cv::Mat softImage(const Size& size) {
  cv::Mat image(size.height, size.width, CV_8UC1);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const double bumps = std::sin(x / 9.0) + std::cos(y / 7.0) + std::sin((x + y) / 31.0);
      image.at<std::uint8_t>(y, x) = static_cast<std::uint8_t>(128 + 40 * bumps);
    }
  }
  return image;
}

Planes plainMaps(const Size& size) {
  Planes maps = emptyPlanes(size);
  fillScalar(MapCase(plainLens(), size).job(), maps);
  return maps;
}

int strideOf(const cv::Mat& image) { return static_cast<int>(image.step[0]); }

void remapPeer(const RemapCase& c, const cv::Mat& map1, const cv::Mat& map2, cv::Mat& target) {
  cv::remap(c.source, target, map1, map2, cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar(0));
}

}  // namespace

RemapCase::RemapCase(const Size& imageSize)
    : size(imageSize),
      maps(plainMaps(size)),
      source(softImage(size)),
      target(size.height, size.width, CV_8UC1, cv::Scalar(0)) {
  cv::convertMaps(maps.X, maps.Y, fixedXY, fixedWeight, CV_16SC2);
}

void remapOurs(RemapCase& c) {
  constexpr int kBilinear = 1;
  const int status =
      kelRemapu8(c.source.data, c.source.cols, c.source.rows, strideOf(c.source), c.target.data,
                 c.target.cols, c.target.rows, strideOf(c.target), c.maps.X.ptr<float>(),
                 c.maps.Y.ptr<float>(), strideOf(c.maps.X), kBilinear);
  if (status != 0) throw std::runtime_error("kelRemapu8 refused");
}

void remapScalar(RemapCase& c) {
  const kel::SourceImage source{c.source.data, c.source.cols, c.source.rows, strideOf(c.source)};
  for (int y = 0; y < c.target.rows; ++y) {
    kel::remapRowScalar(source, c.maps.X.ptr(y), c.maps.Y.ptr(y), c.target.ptr(y), c.target.cols);
  }
}

void remapPeerFloat(RemapCase& c) { remapPeer(c, c.maps.X, c.maps.Y, c.target); }
void remapPeerFixed(RemapCase& c) { remapPeer(c, c.fixedXY, c.fixedWeight, c.target); }

}  // namespace rectiline::bench
