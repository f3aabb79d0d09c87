#include "plan/Positions.h"

#include <algorithm>

#include "bilinear.h"
#include "plan/Arithmetic.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "plan/Positions.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kel::plan::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

void findGroupSimd(const float* x, const float* y, const Extent& source, int row,
                   Positions& positions) {
  findGroupPlain(x, y, source, row, positions);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using F32 = hn::CappedTag<float, kGroup>;
using I32 = hn::RebindToSigned<F32>;
using U32 = hn::RebindToUnsigned<F32>;
using U8 = hn::Rebind<std::uint8_t, F32>;
using Lanes = hn::Mask<I32>;

/// Lanes in [0, size), -0 included. Compared as bits, so that NaN fails and denormals count.
HWY_INLINE Lanes areInside(hn::Vec<F32> p, int size) {
  const auto bits = hn::BitCast(U32(), p);
  const auto positive = hn::IfThenZeroElse(hn::Eq(bits, hn::Set(U32(), 0x80000000U)), bits);
  const auto limit = hn::BitCast(U32(), hn::Set(F32(), static_cast<float>(size)));
  return hn::RebindMask(I32(), hn::Lt(positive, limit));
}

/// Along one axis: the first neighbour and the weight of the second. All lanes count as inside.
HWY_INLINE void findAxis(hn::Vec<F32> p, int size, std::int32_t* first, std::uint8_t* weight) {
  const auto last = hn::Set(I32(), std::max(size - 2, 0));
  const auto whole = hn::ConvertTo(I32(), p);
  const auto part = hn::Sub(p, hn::ConvertTo(F32(), whole));
  const auto scaled = hn::Mul(part, hn::Set(F32(), static_cast<float>(kFullWeight)));
  const auto rounded = hn::ConvertTo(I32(), hn::Add(scaled, hn::Set(F32(), 0.5F)));
  const auto isLast = hn::Gt(whole, last);
  const auto weights = hn::IfThenElse(isLast, hn::Set(I32(), kFullWeight), rounded);
  hn::Store(hn::Min(whole, last), I32(), first);
  hn::StoreU(hn::DemoteTo(U8(), weights), U8(), weight);
}

void findGroupSimd(const float* x, const float* y, const Extent& source, int row,
                   Positions& positions) {
  for (int i = 0; i < kGroup; i += static_cast<int>(hn::MaxLanes(F32()))) {
    const int at = row * kGroup + i;
    const auto anyX = hn::LoadU(F32(), x + i);
    const auto anyY = hn::LoadU(F32(), y + i);
    const auto inside = hn::And(areInside(anyX, source.width), areInside(anyY, source.height));
    const auto orZero = [&](hn::Vec<F32> p) HWY_ATTR {
      return hn::IfThenElseZero(hn::RebindMask(F32(), inside), p);
    };
    findAxis(orZero(anyX), source.width, positions.left + at, positions.weightRight + at);
    findAxis(orZero(anyY), source.height, positions.top + at, positions.weightLower + at);
    const auto one = hn::IfThenElseZero(inside, hn::Set(I32(), 1));
    hn::StoreU(hn::DemoteTo(U8(), one), U8(), positions.isInside + at);
  }
}

#endif

}  // namespace kel::plan::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::plan {
namespace {

/// Along one axis: the first neighbour and the weight of the second.
void findAxis(float p, int size, std::int32_t& first, std::uint8_t& weight) {
  const Neighbours n = neighboursOf(p, size);
  first = std::min(n.i0, std::max(size - 2, 0));
  const int inBetween = toWeight(n.weight1);
  weight = static_cast<std::uint8_t>(n.i0 > first ? kFullWeight : inBetween);
}

template <typename T>
void transposePlane(const T* from, T* to) {
  for (int i = 0; i < kGroup; ++i) {
    for (int j = 0; j < kGroup; ++j) to[i * kGroup + j] = from[j * kGroup + i];
  }
}

}  // namespace

HWY_EXPORT(findGroupSimd);

void findGroupPlain(const float* x, const float* y, const Extent& source, int row,
                    Positions& positions) {
  for (int i = 0; i < kGroup; ++i) {
    const int at = row * kGroup + i;
    const bool inside = isInside(x[i], source.width) && isInside(y[i], source.height);
    positions.isInside[at] = inside ? 1 : 0;
    findAxis(inside ? x[i] : 0.0F, source.width, positions.left[at], positions.weightRight[at]);
    findAxis(inside ? y[i] : 0.0F, source.height, positions.top[at], positions.weightLower[at]);
  }
}

void findGroup(const float* x, const float* y, const Extent& source, int row,
               Positions& positions) {
  constexpr int kExactInFloats = 1 << 23;
  if (source.width > kExactInFloats || source.height > kExactInFloats) {
    return findGroupPlain(x, y, source, row, positions);
  }
  HWY_DYNAMIC_DISPATCH(findGroupSimd)(x, y, source, row, positions);
}

void transpose(const Positions& from, Positions& to) {
  transposePlane(from.left, to.left);
  transposePlane(from.top, to.top);
  transposePlane(from.weightRight, to.weightRight);
  transposePlane(from.weightLower, to.weightLower);
  transposePlane(from.isInside, to.isInside);
  transposePlane(from.gain, to.gain);
}

}  // namespace kel::plan
#endif
