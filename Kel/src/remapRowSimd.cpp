// One destination row in groups of as many pixels as a vector has floats.
//
// Neighbouring pixels mostly come from neighbouring rows and columns, so a small window of the
// source is held in registers and the four neighbours of a whole group are looked up in it at once.
// Groups that leave their window or the image load their neighbours one by one.
//
// Interpolation takes the steps of remapPixel in the same order, without fused operations.

#include <hwy/cache_control.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "remapRow.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "remapRowSimd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kel::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

void remapRowSimd(const SourceImage& src, const std::uint8_t* mapX, const std::uint8_t* mapY,
                  std::uint8_t* dst, int count) {
  remapRowScalar(src, mapX, mapY, dst, count);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

// A byte permutation over two whole registers reaches a window for 16 pixels, shuffles of 16 bytes
// one for 8.
#if HWY_TARGET == HWY_AVX3_DL
using F32 = hn::ScalableTag<float>;
constexpr int kWindowColumns = 32;
constexpr int kWindowRows = 4;
#else
using F32 = hn::CappedTag<float, 8>;
constexpr int kWindowColumns = 16;
constexpr int kWindowRows = 3;
#endif

using I32 = hn::RebindToSigned<F32>;
using U32 = hn::RebindToUnsigned<F32>;
using Floats = hn::Vec<F32>;
using Ints = hn::Vec<I32>;
using Words = hn::Vec<U32>;
using Lanes = hn::Mask<F32>;

constexpr int kGroup = static_cast<int>(hn::MaxLanes(F32()));

/// 2^23: an integer in [0, 2^23) added to it stands in the sum's low bits, above kIntegersBits.
constexpr float kIntegers = 8388608.0F;
constexpr std::uint32_t kIntegersBits = 0x4B000000U;

/// Two rows of neighbours, a lane's left one in bits 0 to 7 and its right one in bits 8 to 15.
struct Neighbours {
  Words upper;
  Words lower;
};

/// Top left pixel of a window that lies inside the image.
struct Corner {
  int x;
  int y;
};

HWY_INLINE float loadFloat(const std::uint8_t* bytes, int index) {
  float value;
  std::memcpy(&value, bytes + 4 * index, sizeof(value));
  return value;
}

HWY_INLINE Floats loadFloats(const std::uint8_t* bytes) {
  return hn::BitCast(F32(), hn::LoadU(hn::Repartition<std::uint8_t, F32>(), bytes));
}

HWY_INLINE const std::uint8_t* pixelAt(SourceImage src, Corner at) {
  return src.pixels + static_cast<std::ptrdiff_t>(at.y) * src.stride + at.x;
}

/// Integer nearest to p - before, cut to [0, last], whatever p is.
HWY_INLINE int startNear(float p, float before, int last) {
  const float integer = p + (kIntegers - before);
  std::uint32_t bits;
  std::memcpy(&bits, &integer, sizeof(bits));
  return std::clamp(static_cast<int>(bits - kIntegersBits), 0, last);
}

/// Corner of the window for a group, whose middle pixel is its first but kGroup / 2.
HWY_INLINE Corner cornerFor(SourceImage src, const std::uint8_t* mapX, const std::uint8_t* mapY) {
  constexpr int kMiddle = kGroup / 2;
  constexpr float kColumnsBefore = 0.5F * (kWindowColumns + 1);
  constexpr float kRowsBefore = 0.5F * (kWindowRows - 1);
  return {startNear(loadFloat(mapX, kMiddle), kColumnsBefore, src.width - kWindowColumns),
          startNear(loadFloat(mapY, kMiddle), kRowsBefore, src.height - kWindowRows)};
}

#if HWY_TARGET == HWY_SSSE3 || HWY_ARCH_ARM_V7  // no rounding instruction

/// Largest integers not above positions in [0, 2^23), no integers for negative positions and NaN.
HWY_INLINE Floats wholePart(Floats p) {
  const Words truncated = hn::BitCast(U32(), hn::ConvertTo(F32(), hn::ConvertTo(I32(), p)));
  const auto isBad = hn::Gt(hn::BitCast(U32(), p), hn::Set(U32(), 0x7F7FFFFFU));
  return hn::BitCast(F32(), hn::Or(truncated, hn::VecFromMask(U32(), isBad)));
}

/// Whole parts of values in [0, 256).
HWY_INLINE Words toBytes(Floats v) { return hn::BitCast(U32(), hn::ConvertTo(I32(), v)); }

#else

HWY_INLINE Floats wholePart(Floats p) { return hn::Floor(p); }

HWY_INLINE Words toBytes(Floats v) {
  const Floats integers = hn::Add(hn::Floor(v), hn::Set(F32(), kIntegers));
  return hn::And(hn::BitCast(U32(), integers), hn::Set(U32(), 0xFFU));
}

#endif

/// How far whole parts lie beyond `start`; larger than any window for those before it and for NaN.
HWY_INLINE Words distance(Floats whole, int start) {
  const Words bits = hn::BitCast(U32(), hn::Add(whole, hn::Set(F32(), kIntegers)));
  return hn::Sub(bits, hn::Set(U32(), kIntegersBits + static_cast<std::uint32_t>(start)));
}

/// Whether a window's column dx and row dy have right and lower neighbours in it, for all lanes.
HWY_INLINE bool isCovered(Words dx, Words dy) {
  const auto x = hn::Lt(dx, hn::Set(U32(), kWindowColumns - 1));
  const auto y = hn::Lt(dy, hn::Set(U32(), kWindowRows - 1));
  return hn::AllTrue(U32(), hn::And(x, y));
}

HWY_INLINE Neighbours unpack(Words upperAndLower) {
  return {hn::And(upperAndLower, hn::Set(U32(), 0xFFFFU)), hn::ShiftRight<16>(upperAndLower)};
}

#if HWY_TARGET == HWY_AVX3_DL

/// Neighbours of covered columns and rows of the window that begins at `start`.
HWY_INLINE Neighbours lookUp(const std::uint8_t* start, std::ptrdiff_t stride, Words dx, Words dy) {
  const hn::Full256<std::uint8_t> row;
  const hn::Full512<std::uint8_t> rows;
  const auto rows01 = hn::Combine(rows, hn::LoadU(row, start + stride), hn::LoadU(row, start));
  const auto rows23 =
      hn::Combine(rows, hn::LoadU(row, start + 3 * stride), hn::LoadU(row, start + 2 * stride));
  alignas(16) static constexpr std::uint8_t kFirstByte[16] = {0, 0, 0, 0, 4,  4,  4,  4,
                                                              8, 8, 8, 8, 12, 12, 12, 12};
  const auto first = hn::BitCast(rows, hn::Add(hn::ShiftLeft<5>(dy), dx));
  const auto toNeighbours = hn::BitCast(rows, hn::Set(U32(), 0x21200100U));
  const auto index =
      hn::Add(hn::TableLookupBytes(first, hn::LoadDup128(rows, kFirstByte)), toNeighbours);
  return unpack(Words{_mm512_permutex2var_epi8(rows01.raw, index.raw, rows23.raw)});
}

#else

HWY_INLINE Neighbours lookUp(const std::uint8_t* start, std::ptrdiff_t stride, Words dx, Words dy) {
  const hn::Repartition<std::uint8_t, F32> bytes;
  // Bytes dx and dx + 1; the top bit makes the upper two zero.
  const Words index = hn::Add(hn::Or(dx, hn::ShiftLeft<8>(dx)), hn::Set(U32(), 0x80800100U));
  const auto pairs = [&](std::ptrdiff_t y) HWY_ATTR {
    const auto row = hn::LoadDup128(bytes, start + y * stride);
    return hn::BitCast(U32(), hn::TableLookupBytes(row, hn::BitCast(bytes, index)));
  };
  const Words pairs1 = pairs(1);
  const auto isFirst = hn::Eq(dy, hn::Zero(U32()));
  return {hn::IfThenElse(isFirst, pairs(0), pairs1), hn::IfThenElse(isFirst, pairs1, pairs(2))};
}

#endif

/// Neighbours anywhere in the image, x0 <= width - 2 and y0 <= height - 1; the last row is its own
/// lower one. As fast as gather instructions where there are any.
HWY_INLINE Neighbours load(SourceImage src, Ints x0, Ints y0) {
  const Ints stride = hn::Set(I32(), src.stride);
  const auto hasLower = hn::Lt(y0, hn::Set(I32(), src.height - 1));
  alignas(64) std::int32_t offsets[kGroup];
  alignas(64) std::int32_t steps[kGroup];
  alignas(64) std::uint32_t found[kGroup];
  hn::Store(hn::Add(hn::Mul(y0, stride), x0), I32(), offsets);
  hn::Store(hn::IfThenElseZero(hasLower, stride), I32(), steps);
  for (int i = 0; i < kGroup; ++i) {
    const std::uint8_t* const pixel = src.pixels + offsets[i];
    std::uint16_t upper;
    std::uint16_t lower;
    std::memcpy(&upper, pixel, sizeof(upper));
    std::memcpy(&lower, pixel + steps[i], sizeof(lower));
    found[i] = upper | std::uint32_t{lower} << 16;
  }
  return unpack(hn::Load(U32(), found));
}

HWY_INLINE Floats interpolate(Floats a, Floats b, Floats weightB) {
  return hn::Add(a, hn::Mul(weightB, hn::Sub(b, a)));
}

HWY_INLINE Floats interpolateRow(Words pairs, Floats weightRight) {
  const Words left = hn::And(pairs, hn::Set(U32(), 0xFFU));
  const Words right = hn::ShiftRight<8>(pairs);
  return interpolate(hn::ConvertTo(F32(), hn::BitCast(I32(), left)),
                     hn::ConvertTo(F32(), hn::BitCast(I32(), right)), weightRight);
}

HWY_INLINE Words interpolated(const Neighbours& at, Floats weightRight, Floats weightLower) {
  const Floats upper = interpolateRow(at.upper, weightRight);
  const Floats lower = interpolateRow(at.lower, weightRight);
  return toBytes(hn::Add(interpolate(upper, lower, weightLower), hn::Set(F32(), 0.5F)));
}

HWY_INLINE void store(Words bytes, std::uint8_t* dst) {
  hn::StoreU(hn::U8FromU32(bytes), hn::Rebind<std::uint8_t, F32>(), dst);
}

/// Fills a group whose pixels are all covered by the window. False, with nothing written, for any
/// other.
HWY_INLINE bool tryWindow(SourceImage src, Corner corner, const std::uint8_t* mapX,
                          const std::uint8_t* mapY, std::uint8_t* dst) {
  const Floats x = loadFloats(mapX);
  const Floats y = loadFloats(mapY);
  const Floats x0 = wholePart(x);
  const Floats y0 = wholePart(y);
  const Words dx = distance(x0, corner.x);
  const Words dy = distance(y0, corner.y);
  if (!isCovered(dx, dy)) return false;
  const Neighbours at = lookUp(pixelAt(src, corner), src.stride, dx, dy);
  store(interpolated(at, hn::Sub(x, x0), hn::Sub(y, y0)), dst);
  return true;
}

/// Lanes in [0, size), -0 included. Compared as bits, so that NaN fails and denormals count.
HWY_INLINE Lanes isInside(Floats p, int size) {
  const Words bits = hn::BitCast(U32(), p);
  const Words positive = hn::IfThenZeroElse(hn::Eq(bits, hn::Set(U32(), 0x80000000U)), bits);
  const Words limit = hn::BitCast(U32(), hn::Set(F32(), static_cast<float>(size)));
  return hn::RebindMask(F32(), hn::Lt(positive, limit));
}

/// Fills any group.
HWY_INLINE void remapGroup(SourceImage src, const std::uint8_t* mapX, const std::uint8_t* mapY,
                           std::uint8_t* dst) {
  const Floats anyX = loadFloats(mapX);
  const Floats anyY = loadFloats(mapY);
  const Lanes inside = hn::And(isInside(anyX, src.width), isInside(anyY, src.height));
  if (hn::AllFalse(F32(), inside)) return store(hn::Zero(U32()), dst);

  const Floats x = hn::IfThenElseZero(inside, anyX);
  const Floats y = hn::IfThenElseZero(inside, anyY);
  // The last column is its predecessor's neighbour with all the weight, exact for whole numbers.
  const Ints x0 = hn::Min(hn::ConvertTo(I32(), x), hn::Set(I32(), src.width - 2));
  const Ints y0 = hn::ConvertTo(I32(), y);
  const Floats weightRight = hn::Min(hn::Sub(x, hn::ConvertTo(F32(), x0)), hn::Set(F32(), 1.0F));
  const Floats weightLower = hn::Sub(y, hn::ConvertTo(F32(), y0));
  const Words values = interpolated(load(src, x0, y0), weightRight, weightLower);
  store(hn::IfThenElseZero(hn::RebindMask(U32(), inside), values), dst);
}

/// Fetches what rows further down will look up. Where a destination row crosses source rows, no
/// processor foresees these reads.
HWY_INLINE void prefetchBelow(SourceImage src, Corner corner) {
  constexpr int kRowsAhead = 8;
  hwy::Prefetch(pixelAt(src, {corner.x, std::min(corner.y + kRowsAhead, src.height - 1)}));
}

/// Whether windows fit, and positions in floats and offsets in ints are exact.
bool isVectorisable(SourceImage src, int count) {
  constexpr int kMaxSize = 1 << 23;
  return count >= kGroup && src.width >= kWindowColumns && src.height >= kWindowRows &&
         src.width <= kMaxSize && src.height <= kMaxSize &&
         std::int64_t{src.height} * src.stride <= INT32_MAX;
}

void remapRowSimd(const SourceImage& image, const std::uint8_t* mapX, const std::uint8_t* mapY,
                  std::uint8_t* dst, int count) {
  const SourceImage src = image;  // a copy, so that stores to dst cannot change it
  if (!isVectorisable(src, count)) return remapRowScalar(src, mapX, mapY, dst, count);
  // The last group begins early enough to be whole; some pixels are then written twice.
  const std::ptrdiff_t last = count - kGroup;
  Corner corner = cornerFor(src, mapX, mapY);
  for (std::ptrdiff_t u = 0; u < count; u += kGroup) {
    const std::ptrdiff_t at = std::min(u, last);
    const std::ptrdiff_t next = std::min(u + kGroup, last);
    // One group ahead, because a group's work waits for its corner.
    const Corner nextCorner = cornerFor(src, mapX + 4 * next, mapY + 4 * next);
    prefetchBelow(src, nextCorner);
    if (!tryWindow(src, corner, mapX + 4 * at, mapY + 4 * at, dst + at)) {
      remapGroup(src, mapX + 4 * at, mapY + 4 * at, dst + at);
    }
    corner = nextCorner;
  }
}

#endif

}  // namespace kel::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel {

HWY_EXPORT(remapRowSimd);

void remapRow(const SourceImage& src, const std::uint8_t* mapX, const std::uint8_t* mapY,
              std::uint8_t* dst, int count) {
  HWY_DYNAMIC_DISPATCH(remapRowSimd)(src, mapX, mapY, dst, count);
}

}  // namespace kel
#endif
