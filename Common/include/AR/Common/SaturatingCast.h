#pragma once

#include <cmath>
#include <concepts>
#include <limits>

namespace AR::Common {

/// The one place where a real number becomes an integer: truncated towards zero; below or above
/// what `Int` holds its least or greatest value, and 0 for NaN.
template <std::integral Int, std::floating_point F>
[[nodiscard]] Int saturatingCast(F value) {
  using Limits = std::numeric_limits<Int>;
  // The greatest value itself may round up to the next power of two; this power is exact.
  constexpr Int kHalfPastMax = Limits::max() / 2 + 1;
  constexpr F kPastMax = static_cast<F>(kHalfPastMax) * 2;
  if (value >= kPastMax) return Limits::max();
  if (value <= static_cast<F>(Limits::min())) return Limits::min();
  return std::isnan(value) ? Int(0) : static_cast<Int>(value);
}

}  // namespace AR::Common
