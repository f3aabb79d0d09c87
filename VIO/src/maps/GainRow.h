#pragma once

#include <cstddef>
#include <cstdint>

namespace VIO {

/// Multiplies `pixels[i]` by `gains[i]` in place, for `count` pixels: clamped to [0, 255], cut to
/// whole grey levels; NaN gives 0.
void applyGainsScalar(std::uint8_t* pixels, const float* gains, std::size_t count);

/// The same bytes as `applyGainsScalar`, with the best vector instructions of the machine.
void applyGains(std::uint8_t* pixels, const float* gains, std::size_t count);

}  // namespace VIO
