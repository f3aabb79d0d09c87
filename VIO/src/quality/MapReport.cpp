// What a map pair covers, where it folds, and how it scales.

#include "VIO/quality/MapReport.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "VIO/quality/LargestRectangle.h"

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
  const Rectangle& largest = rectangle.largest();
  report.rectX = largest.x;
  report.rectY = largest.y;
  report.rectWidth = largest.width;
  report.rectHeight = largest.height;
  return report;
}

}  // namespace VIO
