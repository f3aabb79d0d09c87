// What a map pair covers, where it folds, and how it scales.

#include "VIO/quality/MapReport.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace VIO {
namespace {

/// The map's derivative at one pixel by forward differences: source pixels per target pixel.
struct Derivative {
  double ux, uy;  // of the source column along target x and y
  double vx, vy;  // of the source row

  [[nodiscard]] double determinant() const { return ux * vy - uy * vx; }
};

Derivative derivativeAt(const MapView& map, int x, int y) {
  const PixelPosition here = map.source(x, y);
  const PixelPosition toRight = map.source(x + 1, y) - here;
  const PixelPosition toBelow = map.source(x, y + 1) - here;
  return {toRight(0), toBelow(0), toRight(1), toBelow(1)};
}

/// Gathers the derivatives of all measured pixels.
class ScaleStatistics {
 public:
  void add(const Derivative& d) {
    // The greater singular value of a 2x2 matrix is the half sum of these two lengths; the product
    // of both is the determinant. Their half difference would not be exactly 0 where that is.
    const double sum = std::hypot(d.ux + d.vy, d.vx - d.uy);
    const double difference = std::hypot(d.ux - d.vy, d.vx + d.uy);
    const double greater = (sum + difference) / 2;
    const double determinant = d.determinant();
    mLargest = std::max(mLargest, greater);
    mSmallest = std::min(mSmallest, greater > 0 ? std::fabs(determinant) / greater : 0);
    ++(determinant > 0 ? mPositive : determinant < 0 ? mNegative : mZero);
  }

  void write(MapReport& report) const {
    report.measuredPixels = mPositive + mNegative + mZero;
    // A map that mirrors the whole image is not folded: the rarer sign is the fold.
    report.foldedPixels = std::min(mPositive, mNegative) + mZero;
    const bool measured = report.measuredPixels > 0;
    report.leastMagnification = measured ? 1 / mLargest : 0;
    report.greatestMagnification = measured ? 1 / mSmallest : 0;
  }

 private:
  double mLargest = 0;
  double mSmallest = std::numeric_limits<double>::infinity();
  std::uint64_t mPositive = 0;
  std::uint64_t mNegative = 0;
  std::uint64_t mZero = 0;
};

/// The largest rectangle of pixels with a source, row by row: heights of the columns of such pixels
/// that end in the row, and the largest rectangle under that histogram, found with a stack.
class LargestRectangle {
 public:
  explicit LargestRectangle(std::int32_t width)
      : mHeights(static_cast<std::size_t>(width), 0), mStack(mHeights.size() + 1) {}

  void addPixel(std::int32_t x, bool hasSource) {
    std::int32_t& height = mHeights[static_cast<std::size_t>(x)];
    height = hasSource ? height + 1 : 0;
  }

  void finishRow(std::int32_t y) {
    mDepth = 0;
    std::int32_t x = 0;
    for (const std::int32_t height : mHeights) addBar(x++, y, height);
    addBar(x, y, 0);  // ends what is still open
  }

  void write(MapReport& report) const {
    report.rectX = mX;
    report.rectY = mY;
    report.rectWidth = mWidth;
    report.rectHeight = mHeight;
  }

 private:
  struct Bar {
    std::int32_t left;
    std::int32_t height;
  };

  /// Ends the bars that are not lower than the new one, which reaches back to where they began.
  void addBar(std::int32_t x, std::int32_t y, std::int32_t height) {
    std::int32_t left = x;
    while (mDepth > 0 && mStack[mDepth - 1].height >= height) {
      const Bar& bar = mStack[--mDepth];
      left = bar.left;
      consider(bar.left, y - bar.height + 1, x - bar.left, bar.height);
    }
    mStack[mDepth++] = {left, height};
  }

  void consider(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height) {
    const std::int64_t area = static_cast<std::int64_t>(width) * height;
    const bool earlier = y < mY || (y == mY && x < mX);
    if (area < mArea || area == 0 || (area == mArea && !earlier)) return;
    mArea = area;
    mX = x;
    mY = y;
    mWidth = width;
    mHeight = height;
  }

  std::vector<std::int32_t> mHeights;  // of the columns
  std::vector<Bar> mStack;             // open bars of rising height, at most one a column and one 0
  std::size_t mDepth = 0;
  std::int64_t mArea = 0;
  std::int32_t mX = 0, mY = 0, mWidth = 0, mHeight = 0;
};

}  // namespace

MapReport reportOn(const MapView& map) {
  MapReport report{};
  ScaleStatistics scales;
  LargestRectangle rectangle(map.width);
  for (int y = 0; y < map.height; ++y) {
    for (int x = 0; x < map.width; ++x) {
      const MapPosition position = map.position(x, y);
      rectangle.addPixel(x, position == MapPosition::Source);
      report.brokenPixels += position == MapPosition::Broken ? 1 : 0;
      if (position != MapPosition::Source) continue;
      ++report.pixelsWithSource;
      const bool inner = x + 1 < map.width && y + 1 < map.height;
      if (inner && map.hasSource(x + 1, y) && map.hasSource(x, y + 1)) {
        scales.add(derivativeAt(map, x, y));
      }
    }
    rectangle.finishRow(y);
  }
  report.pixels = static_cast<std::uint64_t>(map.width) * static_cast<std::uint64_t>(map.height);
  report.shareWithSource =
      static_cast<double>(report.pixelsWithSource) / static_cast<double>(report.pixels);
  scales.write(report);
  rectangle.write(report);
  return report;
}

}  // namespace VIO
