// Groups of a plan by shuffles of 16 bytes: as many pixels at a time as a vector of at most 32
// bytes has pairs of neighbours.

#if defined(RECTILINE_PLAN_WINDOWS_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RECTILINE_PLAN_WINDOWS_X86_INL_H_
#undef RECTILINE_PLAN_WINDOWS_X86_INL_H_
#else
#define RECTILINE_PLAN_WINDOWS_X86_INL_H_
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
using Row = hn::CappedTag<std::uint8_t, kWindowColumns>;
using Bytes = hn::Vec<U8>;
using Values = hn::Vec<I16>;

constexpr int kPixels = static_cast<int>(hn::MaxLanes(U16()));  // at a time
constexpr int kParts = kGroup / kPixels;

/// Every byte of 16 twice, and each as a word; a 128-bit block of a vector takes from all 16.
alignas(32) inline constexpr std::uint8_t kTwice[32] = {0,  0,  1,  1,  2,  2,  3,  3,  4,  4,  5,
                                                        5,  6,  6,  7,  7,  8,  8,  9,  9,  10, 10,
                                                        11, 11, 12, 12, 13, 13, 14, 14, 15, 15};
alignas(32) inline constexpr std::uint8_t kAsWord[32] = {
    0, 128, 1, 128, 2,  128, 3,  128, 4,  128, 5,  128, 6,  128, 7,  128,
    8, 128, 9, 128, 10, 128, 11, 128, 12, 128, 13, 128, 14, 128, 15, 128};

/// A part's bytes of the 16 at `bytes`, spread by one of the tables above.
HWY_INLINE Bytes spread(const std::uint8_t* bytes, const std::uint8_t* table, int part) {
  const Bytes indices = hn::Load(U8(), table + 2 * kPixels * part);
  return hn::TableLookupBytes(hn::LoadDup128(U8(), bytes), indices);
}

/// 16 bytes for each 128-bit block.
HWY_INLINE Bytes loadRows(const std::uint8_t* lower, [[maybe_unused]] const std::uint8_t* upper) {
#if HWY_TARGET <= HWY_AVX2
  return hn::Combine(U8(), hn::LoadU(Row(), upper), hn::LoadU(Row(), lower));
#else
  return hn::LoadU(Row(), lower);
#endif
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

/// Values in 128ths of a level for a part of a group.
/// @param rows  rows(y, places) looks up the pairs of row y of the windows
template <class Rows>
HWY_INLINE Values interpolatePart(const Lookup& lookup, int part, const Rows& rows) {
  const U16 words;
  const Bytes toRight = hn::BitCast(U8(), hn::Set(words, 0x0100));
  const Bytes places = hn::Add(spread(lookup.place, kTwice, part), toRight);
  const Bytes pairs0 = rows(0, places);
  const Bytes pairs1 = rows(1, places);
  const Bytes pairs2 = rows(2, places);
  // A place's row is bit 4; shifted into the sign of its byte it chooses between rows.
  const hn::Repartition<std::int8_t, U8> i8;
#if HWY_TARGET == HWY_SSSE3  // no instruction that looks at signs only, though Highway takes one
  const auto row =
      hn::BroadcastSignBit(hn::BitCast(i8, hn::ShiftLeft<3>(hn::BitCast(words, places))));
#else
  const auto row = hn::BitCast(i8, hn::ShiftLeft<3>(hn::BitCast(words, places)));
#endif
  const auto choose = [&](Bytes second, Bytes first) HWY_ATTR {
    return hn::BitCast(
        U8(), hn::IfNegativeThenElse(row, hn::BitCast(i8, second), hn::BitCast(i8, first)));
  };
  const Bytes leftIsRest = hn::BitCast(U8(), hn::Set(words, 0x00FF));
  const Bytes weights = hn::Xor(spread(lookup.weightRight, kTwice, part), leftIsRest);
  const Values upper = interpolatePairs(weights, choose(pairs1, pairs0));
  const Values lower = interpolatePairs(weights, choose(pairs2, pairs1));

  const auto weightLower = hn::BitCast(words, spread(lookup.weightLower, kAsWord, part));
  const auto scaled = hn::AverageRound(hn::Mul(weightLower, hn::Set(words, 129)), hn::Zero(words));
  const Values lowerShare = hn::BitCast(I16(), scaled);
  const Values upperShare = hn::Sub(hn::Set(I16(), kFullRowWeight), lowerShare);
  return hn::Add(hn::MulFixedPoint15(upper, upperShare), hn::MulFixedPoint15(lower, lowerShare));
}

/// Pairs from one window for every 128-bit block.
HWY_INLINE Values interpolatePairPart(const PairRecord& record, int part,
                                      const std::uint8_t* source, std::ptrdiff_t stride) {
  const std::uint8_t* const window = source + record.windows[part];
  const std::uint8_t* const other = source + record.windows[1];
  return interpolatePart(record.lookup, part, [&](int y, Bytes places) HWY_ATTR {
    return hn::TableLookupBytes(loadRows(window + y * stride, other + y * stride), places);
  });
}

/// Pairs from two windows for every 128-bit block.
HWY_INLINE Values interpolateQuadPart(const QuadRecord& record, int part,
                                      const std::uint8_t* source, std::ptrdiff_t stride) {
  const std::uint32_t* const windows = record.windows + 2 * part;
  const int other = kParts == 1 ? 2 : 0;
  const hn::Repartition<std::uint64_t, U8> halves;
  return interpolatePart(record.lookup, part, [&](int y, Bytes places) HWY_ATTR {
    const std::uint8_t* const row = source + y * stride;
    const Bytes first =
        hn::TableLookupBytes(loadRows(row + windows[0], row + windows[other]), places);
    const Bytes second =
        hn::TableLookupBytes(loadRows(row + windows[1], row + windows[other + 1]), places);
    return hn::BitCast(U8(), hn::OddEven(hn::BitCast(halves, second), hn::BitCast(halves, first)));
  });
}

/// Grey levels of a whole group. `interpolatePartOf(part)` gives values in 128ths.
template <bool hasGains, class InterpolatePart>
HWY_INLINE Group16 finishGroup(const std::uint16_t* gains, const Finish& finish,
                               const InterpolatePart& interpolatePartOf) {
#if HWY_TARGET <= HWY_AVX2
  return toBytes<hasGains>(I16(), interpolatePartOf(0), gains, finish);
#else
  const auto first = toBytes<hasGains>(I16(), interpolatePartOf(0), gains, finish);
  const auto second = toBytes<hasGains>(I16(), interpolatePartOf(1), gains + kPixels, finish);
  return hn::Combine(Row(), second, first);
#endif
}

template <bool hasGains>
HWY_INLINE Group16 interpolateGroup(const PairRecord& record, const std::uint16_t* gains,
                                    const std::uint8_t* source, std::ptrdiff_t stride,
                                    const Finish& finish) {
  return finishGroup<hasGains>(gains, finish, [&](int part) HWY_ATTR {
    return interpolatePairPart(record, part, source, stride);
  });
}

template <bool hasGains>
HWY_INLINE Group16 interpolateGroup(const QuadRecord& record, const std::uint16_t* gains,
                                    const std::uint8_t* source, std::ptrdiff_t stride,
                                    const Finish& finish) {
  return finishGroup<hasGains>(gains, finish, [&](int part) HWY_ATTR {
    return interpolateQuadPart(record, part, source, stride);
  });
}

}  // namespace kel::plan::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
