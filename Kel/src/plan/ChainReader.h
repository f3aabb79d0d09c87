#pragma once

#include <hwy/base.h>

#include "plan/PlanContent.h"

namespace kel::plan {

/// A chain's pixels, one after another.
class ChainReader {
 public:
  /// @param links  of the chain
  ChainReader(const std::uint8_t* source, const Chain& chain, const Link* links,
              std::ptrdiff_t lowerStep)
      : mPixel(source + static_cast<std::ptrdiff_t>(chain.start)),
        mLink(links),
        mLowerStep(lowerStep) {}

  /// The next pixel's left upper neighbour.
  HWY_INLINE const std::uint8_t* next() { return mPixel += (mLink++)->step; }

  /// From an upper to a lower neighbour, bytes.
  [[nodiscard]] HWY_INLINE std::ptrdiff_t lowerStep() const { return mLowerStep; }

  /// The pixel before the next.
  [[nodiscard]] HWY_INLINE const std::uint8_t* latest() const { return mPixel; }

 private:
  const std::uint8_t* mPixel;
  const Link* mLink;
  std::ptrdiff_t mLowerStep;
};

/// How many of a chain's pixels are interpolated at once.
template <int channels>
inline constexpr int kChainGroup = channels == 1 ? kGroup : 4;

}  // namespace kel::plan
