// What handing work to the worker pool costs, and from which size of map on it pays.

#include <memory>

#include "AR/CV/Map/MapJob.h"
#include "AR/Common/WorkerPool.h"
#include "MapCase.h"
#include "Measurement.h"
#include "Subjects.h"

namespace rectiline::bench {
namespace {

using AR::Common::WorkerPools;

constexpr unsigned kItems = 4;
constexpr Size kBandSizes[] = {{160, 120}, {320, 240},  {480, 360},   {640, 480},
                               {960, 720}, {1280, 960}, {1920, 1440}, {2560, 1920}};

/// The map in four bands, one per worker.
void fillInBands(const MapCase& c, Planes& planes) {
  const AR::CV::MapKernel kernel(c.job());
  const auto firstRow = [&](unsigned band) {
    return static_cast<int>(band * static_cast<unsigned>(planes.X.rows) / kItems);
  };
  WorkerPools::dispatch(
      [&](unsigned band) { fillRows(kernel, firstRow(band), firstRow(band + 1), planes); }, kItems);
}

/// As the library does it.
void fillAsLibrary(const MapCase& c, Planes& planes) {
  AR::CV::ImageFloat X(planes.X.ptr<float>(), {planes.X.cols, planes.X.rows}, false);
  AR::CV::ImageFloat Y(planes.Y.ptr<float>(), {planes.Y.cols, planes.Y.rows}, false);
  AR::CV::fillMap(c.job(), false, X, Y);
}

void fillOnOneThread(const MapCase& c, Planes& planes) { fillVector(c.job(), planes); }

/// Two maps in one dispatch, whatever their size.
void fillPairInBands(const MapCase& c, Planes& planes, Planes& other) {
  constexpr unsigned kBands = 8;
  const AR::CV::MapKernel kernel(c.job());
  const auto firstRow = [&](unsigned band) {
    return static_cast<int>(band * static_cast<unsigned>(planes.X.rows) / kBands);
  };
  WorkerPools::dispatch(
      [&](unsigned item) {
        const unsigned band = item % kBands;
        fillRows(kernel, firstRow(band), firstRow(band + 1), item < kBands ? planes : other);
      },
      2 * kBands);
}

void addPairs(const Size& size) {
  const auto c = std::make_shared<MapCase>(plainLens(), size);
  const auto planes = std::make_shared<Planes>(emptyPlanes(size));
  const auto other = std::make_shared<Planes>(emptyPlanes(size));
  const auto addOne = [&](const std::string& how, std::function<void()> call) {
    add({"pool/" + text(size) + "/pair/" + how, size, std::move(call), kWidest, Threads::Pool});
  };
  addOne("one_thread", [=] {
    fillOnOneThread(*c, *planes);
    fillOnOneThread(*c, *other);
  });
  addOne("eight_bands_each", [=] { fillPairInBands(*c, *planes, *other); });
}

void addSize(const Size& size) {
  const auto c = std::make_shared<MapCase>(plainLens(), size);
  const auto planes = std::make_shared<Planes>(emptyPlanes(size));
  const auto addOne = [&](const std::string& how, void (*fill)(const MapCase&, Planes&)) {
    add({"pool/" + text(size) + "/map/" + how, size, [c, planes, fill] { fill(*c, *planes); },
         kWidest, Threads::Pool});
  };
  addOne("one_thread", fillOnOneThread);
  addOne("four_bands", fillInBands);
  addOne("as_library", fillAsLibrary);
}

}  // namespace

void addPool() {
  add({"pool/1x1/empty/dispatch",
       {1, 1},
       [] { WorkerPools::dispatch([](unsigned) {}, kItems); },
       kWidest,
       Threads::Pool});
  for (const Size& size : kBandSizes) {
    addSize(size);
    addPairs(size);
  }
}

}  // namespace rectiline::bench
