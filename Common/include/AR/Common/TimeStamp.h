#pragma once

#include <cmath>
#include <compare>
#include <cstdint>
#include <limits>

#include "AR/Common/SaturatingCast.h"
#include "AR/PL/Time.h"

namespace AR::Common {

/// A point in time or a span of it, kept in whole nanoseconds.
class TimeStamp {
 public:
  constexpr TimeStamp() = default;

  /// The time since the library was loaded.
  static TimeStamp now() { return fromNanoSeconds(arTimeGetNanoSeconds()); }

  /// Counts past the greatest signed 64-bit number are taken for that number.
  static constexpr TimeStamp fromNanoSeconds(std::uint64_t nanoSeconds) {
    constexpr std::uint64_t kMax = std::numeric_limits<std::int64_t>::max();
    return TimeStamp(static_cast<std::int64_t>(nanoSeconds < kMax ? nanoSeconds : kMax));
  }

  /// Rounds to the nearest nanosecond; saturates, and takes NaN for 0.
  static TimeStamp fromSeconds(double seconds) {
    double whole = 0;
    const double part = std::modf(seconds, &whole);  // apart, each product is exact for longer
    return TimeStamp(saturatingCast<std::int64_t>(whole * 1e9 + std::round(part * 1e9)));
  }

  [[nodiscard]] constexpr double seconds() const { return static_cast<double>(mNanoSeconds) / 1e9; }
  [[nodiscard]] constexpr std::int64_t nanoSeconds() const { return mNanoSeconds; }

  constexpr auto operator<=>(const TimeStamp&) const = default;

 private:
  explicit constexpr TimeStamp(std::int64_t nanoSeconds) : mNanoSeconds(nanoSeconds) {}

  std::int64_t mNanoSeconds = 0;
};

}  // namespace AR::Common
