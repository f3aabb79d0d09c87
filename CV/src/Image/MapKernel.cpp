#include "AR/CV/Image/MapKernel.h"

#include "MapRowSimd.h"

namespace AR::CV {
namespace {

using Ray = Math::Vec<float, 3>;

bool tryRay(const MapJob<float>& job, int x, int y, Ray& ray_s) {
  MapRowReport unreported;
  if (rayOfPixel(job, x, y, ray_s, unreported) != PixelSource::Inside) return false;
  const float X = ray_s(0) / ray_s(2);
  const float Y = ray_s(1) / ray_s(2);
  float ignored;
  return job.source.spline.tryEvaluate(X * X + Y * Y, ignored);
}

/// True when every ray of the row can be projected. Along a row of a pinhole camera the rays end on
/// a line: their depth is linear, and the cone of rays around the source's axis that have a
/// distortion is convex, as is that of pixels that have a ray, so that the two ends decide.
bool areAllRaysValid(const MapJob<float>& job, int y, int width) {
  Ray first_s;
  Ray last_s;
  return job.targetPlane.isUndistorted && tryRay(job, 0, y, first_s) &&
         tryRay(job, width - 1, y, last_s) && (first_s(2) > 0) == (last_s(2) > 0);
}

}  // namespace

MapKernel::MapKernel(const MapJob<float>& job)
    : mJob(job), mDistortion(job.source.spline, Internal::splineLayout()) {
  if (!job.targetPlane.isUndistorted) {
    mUndistortion = SplineTable(job.target.getUndistortionSpline(), Internal::splineLayout());
  }
  mIsVectorisable =
      mDistortion.isUsable() && (job.targetPlane.isUndistorted || mUndistortion.isUsable());
}

MapRowReport MapKernel::row(int y, int width, float* mapX, float* mapY,
                            std::uint8_t* reasons) const {
  if (!mIsVectorisable) return mapRowScalar(mJob, y, width, mapX, mapY, reasons);
  const bool allRaysValid = areAllRaysValid(mJob, y, width);
  return Internal::mapRowSimd({mJob, mDistortion, mUndistortion}, allRaysValid, y, width, mapX,
                              mapY, reasons);
}

}  // namespace AR::CV
