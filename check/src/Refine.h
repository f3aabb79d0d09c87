#pragma once

#include <optional>

#include "Corners.h"
#include "Image.h"
#include "rectiline_check/Check.h"

namespace rectiline::check {

/// Moves `start` in `to` until its surroundings look most like those of `corner` in `from`, to a
/// fraction of a pixel, for any brightness and contrast (Lucas & Kanade 1981, with the gradients
/// of the patch itself: Baker & Matthews 2004). Nothing when the search wanders off, leaves what
/// was seen, or ends at something else.
std::optional<Position> tryRefine(const Image& from, const Corner& corner, const Image& to,
                                  const Position& start);

}  // namespace rectiline::check
