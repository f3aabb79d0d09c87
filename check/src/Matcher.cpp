#include "Matcher.h"

#include <cmath>
#include <cstdlib>
#include <optional>

#include "Corners.h"
#include "PatchSearch.h"
#include "Refine.h"

namespace rectiline::check {
namespace {

/// From a place at `level` of the pyramids to the full images.
std::optional<ImageMatch> descend(const Pyramid& left, const Pyramid& right, int level,
                                  Corner corner, Position found) {
  std::optional<Position> refined = tryRefine(left.level(level), corner, right.level(level), found);
  while (refined && level > 0) {
    --level;
    // A place x is 2 x + 0.5 one level below; half a pixel is left away in both images, so that the
    // patch stays on whole pixels.
    corner = {2 * corner.x, 2 * corner.y};
    refined =
        tryRefine(left.level(level), corner, right.level(level), {2 * refined->x, 2 * refined->y});
  }
  if (!refined) return std::nullopt;
  return ImageMatch{{static_cast<double>(corner.x), static_cast<double>(corner.y)}, *refined};
}

}  // namespace

std::vector<ImageMatch> matchImages(const Pyramid& left, const Pyramid& right, Search search,
                                    int maxCorners) {
  const bool wide = search == Search::Wide;
  const int level = left.levels() - (wide ? 1 : 2);
  const Image& coarseLeft = left.level(level);
  const Image& coarseRight = right.level(level);
  const Band band{wide ? coarseLeft.height / 6 : 3};
  const PatchSearch inLeft(coarseLeft);
  const PatchSearch inRight(coarseRight);
  std::vector<ImageMatch> matches;
  for (const Corner& corner : findCorners(coarseLeft, maxCorners, kPatchRadius + 1)) {
    const auto found = inRight.tryFind(coarseLeft, corner, band);
    if (!found) continue;
    const auto back = inLeft.tryFind(coarseRight, found->place, band);
    if (!back || std::abs(back->place.x - corner.x) > 1 || std::abs(back->place.y - corner.y) > 1) {
      continue;
    }
    const Position start{static_cast<double>(found->place.x), static_cast<double>(found->place.y)};
    if (const auto match = descend(left, right, level, corner, start)) matches.push_back(*match);
  }
  return matches;
}

}  // namespace rectiline::check
