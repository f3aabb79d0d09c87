// From interpolated values to grey levels.

#if defined(RECTILINE_PLAN_FINISH_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RECTILINE_PLAN_FINISH_INL_H_
#undef RECTILINE_PLAN_FINISH_INL_H_
#else
#define RECTILINE_PLAN_FINISH_INL_H_
#endif

#include <hwy/highway.h>

#include "plan/Arithmetic.h"
#include "plan/PlanContent.h"

HWY_BEFORE_NAMESPACE();
namespace kel::plan::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Values in 128ths of a level to grey levels, each times its gain where there are any.
template <bool hasGains, class I16, class Values, class Gains>
HWY_INLINE hn::Vec<hn::Rebind<std::uint8_t, I16>> toBytes(I16 i16, Values values,
                                                          [[maybe_unused]] Gains gains,
                                                          [[maybe_unused]] int gainShift) {
  const hn::RebindToUnsigned<I16> u16;
  const hn::Rebind<std::uint8_t, I16> u8;
  if constexpr (hasGains) {
    const auto positive = hn::Add(values, hn::Set(i16, kMiddle * kLevel));
    const auto twice = hn::BitCast(u16, hn::Add(positive, positive));
    const auto product = hn::MulHigh(twice, gains);
    const auto level = hn::ShiftRightSame(product, gainShift - 8);
    return hn::DemoteTo(u8, hn::BitCast(i16, hn::Min(level, hn::Set(u16, 255))));
  } else {
    const hn::Rebind<std::int8_t, I16> i8;
    const auto level = hn::MulFixedPoint15(values, hn::Set(i16, 256));  // rounds off 7 bits
    const auto middle = hn::Set(u8, static_cast<std::uint8_t>(kMiddle));
    return hn::Xor(hn::BitCast(u8, hn::DemoteTo(i8, level)), middle);
  }
}

}  // namespace kel::plan::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
