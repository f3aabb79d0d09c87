#include "images/SideBySide.h"

#include <algorithm>
#include <cstring>

namespace rectiline::tool {
namespace {

void tintGreen(std::uint8_t* rgb) {
  rgb[0] /= 2;
  rgb[1] = static_cast<std::uint8_t>(128 + rgb[1] / 2);
  rgb[2] /= 2;
}

}  // namespace

Image sideBySide(const Image& left, const Image& right, bool isVertical) {
  const int w = left.width;
  const int h = left.height;
  Image joined(ImageHeader{isVertical ? w : 2 * w, isVertical ? 2 * h : h, RECTILINE_RGB8});
  for (const bool isSecond : {false, true}) {
    const Image half = colourOf(isSecond ? right : left);
    for (int y = 0; y < h; ++y) {
      std::uint8_t* const target =
          joined.row(isVertical && isSecond ? y + h : y) + (!isVertical && isSecond ? 3 * w : 0);
      std::memcpy(target, half.row(y), half.stride());
      for (int x = 0; x < w; ++x) {
        if ((isVertical ? x : y) % 32 == 16) tintGreen(target + 3 * x);
      }
    }
  }
  return joined;
}

}  // namespace rectiline::tool
