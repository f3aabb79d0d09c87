#include "CameraCalibration/InvertSplineSimd.h"

#include <algorithm>
#include <cstddef>

#include "CameraModel/InvertFactors.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "CameraCalibration/InvertSplineSimd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

// Vectors of 32-bit ARM divide by an approximation.
#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128 && !HWY_ARCH_ARM_V7
#include "Map/SplineSimd-inl.h"
#endif

HWY_BEFORE_NAMESPACE();
namespace AR::CV::Internal {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128 || HWY_ARCH_ARM_V7

bool invertSpline(const SplineTable& /*table*/, std::span<const float> /*y*/,
                  std::span<float> /*G*/) {
  return false;
}

#else

// The steps of one vector wait for each other, those of several do not.
constexpr std::size_t kVectors = 4;
constexpr std::size_t kBlock = kVectors * static_cast<std::size_t>(kLanes);

/// The iterations of one vector, as CamModel::Internal::InverseIterations has them.
struct Iterations {
  V y, x, previous, G;

  HWY_INLINE M step(V F, V xMax) {
    const V one = hn::Set(d, 1.0F);
    G = hn::Div(one, F);
    const V change = hn::Abs(hn::Sub(hn::Mul(previous, G), one));
    const M settled = hn::Lt(change, hn::Set(d, CamModel::kSettledChange<float>));
    const V next = hn::Mul(hn::Mul(G, G), y);
    x = hn::IfThenElse(settled, x, hn::IfThenElse(hn::Lt(xMax, next), xMax, next));
    previous = F;
    return settled;
  }
};

// Inlined: g++ does not clear the upper halves of the registers after a call that takes a vector.
HWY_INLINE void invertBlock(const Spline& spline, V xMax, const float* y, float* G) {
  Iterations iterations[kVectors];
  for (std::size_t i = 0; i < kVectors; ++i) {
    const V y_i = hn::Load(d, y + i * kLanes);
    iterations[i] = {y_i, y_i, hn::Zero(d), y_i};
  }
  for (int evaluation = 0; evaluation < CamModel::kMaxEvaluations; ++evaluation) {
    M settled = hn::Eq(xMax, xMax);
    for (Iterations& i : iterations) {
      settled = hn::And(settled, i.step(spline.plainlyAt(i.x), xMax));
    }
    if (hn::AllTrue(d, settled)) break;
  }
  for (std::size_t i = 0; i < kVectors; ++i) hn::Store(iterations[i].G, d, G + i * kLanes);
}

bool invertSpline(const SplineTable& table, std::span<const float> y, std::span<float> G) {
  const Spline spline(table);
  const V xMax = hn::Set(d, table.rangeMax());
  alignas(64) float block[kBlock];
  for (std::size_t first = 0; first < y.size(); first += kBlock) {
    const std::size_t count = std::min(kBlock, y.size() - first);
    std::copy_n(y.begin() + static_cast<std::ptrdiff_t>(first), count, block);
    std::fill(block + count, block + kBlock, block[0]);
    invertBlock(spline, xMax, block, block);
    std::copy_n(block, count, G.begin() + static_cast<std::ptrdiff_t>(first));
  }
  return true;
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace AR::CV::Internal
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace AR::CV::Internal {

HWY_EXPORT(invertSpline);

bool tryInvertSpline(const SplineTable& table, std::span<const float> y, std::span<float> G) {
  return HWY_DYNAMIC_DISPATCH(invertSpline)(table, y, G);
}

}  // namespace AR::CV::Internal
#endif
