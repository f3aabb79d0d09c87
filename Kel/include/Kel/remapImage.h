#pragma once

#include <cstddef>
#include <cstdint>

// Remaps images of several formats. Unlike kelRemapu8, which a platform may provide, this is always
// the bundled code.

namespace kel {

enum class PixelFormat { Grey8, Rgb8, Rgba8, Grey16 };

/// A non-empty image; `stride` bytes from row to row. Grey16 is aligned to 2.
struct ConstImage {
  const std::uint8_t* pixels;
  int width;
  int height;
  std::ptrdiff_t stride;
};

/// A non-empty map pair, rows `stride` bytes apart in both planes, aligned to 4.
struct ConstMap {
  const float* x;
  const float* y;
  int width;
  int height;
  std::ptrdiff_t stride;
};

/// Fills an image of the map's size. Each channel takes the value that kelRemapu8 gives an 8-bit
/// image: bilinear, rounded to nearest, 0 for positions outside. Large images are filled by the
/// worker pool's threads; the caller waits.
/// @param target  overlaps neither source nor map
void remapImage(PixelFormat format, const ConstImage& source, const ConstMap& map,
                std::uint8_t* target, std::ptrdiff_t targetStride);

}  // namespace kel
