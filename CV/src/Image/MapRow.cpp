#include "AR/CV/Image/MapRow.h"

#include <cmath>

namespace AR::CV {
namespace {

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
    const PixelSource source = mapPixel(job, x, y, u, v, report);
    reasons.set(job, x, source, u, v);
    const bool keep = source == PixelSource::OutsideImage && job.keepOutside;
    if (source != PixelSource::Inside && !keep) continue;
    mapX[x] = u;
    mapY[x] = v;
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
bool SourceProjection<P>::tryProject(P x, P y, P& u, P& v) const {
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

template <typename P>
MapJob<P>::MapJob(const Camera<P>& sourceCamera, const Camera<P>& targetCamera,
                  const Math::Mat<P, 3, 3>& rotation_st, DepthRule rule, bool keep)
    : source(sourceCamera),
      target(targetCamera),
      R_st(rotation_st),
      width(sourceCamera.getSize()(0)),
      height(sourceCamera.getSize()(1)),
      snapX(snapDistance(width)),
      snapY(snapDistance(height)),
      depthRule(rule),
      keepOutside(keep) {}

template <typename P>
PixelSource mapPixel(const MapJob<P>& job, int x, int y, P& u, P& v, MapRowReport& report) {
  Math::Vec<P, 2> ideal_t;
  if (!job.target.tryPixel2ideal(Math::Vec<P, 2>(P(x), P(y)), ideal_t)) {
    ++report.noInverse;
    return PixelSource::NoInverse;
  }
  const Math::Vec<P, 3> ray_s =
      job.R_st * Math::Vec<P, 3>(ideal_t(0), ideal_t(1), P(1)) + job.offset_s;
  const P z = ray_s(2);
  if (!depthAccepted(job, z, report)) return PixelSource::BehindCamera;
  if (!job.source.tryProject(ray_s(0) / z, ray_s(1) / z, u, v)) {
    return PixelSource::BeyondDistortion;
  }
  const bool insideX = snapInside(u, job.snapX, job.width);
  const bool insideY = snapInside(v, job.snapY, job.height);
  return insideX && insideY ? PixelSource::Inside : PixelSource::OutsideImage;
}

template <typename P>
MapRowReport mapRowScalar(const MapJob<P>& job, int y, int width, P* mapX, P* mapY,
                          std::uint8_t* reasons) {
  return reasons == nullptr ? fillRow(job, y, width, mapX, mapY, NoReasons{})
                            : fillRow(job, y, width, mapX, mapY, ReasonRow{reasons});
}

template struct SourceProjection<float>;
template struct SourceProjection<double>;
template struct MapJob<float>;
template struct MapJob<double>;
template PixelSource mapPixel(const MapJob<float>&, int, int, float&, float&, MapRowReport&);
template PixelSource mapPixel(const MapJob<double>&, int, int, double&, double&, MapRowReport&);
template MapRowReport mapRowScalar(const MapJob<float>&, int, int, float*, float*, std::uint8_t*);
template MapRowReport mapRowScalar(const MapJob<double>&, int, int, double*, double*,
                                   std::uint8_t*);

}  // namespace AR::CV
