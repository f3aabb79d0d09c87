#include <atomic>
#include <cstdint>
#include <utility>

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
bool haveLastPixel(const Image<P>& mapX, const Image<P>& mapY) {
  const Math::Vec<int, 2>& size = mapX.size();
  return mapX.checkBounds(size(0) - 1, size(1) - 1) && mapY.checkBounds(size(0) - 1, size(1) - 1);
}

/// A map whose rows are made by whichever threads.
template <typename P>
class MapRows {
 public:
  /// Clears images that are no map; no rows are made of them then.
  MapRows(const MapJob<P>& job, Image<P>& mapX, Image<P>& mapY, MapReasons reasons)
      : mKernel(job), mX(mapX), mY(mapY), mReasons(reasons) {
    const bool isEmpty = mX.size()(0) == 0 || mX.size()(1) == 0;
    if (isEmpty || haveLastPixel(mX, mY)) {
      mRows = {isEmpty ? 0 : mX.size()(1), mX.size()(0)};
      return;
    }
    mX.clear(job.noSource);
    mY.clear(job.noSource);
  }

  [[nodiscard]] const Common::ImageRows& rows() const { return mRows; }

  void make(int firstRow, int endRow) {
    for (int y = firstRow; y < endRow; ++y) {
      mReport.add(mKernel.row(y, mRows.width, mX.row(y), mY.row(y), mReasons.row(y)));
    }
  }

  /// On the caller's thread and after the last row: the checks that failed count for the caller,
  /// and how the rows were shared out does not show in the log.
  void report(bool reportNoInverse) const { mReport.give(reportNoInverse); }

 private:
  RowKernel<P> mKernel;
  Image<P>& mX;
  Image<P>& mY;
  MapReasons mReasons;
  Common::ImageRows mRows = {0, 0};
  MapReportSum mReport;
};

template <typename P>
bool shareMemory(const Image<P>& a, const Image<P>& b) {
  const auto begin = [](const Image<P>& image) {
    return reinterpret_cast<std::uintptr_t>(image.pixels());
  };
  const auto end = [&](const Image<P>& image) {
    return begin(image) + static_cast<std::uintptr_t>(image.descriptor().bytes);
  };
  return begin(a) < end(b) && begin(b) < end(a);
}

}  // namespace

template <typename P>
void fillMap(const MapJob<P>& job, bool reportNoInverse, Image<P>& mapX, Image<P>& mapY,
             MapReasons reasons) {
  MapRows<P> map(job, mapX, mapY, reasons);
  Common::forEachRowBand(map.rows().rows, map.rows().width,
                         [&](int firstRow, int endRow) { map.make(firstRow, endRow); });
  map.report(reportNoInverse);
}

template <typename P>
MapBatch<P>::Map::Map(MapJob<P> mapJob, bool report, Image<P>& mapX, Image<P>& mapY,
                      MapReasons mapReasons)
    : job(std::move(mapJob)), reportNoInverse(report), reasons(mapReasons) {
  x.set(mapX.pixels(), mapX.size(), mapX.bufSize(), false);
  y.set(mapY.pixels(), mapY.size(), mapY.bufSize(), false);
}

template <typename P>
bool MapBatch<P>::Map::isWhole() const {
  return x.pixels() != nullptr && y.pixels() != nullptr && x.size() == y.size();
}

template <typename P>
bool MapBatch<P>::Map::overlaps(const Map& other) const {
  return shareMemory(x, other.x) || shareMemory(x, other.y) || shareMemory(y, other.x) ||
         shareMemory(y, other.y);
}

template <typename P>
void MapBatch<P>::add(MapJob<P> job, bool reportNoInverse, Image<P>& mapX, Image<P>& mapY,
                      MapReasons reasons) {
  if (mSecond) fill();
  (mFirst ? mSecond : mFirst).emplace(std::move(job), reportNoInverse, mapX, mapY, reasons);
}

template <typename P>
void MapBatch<P>::fill() {
  // What maps lack is reported between their rows' reports, and in memory that they share the last
  // one made is what remains: those are not for two threads.
  const bool areWhole = mFirst && mSecond && mFirst->isWhole() && mSecond->isWhole();
  if (areWhole && !mFirst->overlaps(*mSecond)) {
    MapRows<P> first(mFirst->job, mFirst->x, mFirst->y, mFirst->reasons);
    MapRows<P> second(mSecond->job, mSecond->x, mSecond->y, mSecond->reasons);
    const Common::ImageRows rows[] = {first.rows(), second.rows()};
    Common::forEachRowBand(rows, [&](std::size_t map, int firstRow, int endRow) {
      (map == 0 ? first : second).make(firstRow, endRow);
    });
    first.report(mFirst->reportNoInverse);
    second.report(mSecond->reportNoInverse);
  } else {
    for (const auto& map : {&mFirst, &mSecond}) {
      if (!*map) continue;
      fillMap((*map)->job, (*map)->reportNoInverse, (*map)->x, (*map)->y, (*map)->reasons);
    }
  }
  mFirst.reset();
  mSecond.reset();
}

template class MapBatch<float>;
template class MapBatch<double>;
template void fillMap(const MapJob<float>&, bool, Image<float>&, Image<float>&, MapReasons);
template void fillMap(const MapJob<double>&, bool, Image<double>&, Image<double>&, MapReasons);

}  // namespace AR::CV
