#include "Map/MapRow.h"

#include <cmath>
#include <limits>
#include <numbers>

namespace AR::CV {
namespace {

/// True when 0 <= position < size; a position within `snap` below 0 becomes 0.
template <typename P>
bool snapInside(P& position, P snap, P size) {
  if (position < 0 && position >= -snap) position = 0;
  return position >= 0 && position < size;
}

/// R_sp of a latitude-longitude row at the angle `angle`.
template <typename P>
Math::Mat<P, 3, 3> turnedBy(double angle, int baselineAxis, const Math::Mat<P, 3, 3>& R_st) {
  const P sine = static_cast<P>(std::sin(angle));
  const P cosine = static_cast<P>(std::cos(angle));
  Math::Mat<P, 3, 3> R_sp;
  for (std::size_t i = 0; i < 3; ++i) {
    if (baselineAxis == 0) {  // ray_t = (s, c sin b, c cos b)
      R_sp(i, 0) = R_st(i, 0);
      R_sp(i, 1) = R_st(i, 1) * sine + R_st(i, 2) * cosine;
      R_sp(i, 2) = 0;
    } else {  // ray_t = (cos a s, sin a, cos a c)
      R_sp(i, 0) = R_st(i, 0) * cosine;
      R_sp(i, 1) = R_st(i, 2) * cosine;
      R_sp(i, 2) = R_st(i, 1) * sine;
    }
  }
  return R_sp;
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
  const MapRow<P> row(job, y);
  MapRowReport report;
  for (int x = 0; x < width; ++x) {
    P u = 0;
    P v = 0;
    const PixelSource source = row.source(x, u, v, report);
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
TargetRow<P>::TargetRow(const MapJob<P>& job, int row)
    : target(job.target),
      R_sp(job.R_st),
      y(job.target.y(static_cast<P>(row))),
      leastCosine(-std::numeric_limits<P>::infinity()) {
  if (target.kind != TargetKind::LatitudeLongitude) return;
  const TargetView& view = target.view;
  const double angle = (row - view.cy) / view.fy;
  R_sp = turnedBy(angle, view.baselineAxis, job.R_st);
  if (view.baselineAxis == 0) leastCosine = 0;
  if (view.baselineAxis == 1 && !(std::fabs(angle) < std::numbers::pi / 2)) {
    leastCosine = std::numeric_limits<P>::infinity();
  }
}

template <typename P>
inline bool TargetRow<P>::tryPlane(int column, P& px, P& py) const {
  px = target.x(static_cast<P>(column));
  py = y;
  if (target.kind == TargetKind::Pinhole) return px * px + py * py < target.rangeMax;
  if (target.kind == TargetKind::LatitudeLongitude) {
    if (column < 0 || column >= target.view.width) return false;
    px = target.sine[static_cast<std::size_t>(column)];
    py = target.cosine[static_cast<std::size_t>(column)];
    return py > leastCosine;
  }
  Math::Vec<P, 2> ideal_t;
  const bool found = target.camera->tryUndistort(Math::Vec<P, 2>(px, py), ideal_t);
  px = ideal_t(0);
  py = ideal_t(1);
  return found;
}

template <typename P>
inline bool MapRow<P>::isDepthAccepted(P z, MapRowReport& report) const {
  if (mJob.depthRule == DepthRule::InFront) return z >= mJob.minDepth;
  if (z == 0) ++report.zeroDepth;
  return z != 0;
}

template <typename P>
inline PixelSource MapRow<P>::ray(int x, Math::Vec<P, 3>& ray_s, MapRowReport& report) const {
  P px;
  P py;
  if (!mTarget.tryPlane(x, px, py)) {
    ++report.noInverse;
    return PixelSource::NoInverse;
  }
  ray_s = mTarget.R_sp * Math::Vec<P, 3>(px, py, P(1)) + mJob.offset_s;
  return isDepthAccepted(ray_s(2), report) ? PixelSource::Inside : PixelSource::BehindCamera;
}

// A call for each pixel would cost a seventh of the row's time.
template <typename P>
[[gnu::always_inline]] inline PixelSource MapRow<P>::source(int x, P& u, P& v,
                                                            MapRowReport& report) const {
  Math::Vec<P, 3> ray_s;
  const PixelSource reason = ray(x, ray_s, report);
  if (reason != PixelSource::Inside) return reason;
  const P z = ray_s(2);
  Math::Vec<P, 2> pixel_s;
  if (!mJob.source.tryIdeal2pixel(Math::Vec<P, 2>(ray_s(0) / z, ray_s(1) / z), pixel_s)) {
    return PixelSource::BeyondDistortion;
  }
  u = pixel_s(0);
  v = pixel_s(1);
  const bool insideX = snapInside(u, mJob.snapX, mJob.width);
  const bool insideY = snapInside(v, mJob.snapY, mJob.height);
  return insideX && insideY ? PixelSource::Inside : PixelSource::OutsideImage;
}

template <typename P>
MapRowReport mapRowScalar(const MapJob<P>& job, int y, int width, P* mapX, P* mapY,
                          std::uint8_t* reasons) {
  return reasons == nullptr ? fillRow(job, y, width, mapX, mapY, NoReasons{})
                            : fillRow(job, y, width, mapX, mapY, ReasonRow{reasons});
}

template struct TargetRow<float>;
template struct TargetRow<double>;
template class MapRow<float>;
template class MapRow<double>;
template MapRowReport mapRowScalar(const MapJob<float>&, int, int, float*, float*, std::uint8_t*);
template MapRowReport mapRowScalar(const MapJob<double>&, int, int, double*, double*,
                                   std::uint8_t*);

}  // namespace AR::CV
