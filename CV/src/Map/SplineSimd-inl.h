// A spline evaluated at a vector of squared radii, and the vector types of the map kernel.
// Highway compiles this file once for each instruction set, so its guard is open once for each.

#if defined(AR_CV_MAP_SPLINE_SIMD_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef AR_CV_MAP_SPLINE_SIMD_INL_H
#undef AR_CV_MAP_SPLINE_SIMD_INL_H
#else
#define AR_CV_MAP_SPLINE_SIMD_INL_H
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <cstdint>

#include "Map/SplineTable.h"

HWY_BEFORE_NAMESPACE();
namespace AR::CV::Internal {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using D = hn::ScalableTag<float>;
using DI = hn::RebindToSigned<D>;
using DU = hn::RebindToUnsigned<D>;
using V = hn::Vec<D>;
using VI = hn::Vec<DI>;
using M = hn::Mask<D>;

constexpr D d;
constexpr DI di;
constexpr DU du;
constexpr int kLanes = static_cast<int>(hn::MaxLanes(d));

struct Point {
  V x, y;
};

/// a b + c, in one rounding or, as the plain form computes it, in two. What decides about a
/// target's rays is computed like that, so that no pixel has a ray in one form only.
template <bool kPlain>
HWY_INLINE V mulAdd(V a, V b, V c) {
  return kPlain ? hn::Add(hn::Mul(a, b), c) : hn::MulAdd(a, b, c);
}

/// In the plain form's order of operations.
HWY_INLINE V normSquared(const Point& p) { return hn::Add(hn::Mul(p.x, p.x), hn::Mul(p.y, p.y)); }

/// One bin's cubic per lane.
struct Cubics {
  V c0, c1, c2, c3;

  template <bool kPlain>
  HWY_INLINE V at(V t) const {
    return mulAdd<kPlain>(t, mulAdd<kPlain>(t, mulAdd<kPlain>(t, c3, c2), c1), c0);
  }
};

/// A table's coefficients, held by value: nothing that is stored can change where they are.
struct Coefficients {
  explicit Coefficients(const SplineTable& table)
      : data(table.data()), stride(table.stride()), isPlanar(table.isPlanar()) {}

  const float* data;
  std::int32_t stride;
  bool isPlanar;
};

#if HWY_TARGET <= HWY_AVX2

#if HWY_TARGET <= HWY_AVX3

inline SplineTable::Layout layoutOfInstructionSet(std::size_t /*bins*/) {
  return SplineTable::Layout::Planar;
}

constexpr int kWindow = 2 * kLanes;
constexpr std::int32_t kWindowAlignment = kLanes;

/// The values of `window`, kWindow of them, at the lanes of `i`.
HWY_INLINE V lookUp(const float* window, VI i) {
  // One instruction over two registers, where Highway's lookups of one register take three.
  return V{
      _mm512_permutex2var_ps(hn::Load(d, window).raw, i.raw, hn::Load(d, window + kLanes).raw)};
}

#else

/// With more bins neighbouring pixels too often leave the window.
inline SplineTable::Layout layoutOfInstructionSet(std::size_t bins) {
  return bins <= 128 ? SplineTable::Layout::Planar : SplineTable::Layout::Interleaved;
}

constexpr int kWindow = kLanes;
constexpr std::int32_t kWindowAlignment = 1;

/// The values of `window`, kWindow of them, at the lanes of `i`.
HWY_INLINE V lookUp(const float* window, VI i) {
  return hn::TableLookupLanes(hn::LoadU(d, window), hn::IndicesFromVec(d, i));
}

#endif

static_assert(kWindow <= static_cast<int>(SplineTable::kWindow));

HWY_INLINE Cubics gatherCubics(const Coefficients& c, VI i) {
  const auto plane = [&](int k) { return hn::GatherIndex(d, c.data + k * c.stride, i); };
  return {plane(0), plane(1), plane(2), plane(3)};
}

/// Neighbouring pixels have neighbouring bins: mostly all lie in one window, one or two loads a
/// plane.
HWY_INLINE Cubics cubicsOfPlanes(const Coefficients& c, const std::int32_t* bins) {
  const std::int32_t least = std::min(bins[0], bins[kLanes - 1]);
  const std::int32_t start = std::min(least & -kWindowAlignment, c.stride - kWindow);
  const VI i = hn::Load(di, bins);
  const VI inWindow = hn::Sub(i, hn::Set(di, start));
  if (!hn::AllTrue(du, hn::Lt(hn::BitCast(du, inWindow), hn::Set(du, kWindow)))) {
    return gatherCubics(c, i);
  }
  const float* const window = c.data + start;
  const auto plane = [&](int k) { return lookUp(window + k * c.stride, inWindow); };
  return {plane(0), plane(1), plane(2), plane(3)};
}

#else

inline SplineTable::Layout layoutOfInstructionSet(std::size_t /*bins*/) {
  return SplineTable::Layout::Interleaved;
}

#endif

#if HWY_TARGET > HWY_AVX3

/// The coefficients of the bins of every fourth lane from the first on, a block each.
HWY_INLINE V loadBlocks(const float* table, const std::int32_t* bins) {
#if HWY_TARGET == HWY_AVX2
  const hn::Half<D> dh;
  return hn::Combine(d, hn::Load(dh, table + 4 * bins[4]), hn::Load(dh, table + 4 * bins[0]));
#else
  return hn::Load(d, table + 4 * bins[0]);
#endif
}

/// One load per lane, then each four of them transposed.
HWY_INLINE Cubics cubicsOfBlocks(const Coefficients& c, const std::int32_t* bins) {
  const hn::RepartitionToWide<DU> dw;  // NEON of 32 bits has no doubles
  const V b0 = loadBlocks(c.data, bins);
  const V b1 = loadBlocks(c.data, bins + 1);
  const V b2 = loadBlocks(c.data, bins + 2);
  const V b3 = loadBlocks(c.data, bins + 3);
  const auto low01 = hn::BitCast(dw, hn::InterleaveLower(d, b0, b1));
  const auto high01 = hn::BitCast(dw, hn::InterleaveUpper(d, b0, b1));
  const auto low23 = hn::BitCast(dw, hn::InterleaveLower(d, b2, b3));
  const auto high23 = hn::BitCast(dw, hn::InterleaveUpper(d, b2, b3));
  return {hn::BitCast(d, hn::InterleaveLower(dw, low01, low23)),
          hn::BitCast(d, hn::InterleaveUpper(dw, low01, low23)),
          hn::BitCast(d, hn::InterleaveLower(dw, high01, high23)),
          hn::BitCast(d, hn::InterleaveUpper(dw, high01, high23))};
}

#endif

HWY_INLINE Cubics cubicsAt(const Coefficients& c, const std::int32_t* bins) {
#if HWY_TARGET <= HWY_AVX3
  return cubicsOfPlanes(c, bins);
#elif HWY_TARGET == HWY_AVX2
  return c.isPlanar ? cubicsOfPlanes(c, bins) : cubicsOfBlocks(c, bins);
#else
  return cubicsOfBlocks(c, bins);
#endif
}

/// A spline over squared radii.
class Spline {
 public:
  explicit Spline(const SplineTable& table)
      : mCoefficients(table),
        mInvBinWidth(hn::Set(d, table.invBinWidth())),
        mBinWidth(hn::Set(d, table.binWidth())),
        mRangeMax(hn::Set(d, table.rangeMax())),
        mLast(hn::Set(di, table.lastBin())) {}

