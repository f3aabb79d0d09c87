// Making a camera of its record, beside the map that it is made for.

#include <benchmark/benchmark.h>

#include <memory>

#include "MapCase.h"
#include "Measurement.h"
#include "Subjects.h"

namespace rectiline::bench {
namespace {

constexpr Size kSize = {640, 480};

std::string nameOf(const std::string& lens, const std::string& what) {
  return "setup/" + text(kSize) + "/" + lens + "/" + what;
}

void addLens(const Lens& lens) {
  add({nameOf(lens.name, "camera"), kSize, [record = intrinsicsOf(lens, kSize)] {
         const AR::CV::Camera<float> camera = cameraOf(record);
         benchmark::DoNotOptimize(&camera);
       }});
}

}  // namespace

void addSetup() {
  for (const Lens& lens : lenses()) addLens(lens);
  addLens(wideFisheyeLens());
  const auto c = std::make_shared<MapCase>(plainLens(), kSize);
  const auto planes = std::make_shared<Planes>(emptyPlanes(kSize));
  add({nameOf(plainLens().name, "scalar_map"), kSize,
       [c, planes] { fillScalar(c->job(), *planes); }});
}

}  // namespace rectiline::bench
