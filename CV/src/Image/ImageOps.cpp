#include "AR/CV/Image/ImageOps.h"

#include <algorithm>
#include <atomic>
#include <cstddef>

#include "AR/CV/Camera/PixelSize.h"
#include "AR/CV/Image/MapKernel.h"
#include "AR/Common/Macros.h"
#include "AR/Common/RowBands.h"

namespace AR::CV {
namespace {

constexpr char kVectorSource[] = "Math/src/../include/AR/Math/internal/VectorFunctions";

/// The rows of a map: with vectors in single precision, in plain code in double.
template <typename P>
class RowKernel {
 public:
  explicit RowKernel(const MapJob<P>& job) : mJob(job) {}
  MapRowReport row(int y, int width, P* mapX, P* mapY, std::uint8_t* reasons) const {
    return mapRowScalar(mJob, y, width, mapX, mapY, reasons);
  }

 private:
  const MapJob<P>& mJob;
};

template <>
class RowKernel<float> : public MapKernel {
  using MapKernel::MapKernel;
};

/// The reports of all rows, added up from any thread.
struct MapReportSum {
  void add(const MapRowReport& row) {
    noInverse += row.noInverse;
    zeroDepth += row.zeroDepth;
  }
  void give(bool reportNoInverse) const {
    for (std::int64_t i = 0; reportNoInverse && i < noInverse; ++i) Common::assertSuccess(false);
    for (std::int64_t i = 0; i < zeroDepth; ++i) AR_CHECK(false, "nVal != 0", kVectorSource);
  }

  std::atomic<std::int64_t> noInverse{0};
  std::atomic<std::int64_t> zeroDepth{0};
};

template <typename P>
bool haveLastPixel(const Image<P>& mapX, const Image<P>& mapY, int width, int height) {
  return mapX.checkBounds(width - 1, height - 1) && mapY.checkBounds(width - 1, height - 1);
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
  if (!haveLastPixel(mapX, mapY, width, height)) {
    mapX.clear(job.noSource);
    mapY.clear(job.noSource);
    return;
  }
  const RowKernel<P> kernel(job);
  MapReportSum report;
  Common::forEachRowBand(height, width, [&](int firstRow, int endRow) {
    for (int y = firstRow; y < endRow; ++y) {
      std::uint8_t* const row =
          reasons == nullptr ? nullptr : reasons + static_cast<std::ptrdiff_t>(y) * width;
      report.add(kernel.row(y, width, mapX.row(y), mapY.row(y), row));
    }
  });
  report.give(reportNoInverse);
}

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
