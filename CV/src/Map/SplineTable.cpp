#include "Map/SplineTable.h"

#include <algorithm>

namespace AR::CV {
namespace {

using Spline = HermiteSplineInterpolation<float>;

// A cache line of floats.
constexpr std::size_t kLineValues = 16;

std::size_t roundUp(std::size_t value, std::size_t step) {
  return (value + step - 1) / step * step;
}

/// The kernel finds a bin's start as its index times the width, which must be the spline's own
/// number to the last bit.
bool startsAtMultiples(const Spline& spline, float binWidth) {
  bool isMultiple = spline.rangeMin == 0;
  for (std::size_t i = 0; i < spline.coeffs.size(); ++i) {
    isMultiple = isMultiple && spline.coeffs[i].x0 == static_cast<float>(i) * binWidth;
  }
  return isMultiple;
}

}  // namespace

SplineTable::SplineTable(const Spline& spline, Layout layout) {
  const std::size_t bins = spline.coeffs.size();
  if (bins == 0 || bins > kMaxBins) return;
  mBinWidth = bins > 1 ? spline.coeffs[1].x0 : 0;
  mInvBinWidth = spline.invBinWidth;
  mRangeMax = spline.rangeMax;
  mLastBin = static_cast<std::int32_t>(bins) - 1;
  if (!startsAtMultiples(spline, mBinWidth)) return;

  const bool isPlanar = layout == Layout::Planar;
  const std::size_t stride = isPlanar ? std::max(roundUp(bins, kLineValues), kWindow) : 1;
  mStride = static_cast<std::int32_t>(stride);
  mCells.resize(roundUp(4 * (isPlanar ? stride : bins), kLineValues) / kLineValues);
  const std::size_t step = isPlanar ? 1 : 4;
  for (std::size_t i = 0; i < bins; ++i) {
    const Spline::Coeffs& bin = spline.coeffs[i];
    const float c[] = {bin.c0, bin.c1, bin.c2, bin.c3};
    for (std::size_t k = 0; k < 4; ++k) {
      const std::size_t at = i * step + k * stride;
      mCells[at / kLineValues].values[at % kLineValues] = c[k];
    }
  }
}

}  // namespace AR::CV
