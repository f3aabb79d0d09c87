#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

namespace VIO {

/// `gain` times `pixel`, clamped to the range of T and cut to whole grey levels; NaN gives 0.
template <typename T>
[[nodiscard]] T corrected(T pixel, float gain) {
  constexpr T kMax = std::numeric_limits<T>::max();
  const float value = gain * static_cast<float>(pixel);
  if (!(value > 0)) return 0;
  return value < static_cast<float>(kMax) ? static_cast<T>(value) : kMax;
}

/// Corrects `count` pixels in place, each by its gain.
void applyGainsScalar(std::uint8_t* pixels, const float* gains, std::size_t count);

/// The same bytes as `applyGainsScalar`, with the best vector instructions of the machine.
void applyGains(std::uint8_t* pixels, const float* gains, std::size_t count);

/// Fills row y of an image of `width` pixels with the gains that undo the fixed radial fall-off of
/// a 640 x 480 sensor, each in [0, 255].
void writeVignettingRow(int y, int width, float* gains);

}  // namespace VIO
