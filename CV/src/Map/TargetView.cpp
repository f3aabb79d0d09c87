#include "AR/CV/Map/TargetView.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace AR::CV {

bool TargetView::tryRay(const Vec2& pixel, Vec3& ray_t) const {
  const Vec2 plane((pixel(0) - cx) / fx, (pixel(1) - cy) / fy);
  if (projection == TargetProjection::Pinhole) {
    ray_t = Vec3(plane(0), plane(1), 1.0);
    return true;
  }
  const std::size_t along = static_cast<std::size_t>(baselineAxis);
  const double a = plane(along);
  const double b = plane(1 - along);
  // At 90 degrees the ray lies on the baseline, where no row can hold it; beyond, rays come again.
  if (!(std::fabs(a) < std::numbers::pi / 2)) return false;
  ray_t(along) = std::sin(a);
  ray_t(1 - along) = std::cos(a) * std::sin(b);
  ray_t(2) = std::cos(a) * std::cos(b);
  return true;
}

bool TargetView::tryPixel(const Vec3& point_t, Vec2& pixel) const {
  if (projection == TargetProjection::Pinhole) {
    if (!(point_t(2) > 0)) return false;
    pixel = Vec2(cx + fx * point_t(0) / point_t(2), cy + fy * point_t(1) / point_t(2));
    return true;
  }
  const std::size_t along = static_cast<std::size_t>(baselineAxis);
  const double fromAxis = std::hypot(point_t(1 - along), point_t(2));
  if (!(fromAxis > 0)) return false;
  Vec2 plane;
  plane(along) = std::atan2(point_t(along), fromAxis);
  plane(1 - along) = std::atan2(point_t(1 - along), point_t(2));
  pixel = Vec2(cx + fx * plane(0), cy + fy * plane(1));
  return true;
}

double TargetView::rangeFrom(double baseline, double left, double right) const {
  const double f = baselineAxis == 0 ? fx : fy;
  if (projection == TargetProjection::Pinhole) return f * baseline / (left - right);
  // Law of sines in the triangle of both cameras and the point, whose angle there is the
  // difference.
  const double centre = baselineAxis == 0 ? cx : cy;
  const double aRight = (right - centre) / f;
  return baseline * std::cos(aRight) / std::sin((left - right) / f);
}

}  // namespace AR::CV
