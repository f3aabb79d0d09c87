// Groups and chains of a plan by NEON's table lookups and widening multiplications, eight values at
// a time.

#if defined(RECTILINE_PLAN_NEON_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RECTILINE_PLAN_NEON_INL_H_
#undef RECTILINE_PLAN_NEON_INL_H_
#else
#define RECTILINE_PLAN_NEON_INL_H_
#endif

#include <arm_neon.h>
#include <hwy/highway.h>

#include <cstring>

#include "plan/Arithmetic.h"
#include "plan/ChainReader.h"
#include "plan/PlanContent.h"

HWY_BEFORE_NAMESPACE();
namespace kel::plan::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Group16 = hn::Vec<hn::FixedTag<std::uint8_t, kGroup>>;

/// Left and right neighbours of eight pixels.
struct Pairs {
  uint8x8_t left;
  uint8x8_t right;
};

struct Weights {
  uint8x8_t right;
  uint8x8_t lower;
};

/// Values of a row, in 255ths of a level.
HWY_INLINE int16x8_t interpolatePairs(Pairs at, uint8x8_t weightLeft, uint8x8_t weightRight) {
  const uint16x8_t value = vmlal_u8(vmull_u8(at.left, weightLeft), at.right, weightRight);
  return vreinterpretq_s16_u16(vsubq_u16(value, vdupq_n_u16(kFullWeight * kMiddle)));
}

/// Values in 128ths of a level.
HWY_INLINE int16x8_t interpolate(Pairs upperPairs, Pairs lowerPairs, Weights weights) {
  const uint8x8_t weightLeft = vmvn_u8(weights.right);
  const int16x8_t upper = interpolatePairs(upperPairs, weightLeft, weights.right);
  const int16x8_t lower = interpolatePairs(lowerPairs, weightLeft, weights.right);
  const uint16x8_t share = vrshrq_n_u16(vmull_u8(weights.lower, vdup_n_u8(129)), 1);
  const int16x8_t lowerShare = vreinterpretq_s16_u16(share);
  const int16x8_t upperShare = vsubq_s16(vdupq_n_s16(kFullRowWeight), lowerShare);
  return vaddq_s16(vqrdmulhq_s16(upper, upperShare), vqrdmulhq_s16(lower, lowerShare));
}

/// Grey levels.
HWY_INLINE uint8x8_t toLevels(int16x8_t values) {
  return veor_u8(vreinterpret_u8_s8(vqrshrn_n_s16(values, 7)), vdup_n_u8(kMiddle));
}

/// Grey levels, each times its gain.
HWY_INLINE uint8x8_t toLevels(int16x8_t values, uint16x8_t gains, int gainShift) {
  const int16x8_t positive = vaddq_s16(values, vdupq_n_s16(kMiddle * kLevel));
  const uint16x8_t twice = vreinterpretq_u16_s16(vaddq_s16(positive, positive));
  const uint32x4_t low = vmull_u16(vget_low_u16(twice), vget_low_u16(gains));
  const uint32x4_t high = vmull_u16(vget_high_u16(twice), vget_high_u16(gains));
  const uint16x8_t product = vcombine_u16(vshrn_n_u32(low, 16), vshrn_n_u32(high, 16));
  return vqmovn_u16(vshlq_u16(product, vdupq_n_s16(static_cast<std::int16_t>(8 - gainShift))));
}

/// Grey levels of 16 values.
template <bool hasGains>
HWY_INLINE Group16 finish(int16x8_t first, int16x8_t second,
                          [[maybe_unused]] const std::uint16_t* gains,
                          [[maybe_unused]] int gainShift) {
  if constexpr (hasGains) {
    return Group16{vcombine_u8(toLevels(first, vld1q_u16(gains), gainShift),
                               toLevels(second, vld1q_u16(gains + 8), gainShift))};
  } else {
    return Group16{vcombine_u8(toLevels(first), toLevels(second))};
  }
}

