#pragma once

#include <cstdint>

/// Resamples an 8-bit image through a pair of float maps.
///
/// Destination pixel (u, v) takes the source's value at position (mapX(u, v), mapY(u, v)). Integer
/// coordinates are pixel positions (no half-pixel shift), so an identity map copies the image.
///
/// - A position is inside when 0 <= x < srcWidth and 0 <= y < srcHeight. Any other position, NaN
///   and infinities included, gives 0.
/// - Inside, the value is interpolated bilinearly between four neighbours; neighbours beyond the
///   last column or row are clamped to it. The result differs from the exact interpolated value by
///   at most 0.5 (rounding to nearest) + 5e-5 (six roundings of half a float ulp below 256).
///
/// All strides are in bytes; `mapStride` holds for both maps. Maps may start at any address and
/// have any stride of at least 4 * dstWidth. The library never frees or keeps a pointer. Large
/// destinations are filled by the worker pool's threads; the caller waits.
///
/// @param src source, srcHeight rows of srcWidth bytes, read only
/// @param dst destination, dstHeight rows of dstWidth bytes; bytes between rows stay as they are
/// @param mapX,mapY maps of the destination's size, in source pixels
/// @param interpolation 1: bilinear, the only one there is
/// @return 0 on success. -2 when the workers could not be had for want of memory, reported, with
///   the destination partly written. Otherwise non-zero, with nothing read or written, for: an
///   empty source, a negative size, a stride shorter than its row, another interpolation code, a
///   null pointer, a destination whose address range (first to last pixel) overlaps that of the
///   source or a map. An empty destination is a success that touches nothing; its pointers and
///   those of the maps may be null.
extern "C" int kelRemapu8(const std::uint8_t* src, int srcWidth, int srcHeight, int srcStride,
                          std::uint8_t* dst, int dstWidth, int dstHeight, int dstStride,
                          const float* mapX, const float* mapY, int mapStride, int interpolation);
