#pragma once

#include <cstdint>
#include <limits>

#include "AR/CV/Camera/Camera.h"
#include "AR/Math/Matrix.h"

// The one kernel under every pixel map: for each integer pixel of a target camera, the position in
// a source camera's image at which to sample. Integer coordinates are pixel positions, so target
// pixel (x, y) is the point (x, y) itself.

namespace AR::CV {

/// Why a target pixel has a source position, or has none. The values are part of the interface.
enum class PixelSource : std::uint8_t {
  Inside = 0,            ///< the position lies in the source image
  PastLastCentre = 1,    ///< ... past its last column or row of pixel centres
  BehindCamera = 2,      ///< the ray lies behind the source camera or grazes it
  BeyondDistortion = 3,  ///< the ray lies outside the range of the source camera's distortion
  NoInverse = 4,         ///< the target camera cannot turn the pixel into a ray
  OutsideImage = 5,      ///< the position lies outside the source image
};

/// Which rays a map accepts by their depth in the source frame.
enum class DepthRule {
  InFront,  ///< only those at least kMinDepth in front
  NonZero,  ///< any that can be divided by their depth
};

/// The parameters of a source camera's projection, held apart from the camera for one map.
template <typename P>
struct SourceProjection {
  explicit SourceProjection(const Camera<P>& source);

  /// Projects the ray (x, y, 1) of the source frame to the source pixel (u, v).
  /// The distortion factor comes from the camera's spline; the tangential terms are those of
  /// Brown, "Close-Range Camera Calibration", 1971.
  /// @return false, with u and v unchanged, beyond the range of the distortion spline
  bool tryProject(P x, P y, P& u, P& v) const;

  const HermiteSplineInterpolation<P>& spline;
  P cx, cy;
  P fx, fy;
  P p1, p2;
};

template <typename P>
inline bool SourceProjection<P>::tryProject(P x, P y, P& u, P& v) const {
  const P r2 = x * x + y * y;
  P d;
  if (!spline.tryEvaluate(r2, d)) return false;
  P xd = d * x;
  P yd = d * y;
  if (p1 != 0 || p2 != 0) {
    xd += p2 * (r2 + 2 * x * x) + 2 * p1 * x * y;
    yd += p1 * (r2 + 2 * y * y) + 2 * p2 * x * y;
  }
  u = cx + fx * xd;
  v = cy + fy * yd;
  return true;
}

/// Where a target camera's pixels lie in its distorted plane, held apart from it for one map.
template <typename P>
struct TargetPlane {
  explicit TargetPlane(const Camera<P>& target);

  [[nodiscard]] P x(P column) const { return (column - cx) * invFx; }
  [[nodiscard]] P y(P row) const { return (row - cy) * invFy; }

  P cx, cy;
  P invFx, invFy;
  P rangeMax;          // of squared radii that have a ray
  bool isUndistorted;  // the plane is the ideal plane: a pinhole camera
};

/// One map: everything that is the same for all of its pixels.
template <typename P>
struct MapJob {
  /// @param R_st  rotates directions of the target frame into the source frame
  MapJob(const Camera<P>& source, const Camera<P>& target, const Math::Mat<P, 3, 3>& R_st,
         DepthRule depthRule, bool keepOutside);

  static constexpr P kMinDepth = P(0.01);

  SourceProjection<P> source;
  const Camera<P>& target;
  TargetPlane<P> targetPlane;
  Math::Mat<P, 3, 3> R_st;
  Math::Vec<P, 3> offset_s;  // added to every rotated ray; zero: the cameras share their centre
  P minDepth = kMinDepth;    // for rays that must be in front
  P width, height;           // of the source image, pixels
  P snapX, snapY;            // positions this little below 0 are rounding errors of 0
  P noSource = -1;           // what both maps hold at a pixel without a source
  DepthRule depthRule;
  bool keepOutside;
};

/// What happened in a row that its caller must report.
struct MapRowReport {
  int noInverse = 0;  ///< pixels that the target camera could not turn into a ray
  int zeroDepth = 0;  ///< rays of depth exactly 0
};

/// The ray (X, Y, Z) of target pixel (x, y) in the source frame, its length that of the target ray
/// (x, y, 1) plus the offset. Inside when it can be projected; otherwise NoInverse, with `ray_s`
/// unchanged, or BehindCamera.
template <typename P>
PixelSource rayOfPixel(const MapJob<P>& job, int x, int y, Math::Vec<P, 3>& ray_s,
                       MapRowReport& report);

/// Decides whether target pixel (x, y) has a source position and computes it.
///
/// (u, v) is valid, and belongs into the map, for Inside, and for OutsideImage when the job keeps
/// positions outside. A position at most four units in the last place of the image size below 0
/// counts as 0; the width and height themselves are outside, and so is NaN.
template <typename P>
PixelSource mapPixel(const MapJob<P>& job, int x, int y, P& u, P& v, MapRowReport& report);

/// Fills one row of a map pair, in plain scalar code; pixels without a source get `job.noSource`.
/// @param mapX, mapY  `width` values each: source column and row of the pixels (0..width-1, y)
/// @param reasons     receives a PixelSource per pixel; null: not asked for, at no cost
template <typename P>
MapRowReport mapRowScalar(const MapJob<P>& job, int y, int width, P* mapX, P* mapY,
                          std::uint8_t* reasons = nullptr);

extern template struct SourceProjection<float>;
extern template struct SourceProjection<double>;
extern template struct TargetPlane<float>;
extern template struct TargetPlane<double>;
extern template struct MapJob<float>;
extern template struct MapJob<double>;
extern template PixelSource rayOfPixel(const MapJob<float>&, int, int, Math::Vec<float, 3>&,
                                       MapRowReport&);
extern template PixelSource rayOfPixel(const MapJob<double>&, int, int, Math::Vec<double, 3>&,
                                       MapRowReport&);
extern template PixelSource mapPixel(const MapJob<float>&, int, int, float&, float&, MapRowReport&);
extern template PixelSource mapPixel(const MapJob<double>&, int, int, double&, double&,
                                     MapRowReport&);
extern template MapRowReport mapRowScalar(const MapJob<float>&, int, int, float*, float*,
                                          std::uint8_t*);
extern template MapRowReport mapRowScalar(const MapJob<double>&, int, int, double*, double*,
                                          std::uint8_t*);

}  // namespace AR::CV
