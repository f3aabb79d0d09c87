// Resampling of 8-bit images.

#include <benchmark/benchmark.h>

#include <memory>

#include "Agreement.h"
#include "Limits.h"
#include "Measurement.h"
#include "RemapCase.h"
#include "Subjects.h"

namespace rectiline::bench {
namespace {

std::string nameOf(const Size& size, const std::string& whose) {
  return "remap/" + text(size) + "/image/" + whose;
}

void copyOnly(RemapCase& c) {
  benchmark::DoNotOptimize(readMapsAndCopy(c.maps.X.ptr<float>(), c.maps.Y.ptr<float>(),
                                           c.source.total(), c.source.data, c.target.data,
                                           c.source.total()));
}

cv::Mat resultOf(void (*remap)(RemapCase&), RemapCase& c) {
  c.target.setTo(0);
  remap(c);
  return c.target.clone();
}

}  // namespace

void checkRemap(const Size& size) {
  RemapCase c(size);
  const cv::Mat reference = resultOf(remapPeerFloat, c);
  requireSameImage(nameOf(size, "OpenCV_fixed"), resultOf(remapPeerFixed, c), reference, c.maps);
  requireSameImage(nameOf(size, "scalar"), resultOf(remapScalar, c), reference, c.maps);
  for (const std::int64_t set : vectorInstructionSets()) {
    const ForcedInstructionSet forced(set);
    requireSameImage(nameOf(size, instructionSetName(set)), resultOf(remapOurs, c), reference,
                     c.maps);
  }
}

void addRemap(const Size& size) {
  const auto c = std::make_shared<RemapCase>(size);
  const auto addOne = [&](const std::string& whose, void (*remap)(RemapCase&),
                          std::int64_t set = kWidest) {
    add({nameOf(size, whose), size, [c, remap] { remap(*c); }, set});
  };
  addOne("scalar", remapScalar);
  for (const std::int64_t set : vectorInstructionSets()) {
    addOne(instructionSetName(set), remapOurs, set);
  }
  addOne("OpenCV_float", remapPeerFloat);
  addOne("OpenCV_fixed", remapPeerFixed);
  addOne("copy_limit", copyOnly);
}

}  // namespace rectiline::bench
