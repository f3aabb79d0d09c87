// Groups of a plan by shuffles of 16 bytes.

#if defined(RECTILINE_PLAN_WINDOWS_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RECTILINE_PLAN_WINDOWS_X86_INL_H_
#undef RECTILINE_PLAN_WINDOWS_X86_INL_H_
#else
#define RECTILINE_PLAN_WINDOWS_X86_INL_H_
#endif

#include <hwy/highway.h>

#include "plan/InterpolateX86-inl.h"
#include "plan/PlanContent.h"

HWY_BEFORE_NAMESPACE();
namespace kel::plan::HWY_NAMESPACE {

/// Every byte of 16 twice, and each as a word.
alignas(32) inline constexpr std::uint8_t kTwice[32] = {0,  0,  1,  1,  2,  2,  3,  3,  4,  4,  5,
                                                        5,  6,  6,  7,  7,  8,  8,  9,  9,  10, 10,
                                                        11, 11, 12, 12, 13, 13, 14, 14, 15, 15};
alignas(32) inline constexpr std::uint8_t kAsWord[32] = {
    0, 128, 1, 128, 2,  128, 3,  128, 4,  128, 5,  128, 6,  128, 7,  128,
    8, 128, 9, 128, 10, 128, 11, 128, 12, 128, 13, 128, 14, 128, 15, 128};

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
  auto row = hn::BitCast(i8, hn::ShiftLeft<3>(hn::BitCast(words, places)));
#if HWY_TARGET == \
    HWY_SSSE3  // has no instruction that looks at signs only, though Highway takes one
  row = hn::BroadcastSignBit(row);
#endif
  const auto choose = [&](Bytes second, Bytes first) HWY_ATTR {
    return hn::BitCast(
        U8(), hn::IfNegativeThenElse(row, hn::BitCast(i8, second), hn::BitCast(i8, first)));
  };
  return interpolate(choose(pairs1, pairs0), choose(pairs2, pairs1),
                     spread(lookup.weightRight, kTwice, part),
                     spread(lookup.weightLower, kAsWord, part));
}

/// The row at `first`, and beside it, where a vector has two blocks, the row at `second`.
HWY_INLINE Bytes loadRows(const std::uint8_t* first, [[maybe_unused]] const std::uint8_t* second) {
#if HWY_TARGET <= HWY_AVX2
  return combine(hn::LoadU(Block128(), first), hn::LoadU(Block128(), second));
#else
  return hn::LoadU(Block128(), first);
#endif
}

/// Pairs from one window for every block.
HWY_INLINE Values interpolatePart(const PairRecord& record, int part, const std::uint8_t* source,
                                  std::ptrdiff_t stride) {
  const std::uint8_t* const first = source + record.windows[part];
  const std::uint8_t* const second = source + record.windows[1];
  return interpolatePart(record.lookup, part, [&](int y, Bytes places) HWY_ATTR {
    return hn::TableLookupBytes(loadRows(first + y * stride, second + y * stride), places);
  });
}

/// Pairs from two windows for every block.
HWY_INLINE Values interpolatePart(const QuadRecord& record, int part, const std::uint8_t* source,
                                  std::ptrdiff_t stride) {
  const std::uint32_t* const first = record.windows + 2 * part;
  const std::uint32_t* const second = record.windows + 2;
  const hn::Repartition<std::uint64_t, U8> halves;
  return interpolatePart(record.lookup, part, [&](int y, Bytes places) HWY_ATTR {
    const std::uint8_t* const row = source + y * stride;
    const Bytes low = hn::TableLookupBytes(loadRows(row + first[0], row + second[0]), places);
    const Bytes high = hn::TableLookupBytes(loadRows(row + first[1], row + second[1]), places);
    return hn::BitCast(U8(), hn::OddEven(hn::BitCast(halves, high), hn::BitCast(halves, low)));
  });
}

/// Grey levels of a group; with gains, of which there are 16.
template <bool hasGains, class Record>
HWY_INLINE Group16 interpolateGroup(const Record& record, const std::uint16_t* gains,
                                    const std::uint8_t* source, std::ptrdiff_t stride,
                                    int gainShift) {
  return finishParts<hasGains>(
      [&](int part) HWY_ATTR { return interpolatePart(record, part, source, stride); },
      [&](int part) HWY_ATTR {
        return hasGains ? hn::LoadU(U16(), gains + kPartPixels * part) : hn::Zero(U16());
      },
      gainShift);
}

}  // namespace kel::plan::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
