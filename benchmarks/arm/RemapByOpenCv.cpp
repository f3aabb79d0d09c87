// The same by OpenCV, with its float or its fixed-point maps.
// usage: remap_by_opencv float|fixed upright|turned TIMES

#include <cstdio>
#include <cstdlib>
#include <opencv2/imgproc.hpp>
#include <string_view>

#include "CountedImage.h"

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  constexpr int kWidth = CountedImage::kWidth, kHeight = CountedImage::kHeight;
  cv::setNumThreads(1);
  CountedImage image(argv[2]);
  const cv::Mat source(kHeight, kWidth, CV_8U, image.source.data());
  cv::Mat target(kHeight, kWidth, CV_8U, image.target.data());
  cv::Mat first(kHeight, kWidth, CV_32F, image.X.data());
  cv::Mat second(kHeight, kWidth, CV_32F, image.Y.data());
  if (std::string_view(argv[1]) == "fixed") {
    cv::Mat places, weights;
    cv::convertMaps(first, second, places, weights, CV_16SC2);
    first = places;
    second = weights;
  }
  for (int i = 0; i < std::atoi(argv[3]); ++i) {
    cv::remap(source, target, first, second, cv::INTER_LINEAR);
  }
  std::printf("%d\n", image.target[kWidth * kHeight / 2 + kWidth / 2]);
}
