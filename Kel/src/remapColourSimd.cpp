// One row of a colour image, the channels of a pixel in the lanes of a vector.
//
// Interpolation takes the steps of the plain form in the same order, without fused operations.

#include <cstddef>
#include <cstring>

#include "bilinear.h"
#include "remapColour.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "remapColourSimd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kel::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

void remapColourRowSimd(const ConstImage& source, int channels, const float* x, const float* y,
                        std::uint8_t* target, int count) {
  remapColourRowScalar(source, channels, x, y, target, count);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using F32 = hn::CappedTag<float, 4>;
using I32 = hn::RebindToSigned<F32>;
using U32 = hn::RebindToUnsigned<F32>;
using U8 = hn::Rebind<std::uint8_t, F32>;
using Channels = hn::Vec<F32>;

/// A pixel's bytes in one word, nothing beyond them read. Three of them are put together in a
/// register: a vector load would have to wait for their stores.
template <int channels>
HWY_INLINE std::uint32_t loadWord(const std::uint8_t* pixel) {
  if constexpr (channels == 3) {
    std::uint16_t firstTwo;
    std::memcpy(&firstTwo, pixel, sizeof(firstTwo));
    return firstTwo | std::uint32_t{pixel[2]} << 16;
  }
  std::uint32_t word;
  std::memcpy(&word, pixel, sizeof(word));
  return word;
}

template <int channels>
HWY_INLINE Channels load(const std::uint8_t* pixel) {
  const hn::Repartition<std::uint8_t, F32> bytes;
  alignas(16) static constexpr std::uint8_t kSpread[16] = {
      0, 0x80, 0x80, 0x80, 1, 0x80, 0x80, 0x80, 2, 0x80, 0x80, 0x80, 3, 0x80, 0x80, 0x80};
  const auto word = hn::BitCast(bytes, hn::Set(U32(), loadWord<channels>(pixel)));
  const auto spread = hn::TableLookupBytesOr0(word, hn::Load(bytes, kSpread));
  return hn::ConvertTo(F32(), hn::BitCast(I32(), spread));
}

template <int channels>
HWY_INLINE void store(Channels value, std::uint8_t* pixel) {
  HWY_ALIGN std::uint8_t bytes[4];
  hn::Store(hn::DemoteTo(U8(), hn::ConvertTo(I32(), value)), U8(), bytes);
  std::memcpy(pixel, bytes, channels);
}

HWY_INLINE Channels interpolate(Channels a, Channels b, Channels weightB) {
  return hn::Add(a, hn::Mul(weightB, hn::Sub(b, a)));
}

template <int channels>
HWY_INLINE void remapPixel(const ConstImage& source, float x, float y, std::uint8_t* target) {
  if (!(isInside(x, source.width) && isInside(y, source.height))) {
    std::memset(target, 0, channels);
    return;
  }
  const Neighbours nx = neighboursOf(x, source.width);
  const Neighbours ny = neighboursOf(y, source.height);
  const std::uint8_t* const upper = source.pixels + ny.i0 * source.stride;
  const std::uint8_t* const lower = source.pixels + ny.i1 * source.stride;
  const std::ptrdiff_t left = std::ptrdiff_t{channels} * nx.i0;
  const std::ptrdiff_t right = std::ptrdiff_t{channels} * nx.i1;
  const Channels weightRight = hn::Set(F32(), nx.weight1);
  const Channels above =
      interpolate(load<channels>(upper + left), load<channels>(upper + right), weightRight);
  const Channels below =
      interpolate(load<channels>(lower + left), load<channels>(lower + right), weightRight);
  const Channels value = interpolate(above, below, hn::Set(F32(), ny.weight1));
  store<channels>(hn::Add(value, hn::Set(F32(), 0.5F)), target);
}

template <int channels>
HWY_INLINE void remapRow(const ConstImage& source, const float* x, const float* y,
                         std::uint8_t* target, int count) {
  for (int u = 0; u < count; ++u) {
    remapPixel<channels>(source, x[u], y[u], target + std::ptrdiff_t{channels} * u);
  }
}

void remapColourRowSimd(const ConstImage& image, int channels, const float* x, const float* y,
                        std::uint8_t* target, int count) {
  const ConstImage source = image;  // a copy, so that stores to the target cannot change it
  if (channels == 3) return remapRow<3>(source, x, y, target, count);
  remapRow<4>(source, x, y, target, count);
}

#endif

}  // namespace kel::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel {

HWY_EXPORT(remapColourRowSimd);

void remapColourRow(const ConstImage& source, int channels, const float* x, const float* y,
                    std::uint8_t* target, int count) {
  HWY_DYNAMIC_DISPATCH(remapColourRowSimd)(source, channels, x, y, target, count);
}

}  // namespace kel
#endif
