#include "Map/MapKernel.h"

#include "Map/MapRowSimd.h"

namespace AR::CV {
namespace {

bool tryRay(const MapJob<float>& job, const MapRow<float>& row, int x, Math::Vec<float, 3>& ray_s) {
  MapRowReport unreported;
  if (row.ray(x, ray_s, unreported) != PixelSource::Inside) return false;
  const float X = ray_s(0) / ray_s(2);
  const float Y = ray_s(1) / ray_s(2);
  float ignored;
  return job.source.getDistortionSpline().tryEvaluate(X * X + Y * Y, ignored);
}

/// True when every ray of the row can be projected. Along a row of a pinhole the rays end on a
/// line: their depth is linear, and the cone of rays around the source's axis that have a
/// distortion is convex, as is that of pixels that have a ray, so that the two ends decide. Not so
/// in latitude-longitude, where a row of a vertical pair is a circle of latitude.
bool areAllRaysValid(const MapJob<float>& job, int y, int width) {
  if (job.target.kind != TargetKind::Pinhole) return false;
  const MapRow<float> row(job, y);
  Math::Vec<float, 3> first_s;
  Math::Vec<float, 3> last_s;
  return tryRay(job, row, 0, first_s) && tryRay(job, row, width - 1, last_s) &&
         (first_s(2) > 0) == (last_s(2) > 0);
}

}  // namespace

MapKernel::MapKernel(const MapJob<float>& job)
    : mJob(job), mDistortion(job.source.getDistortionSpline(), Internal::splineLayout()) {
  const bool isDistorted = job.target.kind == TargetKind::Distorted;
  if (isDistorted) {
    mUndistortion =
        SplineTable(job.target.camera->getUndistortionSpline(), Internal::splineLayout());
  }
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
