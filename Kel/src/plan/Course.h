#pragma once

#include <cstddef>

#include "Kel/RemapPlan.h"

namespace kel::plan {

/// How a map runs through the source.
struct Course {
  bool isTurned;  // a way along its rows crosses more of the source's rows than one down them
  std::ptrdiff_t ahead;  // to what is likely looked up a block further down, bytes
};

Course findCourse(const ConstMap& map, const PlanLayout& layout);

}  // namespace kel::plan
