#pragma once

#include <cstddef>
#include <cstdint>

// What the memory alone costs, with the widest loads and stores that the machine has.

namespace rectiline::bench {

/// Stores `value` into `count` elements of both planes, side by side as a map is made.
void storePlanes(float value, float* X, float* Y, std::size_t count);

/// Reads two maps, or halves of a plan, of `count` floats each and copies `bytes`: what a remap
/// must at least do.
/// @return a digest of what is read, for nothing but that it be read
std::uint32_t readMapsAndCopy(const float* mapX, const float* mapY, std::size_t count,
                              const std::uint8_t* source, std::uint8_t* target, std::size_t bytes);

}  // namespace rectiline::bench