/// Two rows of a window.
HWY_INLINE uint8x8x4_t loadRows(const std::uint8_t* upper, const std::uint8_t* lower) {
  const uint8x16_t first = vld1q_u8(upper);
  const uint8x16_t second = vld1q_u8(lower);
  return {{vget_low_u8(first), vget_high_u8(first), vget_low_u8(second), vget_high_u8(second)}};
}

HWY_INLINE Pairs lookUp(uint8x8x4_t rows, uint8x8_t places) {
  return {vtbl4_u8(rows, places), vtbl4_u8(rows, vadd_u8(places, vdup_n_u8(1)))};
}

/// The first four pixels from one window, the others from another.
HWY_INLINE Pairs join(Pairs first, Pairs second) {
  const auto halves = [](uint8x8_t low, uint8x8_t high) HWY_ATTR {
    const uint32x2_t words = vreinterpret_u32_u8(low);
    return vreinterpret_u8_u32(
        vset_lane_u32(vget_lane_u32(vreinterpret_u32_u8(high), 1), words, 1));
  };
  return {halves(first.left, second.left), halves(first.right, second.right)};
}

HWY_INLINE int16x8_t interpolateHalf(const PairRecord& record, int half, const std::uint8_t* source,
                                     std::ptrdiff_t stride) {
  const std::uint8_t* const row0 = source + record.windows[half];
  const std::uint8_t* const row1 = row0 + stride;
  const uint8x8_t places = vld1_u8(record.lookup.place + 8 * half);
  const Weights weights{vld1_u8(record.lookup.weightRight + 8 * half),
                        vld1_u8(record.lookup.weightLower + 8 * half)};
  return interpolate(lookUp(loadRows(row0, row1), places),
                     lookUp(loadRows(row1, row1 + stride), places), weights);
}

HWY_INLINE int16x8_t interpolateHalf(const QuadRecord& record, int half, const std::uint8_t* source,
                                     std::ptrdiff_t stride) {
  const std::uint8_t* const first = source + record.windows[2 * half];
  const std::uint8_t* const second = source + record.windows[2 * half + 1];
  const uint8x8_t places = vld1_u8(record.lookup.place + 8 * half);
  const Weights weights{vld1_u8(record.lookup.weightRight + 8 * half),
                        vld1_u8(record.lookup.weightLower + 8 * half)};
  const auto rows = [&](std::ptrdiff_t y) HWY_ATTR {
    return join(lookUp(loadRows(first + y, first + y + stride), places),
                lookUp(loadRows(second + y, second + y + stride), places));
  };
  return interpolate(rows(0), rows(stride), weights);
}

/// Grey levels of a group; with gains, of which there are 16.
template <bool hasGains, class Record>
HWY_INLINE Group16 interpolateGroup(const Record& record, const std::uint16_t* gains,
                                    const std::uint8_t* source, std::ptrdiff_t stride,
                                    int gainShift) {
  return finish<hasGains>(interpolateHalf(record, 0, source, stride),
                          interpolateHalf(record, 1, source, stride), gains, gainShift);
}

template <int i>
HWY_INLINE void insertPair(ChainReader& pixels, uint16x8_t& upper, uint16x8_t& lower) {
  const std::uint8_t* const pixel = pixels.next();
  std::uint16_t pair;
  std::memcpy(&pair, pixel, sizeof(pair));
  upper = vsetq_lane_u16(pair, upper, i);
  std::memcpy(&pair, pixel + pixels.lowerStep(), sizeof(pair));
  lower = vsetq_lane_u16(pair, lower, i);
}

HWY_INLINE Pairs split(uint16x8_t pairs) {
  const uint8x16_t bytes = vreinterpretq_u8_u16(pairs);
  const uint8x8x2_t columns = vuzp_u8(vget_low_u8(bytes), vget_high_u8(bytes));
  return {columns.val[0], columns.val[1]};
}

