#pragma once

#include "AR/Math/Vector.h"

namespace AR::CV {

/// How a view spreads the directions that it shows over its image.
enum class TargetProjection {
  Pinhole,
  LatitudeLongitude,  ///< poles on the baseline: rows agree for any field of view
};

/// What the pixels of a rectified image show, in double: the definition that maps and certificates
/// are measured against. Both images of a pair have the same view.
///
/// With p = (column - cx) / fx and q = (row - cy) / fy the ray of a pixel, in the rectified
/// camera's frame (x right, y down, z forward), is
///  - pinhole: (p, q, 1);
///  - latitude-longitude, baseline along x: (sin p, cos p sin q, cos p cos q), p the angle in the
///    epipolar plane and q that of the plane;
///  - latitude-longitude, baseline along y: (cos q sin p, sin q, cos q cos p), likewise with the
///    roles of p and q exchanged.
/// A point of the scene so has the same q (p where the baseline is along y) in both images.
struct TargetView {
  TargetProjection projection = TargetProjection::Pinhole;
  int baselineAxis = 0;  ///< image axis along which the baseline lies: 0 or 1
  int width = 0;         ///< pixels
  int height = 0;
  double fx = 0;  ///< pixels; of latitude-longitude, pixels per radian
  double fy = 0;
  double cx = 0;  ///< pixels; integer coordinates are pixel positions
  double cy = 0;

  using Vec2 = Math::Vec<double, 2>;
  using Vec3 = Math::Vec<double, 3>;

  /// The ray of a pixel, in latitude-longitude of length 1. False, with `ray_t` untouched, where
  /// the angle in the epipolar plane reaches 90 degrees.
  [[nodiscard]] bool tryRay(const Vec2& pixel, Vec3& ray_t) const;

  /// The pixel that shows a point, or direction. False, with `pixel` untouched, for what the view
  /// cannot show: of a pinhole depths not above 0, of latitude-longitude the baseline itself.
  [[nodiscard]] bool tryPixel(const Vec3& point_t, Vec2& pixel) const;

  /// How far from the left camera a point is that the pair shows at these positions along the
  /// baseline's axis: its depth (z) in a pinhole view, its distance in latitude-longitude, there by
  /// the law of sines, baseline cos(a_right) / sin(a_left - a_right).
  /// @param baseline  from the left to the right camera along the axis, metres; negative when the
  ///                  right one stands on the other side
  [[nodiscard]] double rangeFrom(double baseline, double left, double right) const;
};

}  // namespace AR::CV
