#pragma once

#include <cmath>
#include <concepts>
#include <cstddef>

#include "AR/Math/Vector.h"

namespace AR::Math {

namespace internal {

/// Single-precision limits in both precisions, so that both judge a number alike.
template <std::floating_point P>
inline constexpr P kLargestGoodNum = P(1e15F);
template <std::floating_point P>
inline constexpr P kSmallestGoodNum = P(1e-30F);

void logBadNum(double x);
void logBadElement(size_t index);

}  // namespace internal

/// True when `x` can be an ordinary value: not NaN, of magnitude at most 1e15, and, unless
/// `allowTiny`, either 0 or of magnitude at least 1e-30. A bad value is logged at ERROR.
template <std::floating_point P>
bool isGoodNum(P x, bool allowTiny = false) {
  const P size = std::fabs(x);
  const bool largeEnough = allowTiny || size == 0 || size >= internal::kSmallestGoodNum<P>;
  if (size <= internal::kLargestGoodNum<P> && largeEnough) return true;
  internal::logBadNum(static_cast<double>(x));
  return false;
}

/// True when every element is good by `isGoodNum`. The first bad one is logged, then its index.
template <AnyVector V>
bool isGoodVector(const V& v, bool allowTiny = false) {
  for (size_t i = 0; i < v.size(); ++i) {
    if (!isGoodNum(v(i), allowTiny)) {
      internal::logBadElement(i);
      return false;
    }
  }
  return true;
}

}  // namespace AR::Math
