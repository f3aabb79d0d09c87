#include "rectify/Extent.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "AR/CV/Camera/PixelSize.h"
#include "AR/Math/Constants.h"

namespace rectiline::capi {
namespace {

using AR::CV::TargetProjection;
using AR::CV::TargetView;
using Vec2 = AR::Math::Vec<double, 2>;
using Vec3 = AR::Math::Vec<double, 3>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kMaxOffAxis = 85 * AR_PI / 180;

/// Where a camera's pixels lie in the plane of a view.
class PixelsInPlane {
 public:
  PixelsInPlane(const ViewSource& source, TargetProjection projection, int baselineAxis)
      : mCamera(source.camera), mR_ts(source.R_st.inverse().cast<double>()) {
    mPlane.projection = projection;
    mPlane.baselineAxis = baselineAxis;
    mPlane.fx = mPlane.fy = 1;
  }

  [[nodiscard]] bool tryPosition(int x, int y, Vec2& position) const {
    const AR::Math::Vec<float, 2> pixel(static_cast<float>(x), static_cast<float>(y));
    AR::Math::Vec<float, 2> ideal_s;
    if (!mCamera.tryPixel2ideal(pixel, ideal_s)) return false;
    const Vec3 ray_t = mR_ts * Vec3(ideal_s(0), ideal_s(1), 1.0);
    return isWithinView(ray_t) && mPlane.tryPixel(ray_t, position);
  }

 private:
  [[nodiscard]] bool isWithinView(const Vec3& ray_t) const {
    static const double kMinCosine = std::cos(kMaxOffAxis);
    return mPlane.projection != TargetProjection::Pinhole ||
           ray_t(2) >= kMinCosine * AR::Math::norm(ray_t);
  }

  const AR::CV::Camera<float>& mCamera;
  AR::Math::SO3<double> mR_ts;
  TargetView mPlane;
};

void include(const Vec2& position, Extent& extent) {
  extent.minX = std::min(extent.minX, position(0));
  extent.maxX = std::max(extent.maxX, position(0));
  extent.minY = std::min(extent.minY, position(1));
  extent.maxY = std::max(extent.maxY, position(1));
}

/// Includes the first and the last of `count` pixels in a line that have a position: the border of
/// those that have one, which is where an extent ends, at the price of the border alone.
template <typename PixelAt>
void includeEnds(const PixelsInPlane& pixels, int count, const PixelAt& pixelAt, Extent& extent) {
  Vec2 position;
  int first = 0;
  while (first < count && !pixels.tryPosition(pixelAt(first)(0), pixelAt(first)(1), position)) {
    ++first;
  }
  if (first == count) return;
  include(position, extent);
  int last = count - 1;
  while (!pixels.tryPosition(pixelAt(last)(0), pixelAt(last)(1), position)) --last;
  include(position, extent);
}

}  // namespace

Extent unionOf(const Extent& a, const Extent& b) {
  return {std::min(a.minX, b.minX), std::max(a.maxX, b.maxX), std::min(a.minY, b.minY),
          std::max(a.maxY, b.maxY)};
}

Extent intersectionOf(const Extent& a, const Extent& b) {
  return {std::max(a.minX, b.minX), std::min(a.maxX, b.maxX), std::max(a.minY, b.minY),
          std::min(a.maxY, b.maxY)};
}

Extent extentOf(const ViewSource& source, TargetProjection projection, int baselineAxis) {
  using Pixel = AR::Math::Vec<int, 2>;
  const PixelsInPlane pixels(source, projection, baselineAxis);
  const Pixel size = AR::CV::pixelSize(source.camera);
  Extent extent{kInfinity, -kInfinity, kInfinity, -kInfinity};
  for (int y = 0; y < size(1); ++y) {
    includeEnds(
        pixels, size(0), [y](int x) { return Pixel(x, y); }, extent);
  }
  for (int x = 0; x < size(0); ++x) {
    includeEnds(
        pixels, size(1), [x](int y) { return Pixel(x, y); }, extent);
  }
  return extent;
}

}  // namespace rectiline::capi
