#include <atomic>

#include "AR/CV/Map/MapJob.h"
#include "AR/Common/Macros.h"
#include "AR/Common/RowBands.h"
#include "Map/MapKernel.h"

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

}  // namespace

template <typename P>
void fillMap(const MapJob<P>& job, bool reportNoInverse, Image<P>& mapX, Image<P>& mapY,
             MapReasons reasons) {
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
      report.add(kernel.row(y, width, mapX.row(y), mapY.row(y), reasons.row(y)));
    }
  });
  // On this thread and after the last row: the checks that failed count for the caller, and how the
  // rows were shared out does not show in the log.
  report.give(reportNoInverse);
}

template void fillMap(const MapJob<float>&, bool, Image<float>&, Image<float>&, MapReasons);
template void fillMap(const MapJob<double>&, bool, Image<double>&, Image<double>&, MapReasons);

}  // namespace AR::CV
