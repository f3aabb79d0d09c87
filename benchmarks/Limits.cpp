#include "Limits.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Limits.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rectiline::bench::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

void storeBoth(float value, float* X, float* Y, std::size_t count) {
  const hn::ScalableTag<float> d;
  const auto v = hn::Set(d, value);
  std::size_t i = 0;
  for (; i + hn::Lanes(d) <= count; i += hn::Lanes(d)) {
    hn::StoreU(v, d, X + i);
    hn::StoreU(v, d, Y + i);
  }
  for (; i < count; ++i) X[i] = Y[i] = value;
}

/// Whole vectors only: the few elements left over do not count.
std::uint32_t readBoth(const float* X, const float* Y, std::size_t count) {
  const hn::ScalableTag<float> d;
  const hn::RebindToUnsigned<decltype(d)> du;
  auto digest = hn::Zero(du);
  for (std::size_t i = 0; i + hn::Lanes(d) <= count; i += hn::Lanes(d)) {
    const auto x = hn::BitCast(du, hn::LoadU(d, X + i));
    const auto y = hn::BitCast(du, hn::LoadU(d, Y + i));
    digest = hn::Xor(digest, hn::Xor(x, y));
  }
  return hn::GetLane(digest);
}

}  // namespace rectiline::bench::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rectiline::bench {

HWY_EXPORT(storeBoth);
HWY_EXPORT(readBoth);

void storePlanes(float value, float* X, float* Y, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(storeBoth)(value, X, Y, count);
}

std::uint32_t readMapsAndCopy(const float* mapX, const float* mapY, std::size_t count,
                              const std::uint8_t* source, std::uint8_t* target, std::size_t bytes) {
  std::memcpy(target, source, bytes);
  return HWY_DYNAMIC_DISPATCH(readBoth)(mapX, mapY, count);
}

}  // namespace rectiline::bench
#endif
