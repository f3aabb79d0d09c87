#include "Agreement.h"

#include <cmath>
#include <cstdlib>
#include <stdexcept>

namespace rectiline::bench {
namespace {

constexpr double kMaxPosition = 0.01;  // pixels
constexpr int kMaxGrey = 1;            // grey levels
constexpr double kMinShare = 0.7;      // of the pixels must have been compared

/// Whether a position lies at least `margin` inside an image.
bool isInside(const cv::Mat& image, float x, float y, float margin) {
  const auto last = [margin](int size) { return static_cast<float>(size - 1) - margin; };
  return x >= margin && x <= last(image.cols) && y >= margin && y <= last(image.rows);
}

/// The worst of some differences, and how many there were.
struct Differences {
  double worst = 0;
  int compared = 0;

  void add(double difference) {
    if (!(difference <= worst)) worst = difference;  // keeps NaN, which no bound admits
    ++compared;
  }

  void require(const std::string& what, double limit, const cv::Mat& image) const {
    const double share = compared / static_cast<double>(image.total());
    if (worst <= limit && share >= kMinShare) return;
    throw std::runtime_error(what + ": differs by " + std::to_string(worst) + ", compared " +
                             std::to_string(100 * share) + " % of the pixels");
  }
};

/// How far apart the two positions of pixel (x, y) are; infinitely when ours is wrongly missing.
void addPixel(const Planes& ours, const Planes& reference, int y, int x, Differences& differences) {
  const float u = reference.X.at<float>(y, x);
  const float v = reference.Y.at<float>(y, x);
  const bool missing = ours.X.at<float>(y, x) == -1 && ours.Y.at<float>(y, x) == -1;
  if (!missing) {
    differences.add(
        static_cast<double>(std::hypot(ours.X.at<float>(y, x) - u, ours.Y.at<float>(y, x) - v)));
  } else if (isInside(reference.X, u, v, static_cast<float>(kMaxPosition))) {
    differences.add(INFINITY);
  }
}

}  // namespace

void requireSameMap(const std::string& what, const Planes& ours, const Planes& reference) {
  Differences differences;
  for (int y = 0; y < reference.X.rows; ++y) {
    for (int x = 0; x < reference.X.cols; ++x) addPixel(ours, reference, y, x, differences);
  }
  differences.require(what, kMaxPosition, reference.X);
}

void requireSameImage(const std::string& what, const cv::Mat& ours, const cv::Mat& reference,
                      const Planes& maps) {
  Differences differences;
  for (int y = 0; y < reference.rows; ++y) {
    for (int x = 0; x < reference.cols; ++x) {
      if (!isInside(reference, maps.X.at<float>(y, x), maps.Y.at<float>(y, x), 1)) continue;
      differences.add(std::abs(ours.at<std::uint8_t>(y, x) - reference.at<std::uint8_t>(y, x)));
    }
  }
  differences.require(what, kMaxGrey, reference);
}

}  // namespace rectiline::bench
