#include "AR/CV/Image/ImageOps.h"

#include "AR/Common/Macros.h"
#include "AR/Common/SaturatingCast.h"

namespace AR::CV {
namespace {

constexpr char kVectorSource[] = "Math/src/../include/AR/Math/internal/VectorFunctions";

void reportRow(const MapRowReport& row, bool reportNoInverse) {
  for (int i = 0; reportNoInverse && i < row.noInverse; ++i) Common::assertSuccess(false);
  for (int i = 0; i < row.zeroDepth; ++i) AR_CHECK(false, "nVal != 0", kVectorSource);
}

}  // namespace

template <typename P>
void fillMap(const MapJob<P>& job, bool reportNoInverse, Image<P>& mapX, Image<P>& mapY) {
  const int width = mapX.size()(0);
  const int height = mapX.size()(1);
  if (width == 0 || height == 0) return;
  if (!mapX.checkBounds(width - 1, height - 1) || !mapY.checkBounds(width - 1, height - 1)) return;
  for (int y = 0; y < height; ++y) {
    reportRow(mapRowScalar(job, y, width, mapX.row(y), mapY.row(y)), reportNoInverse);
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

template void fillMap(const MapJob<float>&, bool, Image<float>&, Image<float>&);
template void fillMap(const MapJob<double>&, bool, Image<double>&, Image<double>&);
template void ImageOps::generateCalibrationMapping(const Camera<float>&, const Camera<float>&,
                                                   Image<float>&, Image<float>&);
template void ImageOps::generateCalibrationMapping(const Camera<double>&, const Camera<double>&,
                                                   Image<double>&, Image<double>&);

}  // namespace AR::CV
