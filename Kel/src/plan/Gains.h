#pragma once

#include <cstdint>

#include "Kel/RemapPlan.h"
#include "plan/Positions.h"

namespace kel::plan {

/// The source's gains as plans take them: at a position, in 16 bits. What is no number and what is
/// below 0 counts as 0; what exceeds 255.99 corrects every pixel to 0 or 255, as 255.99 does.
class Gains {
 public:
  Gains(const SourceGains& gains, const PlanLayout& layout);

  [[nodiscard]] bool areGiven() const { return mGains.start != nullptr; }
  /// How many bits stand for parts of a whole: the more, the smaller the greatest gain.
  [[nodiscard]] int shift() const { return mShift; }
  /// Interpolated at pixel i of a square; 0 where that has no source.
  [[nodiscard]] std::uint16_t at(const Positions& positions, int i) const;

 private:
  [[nodiscard]] float interpolateRow(int y, int left, float weightRight) const;

  SourceGains mGains;
  int mWidth;
  int mHeight;
  int mShift = 15;
};

}  // namespace kel::plan
