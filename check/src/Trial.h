#pragma once

#include <optional>
#include <span>
#include <vector>

#include "Frame.h"
#include "Matcher.h"
#include "Pairs.h"
#include "Rows.h"

namespace rectiline::check {

/// What a verdict needs at least.
inline constexpr int kFewestMatches = 30;

/// Points that a rig's rectification lets find in both images of all pairs, or of up to `maxPairs`
/// of them.
std::vector<RawMatch> matchPairs(const Frame& frame, const Pairs& pairs, Search search,
                                 const CheckOptions& options, int maxPairs);

/// Whether the rows of a rig agree well enough to call it right.
bool isOk(const Rows& rows);

/// The mistake that explains the images, and others that nearly do.
struct Explanation {
  Verdict mistake;
  double median;  // row error without it, pixels
  std::vector<Verdict> alternatives;
  std::vector<RawMatch> matches;
};

/// Undoes the usual mistakes one at a time. Nothing when none of them makes the rig right.
/// @param given    the rig as given; nothing when it cannot be rectified
/// @param matches  the best that its own rectification led to
std::optional<Explanation> explainByMistake(const CameraPair& cameras,
                                            const std::optional<Frame>& given,
                                            std::span<const RawMatch> matches, const Pairs& pairs,
                                            const CheckOptions& options);

}  // namespace rectiline::check
