#include <cmath>
#include <ctime>

#include "AR/PL/Error.h"
#include "AR/PL/Log.h"
#include "AR/PL/Time.h"
#include "PL_Android_Failure.h"

namespace {

constexpr std::uint64_t kNanosPerSecond = 1'000'000'000;

int failNoLocalTime() {
  arSetError(AR_ERROR_NO_LOCAL_TIME);
  arLogMessage(1, "AR", "Failed to retrieve local time");
  return -1;
}

void store(unsigned* place, int value) {
  if (place != nullptr) *place = static_cast<unsigned>(value);
}

// localtime_r need not look at the time zone anew (POSIX demands it of localtime only), and one
// that changes while the process runs would go unseen.
std::tm* toLocalTime(const std::time_t* time, std::tm* fields) {
  tzset();
  return localtime_r(time, fields);
}

/// What both date functions do; `convert` is the one of libc for the zone in question.
int getDateTime(std::tm* (*convert)(const std::time_t*, std::tm*), unsigned* year, unsigned* month,
                unsigned* day, unsigned* hour, unsigned* minute, unsigned* second) {
  const std::time_t now = std::time(nullptr);
  std::tm fields{};
  if (convert(&now, &fields) == nullptr) return failNoLocalTime();
  store(year, fields.tm_year + 1900);
  store(month, fields.tm_mon + 1);
  store(day, fields.tm_mday);
  store(hour, fields.tm_hour);
  store(minute, fields.tm_min);
  store(second, fields.tm_sec);
  return 0;
}

// Read while the library is loaded, whether anybody asks for the time or not.
const ARTimestamp gLoadTimestamp = arTimeGetTimestamp();

}  // namespace

int arTimeGetLocalTime(unsigned* year, unsigned* month, unsigned* day, unsigned* hour,
                       unsigned* minute, unsigned* second) {
  return getDateTime(toLocalTime, year, month, day, hour, minute, second);
}

int arTimeGetGMTDateTime(unsigned* year, unsigned* month, unsigned* day, unsigned* hour,
                         unsigned* minute, unsigned* second) {
  return getDateTime(gmtime_r, year, month, day, hour, minute, second);
}

int arTimeGetTimeZone(int* secondsEast) {
  if (secondsEast == nullptr) return AR::PL::failInvalid(__func__);
  const std::time_t now = std::time(nullptr);
  std::tm fields{};
  if (toLocalTime(&now, &fields) == nullptr) return failNoLocalTime();
  *secondsEast = static_cast<int>(fields.tm_gmtoff);
  return 0;
}

ARTimestamp arTimeGetTimestamp() {
  std::timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);  // the wall clock may be set back
  return static_cast<std::uint64_t>(now.tv_sec) * kNanosPerSecond +
         static_cast<std::uint64_t>(now.tv_nsec);
}

ARTimestamp arTimeGetLoadTimestamp() { return gLoadTimestamp; }

double arTimeGetSeconds() { return arTimeTimestampToSeconds(arTimeGetNanoSeconds()); }

std::uint64_t arTimeGetNanoSeconds() { return arTimeGetTimestamp() - gLoadTimestamp; }

double arTimeTimestampToSeconds(ARTimestamp timestamp) {
  return static_cast<double>(timestamp) / static_cast<double>(kNanosPerSecond);
}

std::uint64_t arTimeTimestampToNanoSeconds(ARTimestamp timestamp) { return timestamp; }

ARTimestamp arTimeNanoSecondsToTimestamp(std::uint64_t nanoSeconds) { return nanoSeconds; }

ARTimestamp arTimeSecondsToTimestamp(double seconds) {
  constexpr double kStepsPerSecond = static_cast<double>(kNanosPerSecond);
  double whole = 0;
  const double part = std::modf(seconds, &whole);  // apart, each product is exact for longer
  const double steps = whole * kStepsPerSecond + std::round(part * kStepsPerSecond);
  if (steps >= 0x1p64) return UINT64_MAX;
  return steps > 0 ? static_cast<ARTimestamp>(steps) : 0;
}