/// The next eight pixels of one channel.
HWY_INLINE int16x8_t interpolateEight(ChainReader& pixels, const Link* links) {
  uint16x8_t upper = vdupq_n_u16(0);
  uint16x8_t lower = vdupq_n_u16(0);
  insertPair<0>(pixels, upper, lower);
  insertPair<1>(pixels, upper, lower);
  insertPair<2>(pixels, upper, lower);
  insertPair<3>(pixels, upper, lower);
  insertPair<4>(pixels, upper, lower);
  insertPair<5>(pixels, upper, lower);
  insertPair<6>(pixels, upper, lower);
  insertPair<7>(pixels, upper, lower);
  const uint8x8x4_t fields = vld4_u8(reinterpret_cast<const std::uint8_t*>(links));
  return interpolate(split(upper), split(lower), {fields.val[2], fields.val[3]});
}

/// Two pixels of several channels, the last of three being any.
template <int channels>
HWY_INLINE Pairs splitTwo(const std::uint8_t* first, const std::uint8_t* second) {
  constexpr std::uint8_t c = channels;
  static constexpr std::uint8_t kLeft[8] = {0, 1, 2, 3, 8, 9, 10, 11};
  static constexpr std::uint8_t kRight[8] = {c,     c + 1, c + 2,  (c + 3) % 8,
                                             c + 8, c + 9, c + 10, (c + 3) % 8 + 8};
  const uint8x8x2_t pixels{{vld1_u8(first), vld1_u8(second)}};
  return {vtbl2_u8(pixels, vld1_u8(kLeft)), vtbl2_u8(pixels, vld1_u8(kRight))};
}

/// The next two pixels of four channels, the last of three being any.
template <int channels>
HWY_INLINE int16x8_t interpolateTwo(ChainReader& pixels, const Link* links) {
  static constexpr std::uint8_t kRight[8] = {2, 2, 2, 2, 6, 6, 6, 6};
  static constexpr std::uint8_t kLower[8] = {3, 3, 3, 3, 7, 7, 7, 7};
  const uint8x8_t fields = vld1_u8(reinterpret_cast<const std::uint8_t*>(links));
  const std::uint8_t* const first = pixels.next();
  const std::uint8_t* const second = pixels.next();
  return interpolate(splitTwo<channels>(first, second),
                     splitTwo<channels>(first + pixels.lowerStep(), second + pixels.lowerStep()),
                     {vtbl1_u8(fields, vld1_u8(kRight)), vtbl1_u8(fields, vld1_u8(kLower))});
}

/// The next kChainGroup pixels of a chain.
template <int channels, bool hasGains>
HWY_INLINE void applyLinks(ChainReader& pixels, const Link* links, const std::uint16_t* gains,
                           int gainShift, std::uint8_t* target) {
  const hn::FixedTag<std::uint8_t, kGroup> u8;
  if constexpr (channels == 1) {
    const int16x8_t first = interpolateEight(pixels, links);
    const int16x8_t second = interpolateEight(pixels, links + 8);
    hn::StoreU(finish<hasGains>(first, second, gains, gainShift), u8, target);
  } else {
    HWY_ALIGN std::uint16_t all[kGroup] = {};
    for (int i = 0; hasGains && i < kGroup; ++i) all[i] = gains[i / 4];
    const int16x8_t first = interpolateTwo<channels>(pixels, links);
    const int16x8_t second = interpolateTwo<channels>(pixels, links + 2);
    const Group16 four = finish<hasGains>(first, second, all, gainShift);
    if constexpr (channels == 4) return hn::StoreU(four, u8, target);
    HWY_ALIGN std::uint8_t bytes[kGroup];
    hn::Store(four, u8, bytes);
    for (int i = 0; i < 4; ++i) std::memcpy(target + 3 * i, bytes + 4 * i, 3);
  }
}

}  // namespace kel::plan::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
