#include "AR/CV/Image/ImageOps.h"

#include <algorithm>

#include "AR/Common/Macros.h"
#include "AR/Common/SaturatingCast.h"

namespace AR::CV {
namespace {

constexpr char kVectorSource[] = "Math/src/../include/AR/Math/internal/VectorFunctions";

void reportRow(const MapRowReport& row, bool reportNoInverse) {
  for (int i = 0; reportNoInverse && i < row.noInverse; ++i) Common::assertSuccess(false);
  for (int i = 0; i < row.zeroDepth; ++i) AR_CHECK(false, "nVal != 0", kVectorSource);
}

/// The source row of one pixel of a calibration mapping; 0, as the mapping would hold, without one.
template <typename P>
P mappedRow(const Camera<P>& source, const Camera<P>& target, const Math::Vec<P, 2>& pixel_t) {
  Math::Vec<P, 2> ideal;
  P u;
  P v;
  const bool mapped = target.tryPixel2ideal(pixel_t, ideal) &&
                      SourceProjection<P>(source).tryProject(ideal(0), ideal(1), u, v);
  return mapped ? v : P(0);
}

}  // namespace

template <typename P>
void fillMap(const MapJob<P>& job, bool reportNoInverse, Image<P>& mapX, Image<P>& mapY,
             std::uint8_t* reasons) {
  const int width = mapX.size()(0);
  const int height = mapX.size()(1);
  if (width == 0 || height == 0) return;
  if (!mapX.checkBounds(width - 1, height - 1) || !mapY.checkBounds(width - 1, height - 1)) return;
  for (int y = 0; y < height; ++y) {
    std::uint8_t* const row = reasons == nullptr ? nullptr
                                                 : reasons + static_cast<std::size_t>(y) *
                                                                 static_cast<std::size_t>(width);
    reportRow(mapRowScalar(job, y, width, mapX.row(y), mapY.row(y), row), reportNoInverse);
  }
}

template <typename P>
void ImageOps::generateCalibrationMapping(const Camera<P>& source, const Camera<P>& target,
                                          Image<P>& mapX, Image<P>& mapY) {
  const Math::Vec<int, 2> size(Common::saturatingCast<int>(target.getSize()(0)),
                               Common::saturatingCast<int>(target.getSize()(1)));
  const bool allocatedX = mapX.allocPixels(size, MEMORY_ALIGNMENT_16, false);
  const bool allocatedY = mapY.allocPixels(size, MEMORY_ALIGNMENT_16, false);
  mapX.clear(P(0));
  mapY.clear(P(0));
  if (!Common::assertSuccess(allocatedX && allocatedY)) return;
  constexpr bool kKeepOutside = true;
  const MapJob<P> job(source, target, Math::Mat<P, 3, 3>::identity(), DepthRule::NonZero,
                      kKeepOutside);
  fillMap(job, false, mapX, mapY);
}

template <typename P>
Math::Vec<P, 2> ImageOps::estimateUndistortedFocalLength(const Camera<P>& distorted,
                                                         const Camera<P>& linear) {
  const int centre = Common::saturatingCast<int>(distorted.getSize()(0)) / 2;
  const P h = distorted.getSize()(1);
  const P cy = linear.getPrincipalPoint()(1);
  const P top = mappedRow(linear, distorted, Math::Vec<P, 2>(static_cast<P>(centre), P(0)));
  const P bottom = mappedRow(linear, distorted, Math::Vec<P, 2>(static_cast<P>(centre), h - 1));
  const P ratio = std::min((bottom - cy) / ((h - 1) - cy), (cy - top) / cy);
  return linear.getOriginalFocalLength() / ratio;
}

template void fillMap(const MapJob<float>&, bool, Image<float>&, Image<float>&, std::uint8_t*);
template void fillMap(const MapJob<double>&, bool, Image<double>&, Image<double>&, std::uint8_t*);
template Math::Vec<float, 2> ImageOps::estimateUndistortedFocalLength(const Camera<float>&,
                                                                      const Camera<float>&);
template Math::Vec<double, 2> ImageOps::estimateUndistortedFocalLength(const Camera<double>&,
                                                                       const Camera<double>&);
template void ImageOps::generateCalibrationMapping(const Camera<float>&, const Camera<float>&,
                                                   Image<float>&, Image<float>&);
template void ImageOps::generateCalibrationMapping(const Camera<double>&, const Camera<double>&,
                                                   Image<double>&, Image<double>&);

}  // namespace AR::CV
