#pragma once

// The arithmetic of plans, in integers of 16 bits: the plain form of what the vector forms compute,
// step by step.
//
// Weights are in 255ths, so that 0 and 1 are both among them: a pixel in the last column or row is
// its predecessor's neighbour with all the weight. Pixels are taken relative to 128, which keeps a
// row's value, in 255ths of a grey level, within 16 bits. Weights of rows turn it into 128ths.
//
// No pixel is off by more than one grey level from E, the exact value, rounded to nearest. Let Q be
// interpolated exactly with the weights in 255ths, R what is rounded here. The weights are off by
// at most 1/510 each and the worst neighbours are 0 and 255, so |E - Q| < 0.9991; 1/510 less for
// every 255th between the weights and the nearest corner, and for every level between the
// neighbours and the worst ones. |Q - R| < 0.018: two products rounded to 1/256 of a level, the
// lower row's weight to half of 1/16448, and 16448 for 128 * 2^15 / 255. So E and R round to values
// two levels apart only where |E - R| > 1, and R then lies within 0.018 of half a level. The first
// leaves less than 9 to be shared by the weights' distance from a corner, m, and the neighbours'
// from the worst, n; R is then within (m n + m^2) / 255 < 0.35 of that corner's whole level, not
// near half a level.

#include <algorithm>
#include <cstdint>

namespace kel::plan {

inline constexpr int kFullWeight = 255;
inline constexpr int kFullRowWeight = 16448;  // 128 * 2^15 / 255, to nearest
inline constexpr int kMiddle = 128;           // what pixels are relative to, in grey levels
inline constexpr int kLevel = 128;            // of an interpolated value

/// A weight from 0 to 1, to the nearest 255th.
inline int toWeight(float weight) { return static_cast<int>(weight * 255.0F + 0.5F); }

/// (a b) / 2^15, rounded to nearest.
inline int mulFixed15(int a, int b) { return (a * b + (1 << 14)) >> 15; }

/// In 255ths of a level.
inline int interpolateRow(int left, int right, int weightRight) {
  return (kFullWeight - weightRight) * (left - kMiddle) + weightRight * (right - kMiddle);
}

/// From values in 255ths of a level to one in 128ths.
inline int interpolateRows(int upper, int lower, int weightLower) {
  const int weight = (129 * weightLower + 1) >> 1;
  return mulFixed15(upper, kFullRowWeight - weight) + mulFixed15(lower, weight);
}

/// The grey level of an interpolated value.
inline std::uint8_t toByte(int value) {
  return static_cast<std::uint8_t>(((value + kLevel / 2) >> 7) + kMiddle);
}

/// A gain in 2^-shift, shift being the plan's, times an interpolated value.
inline std::uint8_t toByte(int value, std::uint16_t gain, int shift) {
  const unsigned twice = 2U * static_cast<unsigned>(value + kMiddle * kLevel);
  return static_cast<std::uint8_t>(std::min(((twice * gain) >> 16) >> (shift - 8), 255U));
}

}  // namespace kel::plan
