#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>

#include "AR/Common/Macros.h"

namespace AR::Common {

/// One failed check. Texts that are too long are cut; both are zero-terminated.
struct FailedCheckRecord {
  char expression[kCheckTextSize];
  char source[96];  // module-relative path of the code
  std::int32_t line;
};

/// How many failed checks a thread remembers.
inline constexpr std::size_t kFailedChecksKept = 16;

/// How many checks failed on the calling thread since it started. Counts at every log level, 0
/// too, and never goes back. Code inside the library compares two readings.
[[nodiscard]] std::uint64_t failedCheckCount() noexcept;

/// Counts and remembers one failed check of the calling thread. The texts are copied.
void recordFailedCheck(const char* expression, const char* source, int line) noexcept;

// What a caller of the library may ask of its thread.

/// How many checks failed since the last reset.
[[nodiscard]] std::uint64_t failedChecksSinceReset() noexcept;
/// Copies the last failed checks since the last reset, the latest first; returns their number.
std::size_t copyFailedChecks(FailedCheckRecord* checks, std::size_t capacity) noexcept;
void resetFailedChecks() noexcept;

/// Carries the failed checks of worker threads to the thread that waits for them.
class FailedCheckHandOver {
 public:
  /// On a worker: takes what failed there since its count was `countBefore`.
  void take(std::uint64_t countBefore) noexcept;
  /// On the waiting thread, when no worker takes any more: makes all that its own.
  void give() noexcept;

 private:
  std::mutex mMutex;
  std::uint64_t mCount = 0;
  std::size_t mKept = 0;
  std::array<FailedCheckRecord, kFailedChecksKept> mRecords;  // the latest of each worker last
};

}  // namespace AR::Common
