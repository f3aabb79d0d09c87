#include "AR/CV/Image/ImageOps.h"

#include <algorithm>

#include "AR/CV/Camera/PixelSize.h"
#include "AR/CV/Map/MapJob.h"
#include "AR/Common/Macros.h"

namespace AR::CV {
namespace {

/// The source row of one pixel of a calibration mapping; 0, as the mapping would hold, without one.
template <typename P>
P mappedRow(const Camera<P>& source, const Camera<P>& target, const Math::Vec<P, 2>& pixel_t) {
  Math::Vec<P, 2> ideal;
  Math::Vec<P, 2> pixel_s;
  const bool mapped =
      target.tryPixel2ideal(pixel_t, ideal) && source.tryIdeal2pixel(ideal, pixel_s);
  return mapped ? pixel_s(1) : P(0);
}

}  // namespace

template <typename P>
void ImageOps::generateCalibrationMapping(const Camera<P>& source, const Camera<P>& target,
                                          Image<P>& mapX, Image<P>& mapY) {
  const Math::Vec<int, 2> size = pixelSize(target);
  const bool allocatedX = mapX.allocPixels(size, MEMORY_ALIGNMENT_16, false);
  const bool allocatedY = mapY.allocPixels(size, MEMORY_ALIGNMENT_16, false);
  if (!Common::assertSuccess(allocatedX && allocatedY)) {
    mapX.clear(P(0));
    mapY.clear(P(0));
    return;
  }
  constexpr bool kKeepOutside = true;
  MapJob<P> job(source, target, Math::Mat<P, 3, 3>::identity(), DepthRule::NonZero, kKeepOutside);
  job.noSource = 0;
  fillMap(job, false, mapX, mapY);
}

template <typename P>
Math::Vec<P, 2> ImageOps::estimateUndistortedFocalLength(const Camera<P>& distorted,
                                                         const Camera<P>& linear) {
  const int centre = pixelSize(distorted)(0) / 2;
  const P h = distorted.getSize()(1);
  const P cy = linear.getPrincipalPoint()(1);
  const P top = mappedRow(linear, distorted, Math::Vec<P, 2>(static_cast<P>(centre), P(0)));
  const P bottom = mappedRow(linear, distorted, Math::Vec<P, 2>(static_cast<P>(centre), h - 1));
  const P ratio = std::min((bottom - cy) / ((h - 1) - cy), (cy - top) / cy);
  return linear.getOriginalFocalLength() / ratio;
}

template Math::Vec<float, 2> ImageOps::estimateUndistortedFocalLength(const Camera<float>&,
                                                                      const Camera<float>&);
template Math::Vec<double, 2> ImageOps::estimateUndistortedFocalLength(const Camera<double>&,
                                                                       const Camera<double>&);
template void ImageOps::generateCalibrationMapping(const Camera<float>&, const Camera<float>&,
                                                   Image<float>&, Image<float>&);
template void ImageOps::generateCalibrationMapping(const Camera<double>&, const Camera<double>&,
                                                   Image<double>&, Image<double>&);

}  // namespace AR::CV
