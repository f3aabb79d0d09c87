#pragma once

#include <cstdint>

namespace kel {

/// A non-empty 8-bit image; `stride` bytes from one row to the next.
struct SourceImage {
  const std::uint8_t* pixels;
  int width;
  int height;
  int stride;
};

/// The source's value at (x, y) as a byte; 0 outside [0, width) x [0, height).
///
/// Every step is one IEEE single-precision operation, in the order written, so that the vector twin
/// gives the same bytes.
std::uint8_t remapPixel(const SourceImage& src, float x, float y);

/// Fills `count` bytes of one destination row. `mapX` and `mapY` point to the row's `count` native
/// floats at any alignment.
void remapRowScalar(const SourceImage& src, const std::uint8_t* mapX, const std::uint8_t* mapY,
                    std::uint8_t* dst, int count);

/// The same bytes as `remapRowScalar`, with the best vector instructions of the machine. `dst` may
/// not overlap source and maps.
void remapRow(const SourceImage& src, const std::uint8_t* mapX, const std::uint8_t* mapY,
              std::uint8_t* dst, int count);

}  // namespace kel
