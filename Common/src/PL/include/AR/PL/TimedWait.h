#pragma once

#include <ctime>

namespace AR::PL {

/// The point of the clock `milliseconds` after `now`, its nanoseconds below one second. Seconds
/// past the end of time_t are taken for that end.
[[nodiscard]] std::timespec deadlineAfter(std::timespec now, unsigned milliseconds);

/// What arThreadCondTimedWait makes of the wait's POSIX result: 0 for 0, otherwise -1 with the
/// error code set and, unless the time ran out, a message.
int timedWaitResult(int posixError);

}  // namespace AR::PL
