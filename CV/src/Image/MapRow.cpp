#include "AR/CV/Image/MapRow.h"

#include <cmath>

#include "CameraModel/DistortionTraits.h"

namespace AR::CV {
namespace {

/// True for a model that has no coefficients, and no tangential terms either.
template <typename P>
bool isWithoutDistortion(const Camera<P>& camera) {
  const auto* const traits = CamModel::findTraits<P>(camera.getRadialDistortionModel());
  return traits != nullptr && traits->maxCoeffs == 0 &&
         Math::isZero(camera.getTangentialDistortionCoeffs());
}

/// Four units in the last place of `size`: what rounding can put a position of exactly 0 below 0.
template <typename P>
P snapDistance(P size) {
  return 4 * (std::nextafter(size, std::numeric_limits<P>::infinity()) - size);
}

/// True when 0 <= position < size; a position within `snap` below 0 becomes 0.
template <typename P>
bool snapInside(P& position, P snap, P size) {
  if (position < 0 && position >= -snap) position = 0;
  return position >= 0 && position < size;
}

template <typename P>
bool depthAccepted(const MapJob<P>& job, P z, MapRowReport& report) {
  if (job.depthRule == DepthRule::InFront) return z >= job.minDepth;
  if (z == 0) ++report.zeroDepth;
  return z != 0;
}

/// The point (x, y) of the target's ideal plane that the pixel (column, row) shows.
template <typename P>
bool tryTargetRay(const MapJob<P>& job, int column, int row, P& x, P& y) {
  const TargetPlane<P>& plane = job.targetPlane;
  x = plane.x(static_cast<P>(column));
  y = plane.y(static_cast<P>(row));
  if (plane.isUndistorted) return x * x + y * y < plane.rangeMax;
  Math::Vec<P, 2> ideal_t;
  const bool found = job.target.tryUndistort(Math::Vec<P, 2>(x, y), ideal_t);
  x = ideal_t(0);
  y = ideal_t(1);
  return found;
}

template <typename P>
inline PixelSource traceRay(const MapJob<P>& job, int x, int y, Math::Vec<P, 3>& ray_s,
                            MapRowReport& report) {
  P idealX;
  P idealY;
  if (!tryTargetRay(job, x, y, idealX, idealY)) {
    ++report.noInverse;
    return PixelSource::NoInverse;
  }
  ray_s = job.R_st * Math::Vec<P, 3>(idealX, idealY, P(1)) + job.offset_s;
  return depthAccepted(job, ray_s(2), report) ? PixelSource::Inside : PixelSource::BehindCamera;
}

template <typename P>
inline PixelSource decide(const MapJob<P>& job, int x, int y, P& u, P& v, MapRowReport& report) {
  Math::Vec<P, 3> ray_s;
  const PixelSource ray = traceRay(job, x, y, ray_s, report);
  if (ray != PixelSource::Inside) return ray;
  const P z = ray_s(2);
  if (!job.source.tryProject(ray_s(0) / z, ray_s(1) / z, u, v)) {
    return PixelSource::BeyondDistortion;
  }
  const bool insideX = snapInside(u, job.snapX, job.width);
  const bool insideY = snapInside(v, job.snapY, job.height);
  return insideX && insideY ? PixelSource::Inside : PixelSource::OutsideImage;
}

/// Where the reasons of a row go that nobody asked for.
struct NoReasons {
  template <typename P>
  void set(const MapJob<P>&, int, PixelSource, P, P) const {}
};

/// Where the reasons of a row go. A position in the image is looked at once more, since only the
/// reason tells that it lies past the last pixel centres.
struct ReasonRow {
  template <typename P>
  void set(const MapJob<P>& job, int x, PixelSource source, P u, P v) const {
    const bool past = source == PixelSource::Inside && (u > job.width - 1 || v > job.height - 1);
    reasons[x] = static_cast<std::uint8_t>(past ? PixelSource::PastLastCentre : source);
  }

