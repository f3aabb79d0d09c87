#pragma once

#include "rectiline_check/Check.h"

namespace rectiline::check {

/// Whether two images show the same at the same places, as one image given twice does, be it
/// compressed once more.
bool isSameImage(const PairImages& images);

}  // namespace rectiline::check
