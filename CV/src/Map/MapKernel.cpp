#include "Map/MapKernel.h"

#include "Map/MapRowSimd.h"

namespace AR::CV {
namespace {

SplineTable tableOf(const HermiteSplineInterpolation<float>& spline) {
  return SplineTable(spline, Internal::splineLayout(spline.coeffs.size()));
}

bool tryRay(const MapJob<float>& job, const MapRow<float>& row, int x, Math::Vec<float, 3>& ray_s) {
  MapRowReport unreported;
  if (row.ray(x, ray_s, unreported) != PixelSource::Inside) return false;
  const float X = ray_s(0) / ray_s(2);
  const float Y = ray_s(1) / ray_s(2);
  float ignored;
  return job.source.getDistortionSpline().tryEvaluate(X * X + Y * Y, ignored);
}

/// Whether all rays of a row of the target lie on the shorter way between the first and the last,
/// in a plane. Those of a pinhole do. In latitude-longitude they do where the columns are the angle
/// in the epipolar plane, from a common centre; with a vertical pair a row is a circle of latitude.
bool areRowsFlat(const MapJob<float>& job) {
  if (job.target.kind != TargetKind::LatitudeLongitude) {
    return job.target.kind == TargetKind::Pinhole;
  }
  return job.target.view.baselineAxis == 0 && Math::isZero(job.offset_s);
}

/// True when every ray of the row can be projected: the cone of rays around the source's axis that
/// have a distortion is convex, as are those of rays that are deep enough and of pixels that have a
/// ray, so that in a flat row the two ends decide.
bool areAllRaysValid(const MapJob<float>& job, int y, int width) {
  if (!areRowsFlat(job)) return false;
  const MapRow<float> row(job, y);
  Math::Vec<float, 3> first_s;
  Math::Vec<float, 3> last_s;
  return tryRay(job, row, 0, first_s) && tryRay(job, row, width - 1, last_s) &&
         (first_s(2) > 0) == (last_s(2) > 0);
}

}  // namespace

MapKernel::MapKernel(const MapJob<float>& job)
    : mJob(job), mDistortion(tableOf(job.source.getDistortionSpline())) {
  const bool isDistorted = job.target.kind == TargetKind::Distorted;
  if (isDistorted) mUndistortion = tableOf(job.target.camera->getUndistortionSpline());
  mIsVectorisable = mDistortion.isUsable() && (!isDistorted || mUndistortion.isUsable());
}

MapRowReport MapKernel::row(int y, int width, float* mapX, float* mapY,
                            std::uint8_t* reasons) const {
  const bool isBeyondColumns =
      mJob.target.kind == TargetKind::LatitudeLongitude && width > mJob.target.view.width;
  if (!mIsVectorisable || isBeyondColumns) {
    return mapRowScalar(mJob, y, width, mapX, mapY, reasons);
  }
  const bool allRaysValid = areAllRaysValid(mJob, y, width);
  return Internal::mapRowSimd({mJob, mDistortion, mUndistortion}, allRaysValid, y, width, mapX,
                              mapY, reasons);
}

}  // namespace AR::CV