  std::uint8_t* reasons;
};

template <typename P, typename Reasons>
MapRowReport fillRow(const MapJob<P>& job, int y, int width, P* mapX, P* mapY,
                     const Reasons& reasons) {
  MapRowReport report;
  for (int x = 0; x < width; ++x) {
    P u = 0;
    P v = 0;
    const PixelSource source = decide(job, x, y, u, v, report);
    reasons.set(job, x, source, u, v);
    const bool keep = source == PixelSource::OutsideImage && job.keepOutside;
    const bool hasSource = source == PixelSource::Inside || keep;
    mapX[x] = hasSource ? u : job.noSource;
    mapY[x] = hasSource ? v : job.noSource;
  }
  return report;
}

}  // namespace

template <typename P>
SourceProjection<P>::SourceProjection(const Camera<P>& source)
    : spline(source.getDistortionSpline()),
      cx(source.getPrincipalPoint()(0)),
      cy(source.getPrincipalPoint()(1)),
      fx(source.getOriginalFocalLength()(0)),
      fy(source.getOriginalFocalLength()(1)),
      p1(source.getTangentialDistortionCoeffs()(0)),
      p2(source.getTangentialDistortionCoeffs()(1)) {}

template <typename P>
TargetPlane<P>::TargetPlane(const Camera<P>& target)
    : cx(target.getPrincipalPoint()(0)),
      cy(target.getPrincipalPoint()(1)),
      invFx(1 / target.getOriginalFocalLength()(0)),
      invFy(1 / target.getOriginalFocalLength()(1)),
      rangeMax(target.getUndistortionSpline().rangeMax),
      isUndistorted(isWithoutDistortion(target)) {}

template <typename P>
MapJob<P>::MapJob(const Camera<P>& sourceCamera, const Camera<P>& targetCamera,
                  const Math::Mat<P, 3, 3>& rotation_st, DepthRule rule, bool keep)
    : source(sourceCamera),
      target(targetCamera),
      targetPlane(targetCamera),
      R_st(rotation_st),
      width(sourceCamera.getSize()(0)),
      height(sourceCamera.getSize()(1)),
      snapX(snapDistance(width)),
      snapY(snapDistance(height)),
      depthRule(rule),
      keepOutside(keep) {}

template <typename P>
PixelSource rayOfPixel(const MapJob<P>& job, int x, int y, Math::Vec<P, 3>& ray_s,
                       MapRowReport& report) {
  return traceRay(job, x, y, ray_s, report);
}

template <typename P>
PixelSource mapPixel(const MapJob<P>& job, int x, int y, P& u, P& v, MapRowReport& report) {
  return decide(job, x, y, u, v, report);
}

template <typename P>
MapRowReport mapRowScalar(const MapJob<P>& job, int y, int width, P* mapX, P* mapY,
                          std::uint8_t* reasons) {
  return reasons == nullptr ? fillRow(job, y, width, mapX, mapY, NoReasons{})
                            : fillRow(job, y, width, mapX, mapY, ReasonRow{reasons});
}

template struct SourceProjection<float>;
template struct SourceProjection<double>;
template struct TargetPlane<float>;
template struct TargetPlane<double>;
template struct MapJob<float>;
template struct MapJob<double>;
template PixelSource rayOfPixel(const MapJob<float>&, int, int, Math::Vec<float, 3>&,
                                MapRowReport&);
template PixelSource rayOfPixel(const MapJob<double>&, int, int, Math::Vec<double, 3>&,
                                MapRowReport&);
template PixelSource mapPixel(const MapJob<float>&, int, int, float&, float&, MapRowReport&);
template PixelSource mapPixel(const MapJob<double>&, int, int, double&, double&, MapRowReport&);
template MapRowReport mapRowScalar(const MapJob<float>&, int, int, float*, float*, std::uint8_t*);
template MapRowReport mapRowScalar(const MapJob<double>&, int, int, double*, double*,
                                   std::uint8_t*);

}  // namespace AR::CV
