// Interpolation of pairs of neighbours by multiplications of bytes, a part of 16 pixels at a time:
// as many as a vector of at most 32 bytes has pairs.

#if defined(RECTILINE_PLAN_INTERPOLATE_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RECTILINE_PLAN_INTERPOLATE_X86_INL_H_
#undef RECTILINE_PLAN_INTERPOLATE_X86_INL_H_
#else
#define RECTILINE_PLAN_INTERPOLATE_X86_INL_H_
#endif

#include <hwy/highway.h>

#include "plan/Arithmetic.h"
#include "plan/Finish-inl.h"
#include "plan/PlanContent.h"

HWY_BEFORE_NAMESPACE();
namespace kel::plan::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using U8 = hn::CappedTag<std::uint8_t, 2 * kGroup>;
using U16 = hn::Repartition<std::uint16_t, U8>;
using I16 = hn::Repartition<std::int16_t, U8>;
using Block128 = hn::FixedTag<std::uint8_t, 16>;
using Bytes = hn::Vec<U8>;
using Values = hn::Vec<I16>;
using Group16 = hn::Vec<Block128>;

constexpr int kPartPixels = static_cast<int>(hn::MaxLanes(U16()));
constexpr int kParts = kGroup / kPartPixels;

/// A vector of 16-byte blocks; the second is not looked at where a vector has but one.
HWY_INLINE Bytes combine(Group16 first, [[maybe_unused]] Group16 second) {
#if HWY_TARGET <= HWY_AVX2
  return hn::Combine(U8(), second, first);
#else
  return first;
#endif
}

/// A part's bytes of the 16 at `bytes`, spread by a table of 32 indices.
HWY_INLINE Bytes spread(const void* bytes, const std::uint8_t* table, int part) {
  const Bytes indices = hn::Load(U8(), table + 2 * kPartPixels * part);
  const auto all = hn::LoadDup128(U8(), static_cast<const std::uint8_t*>(bytes));
  return hn::TableLookupBytes(all, indices);
}

/// Values of a row, in 255ths of a level, from pairs of neighbours and of weights.
HWY_INLINE Values interpolatePairs(Bytes weights, Bytes pixels) {
  const Bytes middle = hn::Set(U8(), static_cast<std::uint8_t>(kMiddle));
  const Bytes fromMiddle = hn::Xor(pixels, middle);
#if HWY_TARGET <= HWY_AVX2
  return Values{_mm256_maddubs_epi16(weights.raw, fromMiddle.raw)};
#else
  return Values{_mm_maddubs_epi16(weights.raw, fromMiddle.raw)};
#endif
}

/// Values in 128ths of a level from pairs of neighbours.
/// @param weightsRight  each twice, as bytes
/// @param weightsLower  each as a word
HWY_INLINE Values interpolate(Bytes upperPairs, Bytes lowerPairs, Bytes weightsRight,
                              Bytes weightsLower) {
  const U16 words;
  const Bytes leftIsRest = hn::BitCast(U8(), hn::Set(words, 0x00FF));
  const Bytes weights = hn::Xor(weightsRight, leftIsRest);
  const Values upper = interpolatePairs(weights, upperPairs);
  const Values lower = interpolatePairs(weights, lowerPairs);
  const auto times129 = hn::Mul(hn::BitCast(words, weightsLower), hn::Set(words, 129));
  const Values lowerShare = hn::BitCast(I16(), hn::AverageRound(times129, hn::Zero(words)));
  const Values upperShare = hn::Sub(hn::Set(I16(), kFullRowWeight), lowerShare);
  return hn::Add(hn::MulFixedPoint15(upper, upperShare), hn::MulFixedPoint15(lower, lowerShare));
}

/// Grey levels of 16 values. `valuesOf(part)` gives those of a part in 128ths of a level, and
/// `gainsOf(part)` its gains.
template <bool hasGains, class ValuesOf, class GainsOf>
HWY_INLINE Group16 finishParts(const ValuesOf& valuesOf, const GainsOf& gainsOf, int gainShift) {
#if HWY_TARGET <= HWY_AVX2
  return toBytes<hasGains>(I16(), valuesOf(0), gainsOf(0), gainShift);
#else
  const auto first = toBytes<hasGains>(I16(), valuesOf(0), gainsOf(0), gainShift);
  const auto second = toBytes<hasGains>(I16(), valuesOf(1), gainsOf(1), gainShift);
  return hn::Combine(Block128(), second, first);
#endif
}

}  // namespace kel::plan::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
