// Map generation, model by model.

#include <memory>

#include "Agreement.h"
#include "Limits.h"
#include "Measurement.h"
#include "Peer.h"
#include "Subjects.h"

namespace rectiline::bench {
namespace {

using SharedCase = std::shared_ptr<const MapCase>;
using SharedPlanes = std::shared_ptr<Planes>;

std::string nameOf(const Size& size, const std::string& lens, const std::string& whose) {
  return "map/" + text(size) + "/" + lens + "/" + whose;
}

void addLens(const SharedCase& c, const SharedPlanes& planes) {
  const auto addOne = [&](const std::string& whose, std::function<void()> call,
                          std::int64_t set = kWidest) {
    add({nameOf(c->size(), c->lens().name, whose), c->size(), std::move(call), set});
  };
  addOne("scalar", [c, planes] { fillScalar(c->job(), *planes); });
  for (const std::int64_t set : vectorInstructionSets()) {
    addOne(
        instructionSetName(set), [c, planes] { fillVector(c->job(), *planes); }, set);
    addOne(
        "latitude_longitude_" + instructionSetName(set),
        [c, planes] { fillVector(c->latitudeLongitudeJob(), *planes); }, set);
  }
  if (c->lens().peer == PeerModel::None) return;
  addOne("OpenCV", [planes, peer = peerOf(*c)] { peer.fill(*planes); });
}

void addStoreLimit(const Size& size, const SharedPlanes& planes) {
  add({nameOf(size, "none", "store_limit"), size, [planes] {
         storePlanes(-1, planes->X.ptr<float>(), planes->Y.ptr<float>(), planes->X.total());
       }});
}

/// What the library's maps of a case are held against: the peer's, or else our plain ones.
Planes referenceOf(const MapCase& c) {
  Planes reference = emptyPlanes(c.size());
  if (c.lens().peer == PeerModel::None) {
    fillScalar(c.job(), reference);
  } else {
    peerOf(c).fill(reference);
  }
  return reference;
}

}  // namespace

void checkMaps(const Size& size) {
  for (const Lens& lens : lenses()) {
    const MapCase c(lens, size);
    const Planes reference = referenceOf(c);
    Planes ours = emptyPlanes(size);
    fillScalar(c.job(), ours);
    requireSameMap(nameOf(size, lens.name, "scalar"), ours, reference);
    for (const std::int64_t set : vectorInstructionSets()) {
      const ForcedInstructionSet forced(set);
      Planes vector = emptyPlanes(size);
      fillVector(c.job(), vector);
      requireSameMap(nameOf(size, lens.name, instructionSetName(set)), vector, reference);
    }
  }
}

void addMaps(const Size& size) {
  const auto planes = std::make_shared<Planes>(emptyPlanes(size));
  for (const Lens& lens : lenses()) addLens(std::make_shared<MapCase>(lens, size), planes);
  addStoreLimit(size, planes);
}

}  // namespace rectiline::bench
