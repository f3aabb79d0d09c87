#include "VIO/Gains.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "maps/Gains.cpp"
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
HWY_EXPORT(applyGainsSimd);

void applyGainsScalar(std::uint8_t* pixels, const float* gains, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) pixels[i] = corrected(pixels[i], gains[i]);
}

void applyGains(std::uint8_t* pixels, const float* gains, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(applyGainsSimd)(pixels, gains, count);
}

void writeVignettingRow(int y, int width, float* gains) {
  constexpr float kInvRadius2 = 6.25e-06F;  // of 400 pixels
  constexpr float a = -1.2782925F;
  constexpr float b = 1.0701685F;
  constexpr float c = -0.310786F;
  const float dy = static_cast<float>(y) - 240.0F;
  for (int x = 0; x < width; ++x) {
    const float dx = static_cast<float>(x) - 320.0F;
    const float s = (dy * dy + dx * dx) * kInvRadius2;
    const float g = 1.0F + a * s + b * s * s + c * s * s * s;
    gains[x] = std::clamp(1.0F / g, 0.0F, 255.0F);
  }
}

}  // namespace VIO
#endif
