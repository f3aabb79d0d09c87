#include "plan/Gains.h"

#include <algorithm>

#include "bilinear.h"

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

std::uint16_t Gains::at(float x, float y) const {
  if (!(isInside(x, mWidth) && isInside(y, mHeight))) return 0;
  const Neighbours rows = neighboursOf(y, mHeight);
  const float gain =
      interpolate(interpolateRow(rows.i0, x), interpolateRow(rows.i1, x), rows.weight1);
  return static_cast<std::uint16_t>(gain * static_cast<float>(1 << mShift) + 0.5F);
}

float Gains::interpolateRow(int y, float x) const {
  const Neighbours columns = neighboursOf(x, mWidth);
  const float* const row = rowOf(mGains, y);
  return interpolate(usable(row[columns.i0]), usable(row[columns.i1]), columns.weight1);
}

}  // namespace kel::plan
