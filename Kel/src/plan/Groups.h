#pragma once

#include "plan/PlanContent.h"
#include "plan/Positions.h"

namespace kel::plan {

/// The source as windows see it.
struct WindowedSource {
  int width;
  int height;
  std::ptrdiff_t stride;
};

/// How the pixels of a group are looked after.
enum class GroupKind { Empty, Pair, MaskedPair, Quad, Chain };

/// What the windows of a group hold; `windows` has as many as the kind says.
struct WindowedGroup {
  std::uint32_t windows[4];
  Lookup lookup;
  std::uint16_t valid;
};

/// Finds windows for group `group` of a square. Where they do not do, the result holds nothing.
GroupKind findWindows(const Positions& positions, int group, const WindowedSource& source,
                      WindowedGroup& result);

}  // namespace kel::plan
