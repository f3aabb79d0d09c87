// Chains of a plan: neighbours are loaded pixel by pixel and interpolated 16 channels at a time.

#if defined(RECTILINE_PLAN_CHAINS_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RECTILINE_PLAN_CHAINS_X86_INL_H_
#undef RECTILINE_PLAN_CHAINS_X86_INL_H_
#else
#define RECTILINE_PLAN_CHAINS_X86_INL_H_
#endif

#include <hwy/highway.h>

#include <cstring>

#include "plan/ChainReader.h"
#include "plan/InterpolateX86-inl.h"
#include "plan/PlanContent.h"

HWY_BEFORE_NAMESPACE();
namespace kel::plan::HWY_NAMESPACE {

/// 16 bytes each of an upper and of a lower row.
struct Neighbourhood {
  Group16 upper;
  Group16 lower;
};

template <int i>
HWY_INLINE void insertPair(ChainReader& pixels, __m128i& upper, __m128i& lower) {
  const std::uint8_t* const pixel = pixels.next();
  std::uint16_t pair;
  std::memcpy(&pair, pixel, sizeof(pair));
  upper = _mm_insert_epi16(upper, pair, i);
  std::memcpy(&pair, pixel + pixels.lowerStep(), sizeof(pair));
  lower = _mm_insert_epi16(lower, pair, i);
}

/// Of the next eight pixels of one channel, their pairs.
HWY_INLINE Neighbourhood nextPairs(ChainReader& pixels) {
  __m128i upper = _mm_setzero_si128();
  __m128i lower = _mm_setzero_si128();
  insertPair<0>(pixels, upper, lower);
  insertPair<1>(pixels, upper, lower);
  insertPair<2>(pixels, upper, lower);
  insertPair<3>(pixels, upper, lower);
  insertPair<4>(pixels, upper, lower);
  insertPair<5>(pixels, upper, lower);
  insertPair<6>(pixels, upper, lower);
  insertPair<7>(pixels, upper, lower);
  return {Group16{upper}, Group16{lower}};
}

HWY_INLINE Group16 loadTwo(const std::uint8_t* first, const std::uint8_t* second) {
  const hn::FixedTag<std::uint8_t, 8> half;
  return hn::Combine(Block128(), hn::LoadU(half, second), hn::LoadU(half, first));
}

/// Of the next two pixels, eight bytes each.
HWY_INLINE Neighbourhood nextTwo(ChainReader& pixels) {
  const std::uint8_t* const first = pixels.next();
  const std::uint8_t* const second = pixels.next();
  return {loadTwo(first, second), loadTwo(first + pixels.lowerStep(), second + pixels.lowerStep())};
}

/// For four links: their first or second weight for each of four channels; and each gain.
template <int byte, int unit, int second>
struct FourTimes {
  alignas(32) std::uint8_t indices[32];
  constexpr FourTimes() : indices() {
    for (int i = 0; i < 16; ++i) {
      indices[2 * i] = static_cast<std::uint8_t>(unit * (i / 4) + byte);
      indices[2 * i + 1] = static_cast<std::uint8_t>(second < 0 ? 128 : unit * (i / 4) + second);
    }
  }
};
inline constexpr FourTimes<2, 4, 2> kRightOfLinks;
inline constexpr FourTimes<3, 4, -1> kLowerOfLinks;
inline constexpr FourTimes<0, 2, 1> kGainsOfLinks;

/// Two pixels of eight bytes become eight pairs.
template <int channels>
HWY_INLINE Bytes toPairs(Bytes pixels) {
  constexpr int c = channels;
  alignas(16) static constexpr std::uint8_t kPairs[16] = {
      0, c,     1, c + 1, 2,  c + 2,  3,  (c + 3) % 8,
      8, c + 8, 9, c + 9, 10, c + 10, 11, (c + 3) % 8 + 8};
  return hn::TableLookupBytes(pixels, hn::LoadDup128(U8(), kPairs));
}

/// Grey levels of four pixels of four channels, the last of three being any.
template <int channels, bool hasGains>
HWY_INLINE Group16 interpolateFour(ChainReader& pixels, const Link* links,
                                   const std::uint16_t* gains, int gainShift) {
  return finishParts<hasGains>(
      [&](int part) HWY_ATTR {
        const Neighbourhood first = nextTwo(pixels);
        const Neighbourhood second = kParts == 1 ? nextTwo(pixels) : first;
        return interpolate(toPairs<channels>(combine(first.upper, second.upper)),
                           toPairs<channels>(combine(first.lower, second.lower)),
                           spread(links, kRightOfLinks.indices, part),
                           spread(links, kLowerOfLinks.indices, part));
      },
      [&](int part) HWY_ATTR {
        if constexpr (!hasGains) return hn::Zero(U16());
        HWY_ALIGN std::uint16_t four[8] = {gains[0], gains[1], gains[2], gains[3]};
        return hn::BitCast(U16(), spread(four, kGainsOfLinks.indices, part));
      },
      gainShift);
}

/// Weights of eight links for every block: each link's byte `byte`, as pairs or as words.
template <int byte, int second>
HWY_INLINE Bytes weightsOf(const Link* links, int part) {
  alignas(16) static constexpr std::uint8_t kFirst[16] = {byte,      second,
                                                          byte + 4,  second + (second < 128) * 4,
                                                          byte + 8,  second + (second < 128) * 8,
                                                          byte + 12, second + (second < 128) * 12,
                                                          128,       128,
                                                          128,       128,
                                                          128,       128,
                                                          128,       128};
  alignas(16) static constexpr std::uint8_t kSecond[16] = {128,       128,
                                                           128,       128,
                                                           128,       128,
                                                           128,       128,
                                                           byte,      second,
                                                           byte + 4,  second + (second < 128) * 4,
                                                           byte + 8,  second + (second < 128) * 8,
                                                           byte + 12, second + (second < 128) * 12};
  const auto four = [&](int i) HWY_ATTR {
    return hn::LoadU(Block128(), reinterpret_cast<const std::uint8_t*>(links + i));
  };
  const int at = kPartPixels * part;
  const Bytes first = combine(four(at), four(kParts == 1 ? 8 : at));
  const Bytes rest = combine(four(at + 4), four(kParts == 1 ? 12 : at));
  return hn::Or(hn::TableLookupBytes(first, hn::LoadDup128(U8(), kFirst)),
                hn::TableLookupBytes(rest, hn::LoadDup128(U8(), kSecond)));
}

/// Grey levels of 16 pixels of one channel.
template <bool hasGains>
HWY_INLINE Group16 interpolateSixteen(ChainReader& pixels, const Link* links,
                                      const std::uint16_t* gains, int gainShift) {
  return finishParts<hasGains>(
      [&](int part) HWY_ATTR {
        const Neighbourhood first = nextPairs(pixels);
        const Neighbourhood second = kParts == 1 ? nextPairs(pixels) : first;
        return interpolate(combine(first.upper, second.upper), combine(first.lower, second.lower),
                           weightsOf<2, 2>(links, part), weightsOf<3, 128>(links, part));
      },
      [&](int part) HWY_ATTR {
        return hasGains ? hn::LoadU(U16(), gains + kPartPixels * part) : hn::Zero(U16());
      },
      gainShift);
}

/// Four pixels, three channels of each.
HWY_INLINE void storeThreeOfFour(Group16 pixels, std::uint8_t* target) {
  alignas(16) static constexpr std::uint8_t kThreeOfFour[16] = {0,  1,  2,  4,  5,   6,   8,   9,
                                                                10, 12, 13, 14, 128, 128, 128, 128};
  const Group16 packed = hn::TableLookupBytes(pixels, hn::Load(Block128(), kThreeOfFour));
  hn::StoreU(hn::LowerHalf(packed), hn::FixedTag<std::uint8_t, 8>(), target);
  const std::uint32_t rest =
      hn::ExtractLane(hn::BitCast(hn::FixedTag<std::uint32_t, 4>(), packed), 2);
  std::memcpy(target + 8, &rest, sizeof(rest));
}

/// The next kChainGroup pixels of a chain.
template <int channels, bool hasGains>
HWY_INLINE void applyLinks(ChainReader& pixels, const Link* links, const std::uint16_t* gains,
                           int gainShift, std::uint8_t* target) {
  if constexpr (channels == 1) {
    hn::StoreU(interpolateSixteen<hasGains>(pixels, links, gains, gainShift), Block128(), target);
  } else {
    const Group16 four = interpolateFour<channels, hasGains>(pixels, links, gains, gainShift);
    if constexpr (channels == 4) hn::StoreU(four, Block128(), target);
    if constexpr (channels == 3) storeThreeOfFour(four, target);
  }
}

}  // namespace kel::plan::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
