#pragma once

#include <cstdint>

#include "AR/PL/Export.h"

/// A point on the system's steady clock. One step is one nanosecond.
using ARTimestamp = std::uint64_t;

/// The local date and time: calendar year, month 1 to 12, day 1 to 31. Any pointer may be null.
/// Fails with AR_ERROR_NO_LOCAL_TIME.
AR_PL_EXPORT int arTimeGetLocalTime(unsigned* year, unsigned* month, unsigned* day, unsigned* hour,
                                    unsigned* minute, unsigned* second);

/// The same for Greenwich.
AR_PL_EXPORT int arTimeGetGMTDateTime(unsigned* year, unsigned* month, unsigned* day,
                                      unsigned* hour, unsigned* minute, unsigned* second);

/// How many seconds local time is ahead of Greenwich, east positive, summer time included. Fails
/// with AR_ERROR_NO_LOCAL_TIME.
AR_PL_EXPORT int arTimeGetTimeZone(int* secondsEast);

/// Now.
[[nodiscard]] AR_PL_EXPORT ARTimestamp arTimeGetTimestamp();

/// When the library was loaded.
[[nodiscard]] AR_PL_EXPORT ARTimestamp arTimeGetLoadTimestamp();

/// The time since the library was loaded.
[[nodiscard]] AR_PL_EXPORT double arTimeGetSeconds();
[[nodiscard]] AR_PL_EXPORT std::uint64_t arTimeGetNanoSeconds();

[[nodiscard]] AR_PL_EXPORT double arTimeTimestampToSeconds(ARTimestamp timestamp);
[[nodiscard]] AR_PL_EXPORT std::uint64_t arTimeTimestampToNanoSeconds(ARTimestamp timestamp);
[[nodiscard]] AR_PL_EXPORT ARTimestamp arTimeNanoSecondsToTimestamp(std::uint64_t nanoSeconds);

/// Rounded to the nearest step; saturates, and takes NaN for 0.
[[nodiscard]] AR_PL_EXPORT ARTimestamp arTimeSecondsToTimestamp(double seconds);
