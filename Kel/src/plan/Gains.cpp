#include "plan/Gains.h"

#include <algorithm>

#include "bilinear.h"
#include "plan/Arithmetic.h"

namespace kel::plan {
namespace {

constexpr float kMost = 65535.0F / 256;  // what 16 bits hold with the fewest bits for parts

float usable(float gain) { return gain > 0 ? std::min(gain, kMost) : 0.0F; }

const float* rowOf(const SourceGains& gains, int y) {
  return reinterpret_cast<const float*>(reinterpret_cast<const char*>(gains.start) +
                                        y * gains.stride);
}

}  // namespace

Gains::Gains(const SourceGains& gains, const PlanLayout& layout)
    : mGains(gains), mWidth(layout.width), mHeight(layout.height) {
  if (!areGiven()) return;
  float greatest = 0;
  for (int y = 0; y < mHeight; ++y) {
    const float* const row = rowOf(mGains, y);
    for (int x = 0; x < mWidth; ++x) greatest = std::max(greatest, usable(row[x]));
  }
  while (greatest * static_cast<float>(1 << mShift) > 65535.0F) --mShift;
}

std::uint16_t Gains::at(const Positions& positions, int i) const {
  if (positions.isInside[i] == 0) return 0;
  const int top = positions.top[i];
  const int left = positions.left[i];
  const float weightRight = static_cast<float>(positions.weightRight[i]) / kFullWeight;
  const float weightLower = static_cast<float>(positions.weightLower[i]) / kFullWeight;
  const float gain =
      interpolate(interpolateRow(top, left, weightRight),
                  interpolateRow(std::min(top + 1, mHeight - 1), left, weightRight), weightLower);
  return static_cast<std::uint16_t>(gain * static_cast<float>(1 << mShift) + 0.5F);
}

float Gains::interpolateRow(int y, int left, float weightRight) const {
  const float* const row = rowOf(mGains, y);
  return interpolate(usable(row[left]), usable(row[std::min(left + 1, mWidth - 1)]), weightRight);
}

}  // namespace kel::plan
