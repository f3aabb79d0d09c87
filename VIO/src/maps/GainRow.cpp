#include "maps/GainRow.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "maps/GainRow.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace VIO::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

void applyGainsSimd(std::uint8_t* pixels, const float* gains, std::size_t count) {
  applyGainsScalar(pixels, gains, count);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

void applyGainsSimd(std::uint8_t* pixels, const float* gains, std::size_t count) {
  const hn::ScalableTag<float> f32;
  const hn::RebindToSigned<decltype(f32)> i32;
  const hn::Rebind<std::uint8_t, decltype(f32)> u8;
  const std::size_t group = hn::Lanes(f32);
  std::size_t i = 0;
  for (; count - i >= group; i += group) {
    const auto pixel = hn::ConvertTo(f32, hn::PromoteTo(i32, hn::LoadU(u8, pixels + i)));
    const auto value = hn::Mul(hn::LoadU(f32, gains + i), pixel);
    const auto positive = hn::IfThenElseZero(hn::Gt(value, hn::Zero(f32)), value);
    const auto clamped = hn::Min(positive, hn::Set(f32, 255.0F));
    hn::StoreU(hn::DemoteTo(u8, hn::ConvertTo(i32, clamped)), u8, pixels + i);
  }
  applyGainsScalar(pixels + i, gains + i, count - i);
}

#endif

}  // namespace VIO::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace VIO {
namespace {

std::uint8_t corrected(std::uint8_t pixel, float gain) {
  const float value = gain * static_cast<float>(pixel);
  if (!(value > 0)) return 0;
  return value < 255 ? static_cast<std::uint8_t>(value) : std::uint8_t{255};
}

}  // namespace

HWY_EXPORT(applyGainsSimd);

void applyGainsScalar(std::uint8_t* pixels, const float* gains, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) pixels[i] = corrected(pixels[i], gains[i]);
}

void applyGains(std::uint8_t* pixels, const float* gains, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(applyGainsSimd)(pixels, gains, count);
}

}  // namespace VIO
#endif
