#include "plan/Course.h"

#include <cmath>

#include "bilinear.h"
#include "plan/PlanContent.h"

namespace kel::plan {
namespace {

constexpr int kStep = kGroup;         // between the pixels that are looked at
constexpr std::ptrdiff_t kLine = 64;  // bytes that are fetched at once

struct Position {
  float x;
  float y;
};

/// Sums of how far positions lie apart whose pixels lie kStep apart, in a row or in a column.
struct Ways {
  float rowsAlongRows = 0;  // of the source
  float rowsAlongColumns = 0;
  float downAlongColumns = 0;  // with its sign
  float rightAlongColumns = 0;
};

class Sampler {
 public:
  Sampler(const ConstMap& map, const PlanLayout& layout) : mMap(map), mLayout(layout) {}

  [[nodiscard]] Ways ways() const {
    Ways sums;
    for (int v = 0; v + kStep < mMap.height; v += kStep) {
      for (int u = 0; u + kStep < mMap.width; u += kStep) add(u, v, sums);
    }
    return sums;
  }

 private:
  void add(int u, int v, Ways& sums) const {
    const Position here = at(u, v);
    const Position right = at(u + kStep, v);
    const Position below = at(u, v + kStep);
    if (!(hasSource(here) && hasSource(right) && hasSource(below))) return;
    sums.rowsAlongRows += std::abs(right.y - here.y);
    sums.rowsAlongColumns += std::abs(below.y - here.y);
    sums.downAlongColumns += below.y - here.y;
    sums.rightAlongColumns += below.x - here.x;
  }

  [[nodiscard]] Position at(int u, int v) const {
    const std::ptrdiff_t i = v * (mMap.stride / static_cast<std::ptrdiff_t>(sizeof(float))) + u;
    return {mMap.x[i], mMap.y[i]};
  }

  [[nodiscard]] bool hasSource(Position p) const {
    return isInside(p.x, mLayout.width) && isInside(p.y, mLayout.height);
  }

  const ConstMap& mMap;
  const PlanLayout& mLayout;
};

}  // namespace

Course findCourse(const ConstMap& map, const PlanLayout& layout) {
  const Ways ways = Sampler(map, layout).ways();
  if (ways.rowsAlongRows > ways.rowsAlongColumns) {
    return {true, ways.rightAlongColumns < 0 ? -kLine : kLine};
  }
  return {false, kBlockRows * (ways.downAlongColumns < 0 ? -layout.stride : layout.stride)};
}

}  // namespace kel::plan
