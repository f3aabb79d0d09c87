#pragma once

#include "images/Image.h"

namespace rectiline::tool {

/// Both images of a rectified pair in one, 8-bit colour, with a green line every 32 pixels along
/// which they must agree: side by side, or one above the other for a vertical pair.
Image sideBySide(const Image& left, const Image& right, bool isVertical);

}  // namespace rectiline::tool