  HWY_INLINE M contains(V r2) const { return hn::Lt(r2, mRangeMax); }

  /// Stores the bin around each `r2`, that of the table's nearest for any other, NaN included.
  /// Returns what `r2` is beyond the bin's start.
  HWY_INLINE V locate(V r2, std::int32_t* bins) const {
    // From kOne0 on floats are whole numbers that count up in their bits.
    const V one0 = hn::Set(d, kOne0);
    const V position = hn::MulAdd(r2, mInvBinWidth, hn::Set(d, kOne0 - 0.5F));
    const auto last = hn::BitCast(du, hn::Add(mLast, hn::BitCast(di, one0)));
    const auto bits = hn::Min(hn::BitCast(du, hn::Max(position, one0)), last);
    hn::Store(hn::Sub(hn::BitCast(di, bits), hn::BitCast(di, one0)), di, bins);
    return hn::NegMulAdd(hn::Sub(hn::BitCast(d, bits), one0), mBinWidth, r2);
  }
  /// The same in the plain form's operations.
  HWY_INLINE V locatePlainly(V r2, std::int32_t* bins) const {
    const VI unclamped = hn::ConvertTo(di, hn::Mul(r2, mInvBinWidth));
    const VI bin = hn::Min(hn::Max(unclamped, hn::Zero(di)), mLast);
    hn::Store(bin, di, bins);
    return hn::Sub(r2, hn::Mul(hn::ConvertTo(d, bin), mBinWidth));
  }

  /// The value at `r2`, outside of the table that of the nearest cubic, in the plain form's
  /// operations.
  HWY_INLINE V plainlyAt(V r2) const {
    alignas(64) std::int32_t bins[kLanes];
    const V beyond = locatePlainly(r2, bins);
    return at<true>(bins, beyond);
  }

  template <bool kPlain>
  HWY_INLINE V at(const std::int32_t* bins, V beyond) const {
    return cubicsAt(mCoefficients, bins).template at<kPlain>(beyond);
  }

 private:
  static constexpr float kOne0 = 8388608;  // 2^23

  Coefficients mCoefficients;
  V mInvBinWidth, mBinWidth, mRangeMax;
  VI mLast;
};

/// A spline of one bin: nothing to be found, and one cubic for all.
class OneBin {
 public:
  explicit OneBin(const SplineTable& table) : mRangeMax(hn::Set(d, table.rangeMax())) {
    const auto coefficient = [&](int k) { return hn::Set(d, table.data()[k * table.stride()]); };
    mCubic = {coefficient(0), coefficient(1), coefficient(2), coefficient(3)};
  }

  HWY_INLINE M contains(V r2) const { return hn::Lt(r2, mRangeMax); }
  /// The bin starts at 0.
  HWY_INLINE V locate(V r2, std::int32_t* /*bins*/) const { return r2; }
  template <bool kPlain>
  HWY_INLINE V at(const std::int32_t* /*bins*/, V beyond) const {
    return mCubic.template at<kPlain>(beyond);
  }

 private:
  V mRangeMax;
  Cubics mCubic;
};

}  // namespace HWY_NAMESPACE
}  // namespace AR::CV::Internal
HWY_AFTER_NAMESPACE();

#endif
