#include "AR/Common/FailedChecks.h"

#include <algorithm>
#include <cstdio>
#include <type_traits>

namespace AR::Common {
namespace {

/// What a thread remembers of the checks that failed on it. No code begins or ends it, so that it
/// is there for the destructors of other thread-local and static objects too.
struct ThreadRecord {
  std::uint64_t count = 0;
  std::uint64_t countAtReset = 0;
  std::uint64_t kept = 0;  // remembered since the last reset, at most ring.size() of them still
  std::array<FailedCheckRecord, kFailedChecksKept> ring{};

  void remember(const FailedCheckRecord& check) { ring[slot(kept++)] = check; }
  [[nodiscard]] std::size_t available() const {
    return static_cast<std::size_t>(std::min<std::uint64_t>(kept, ring.size()));
  }
  /// The n-th last one, n below available().
  [[nodiscard]] const FailedCheckRecord& latest(std::size_t n) const {
    return ring[slot(kept - 1 - n)];
  }

 private:
  static std::size_t slot(std::uint64_t n) {
    return static_cast<std::size_t>(n % kFailedChecksKept);
  }
};

constinit thread_local ThreadRecord tRecord;
static_assert(std::is_trivially_destructible_v<ThreadRecord>);

void copyText(char* target, std::size_t size, const char* text) {
  std::snprintf(target, size, "%s", text == nullptr ? "" : text);
}

}  // namespace

std::uint64_t failedCheckCount() noexcept { return tRecord.count; }

void recordFailedCheck(const char* expression, const char* source, int line) noexcept {
  FailedCheckRecord check;
  copyText(check.expression, sizeof check.expression, expression);
  copyText(check.source, sizeof check.source, source);
  check.line = line;
  tRecord.remember(check);
  ++tRecord.count;
}

std::uint64_t failedChecksSinceReset() noexcept { return tRecord.count - tRecord.countAtReset; }

std::size_t copyFailedChecks(FailedCheckRecord* checks, std::size_t capacity) noexcept {
  const std::size_t n = std::min(capacity, tRecord.available());
  for (std::size_t i = 0; i < n; ++i) checks[i] = tRecord.latest(i);
  return n;
}

void resetFailedChecks() noexcept {
  tRecord.countAtReset = tRecord.count;
  tRecord.kept = 0;
}

void FailedCheckHandOver::take(std::uint64_t countBefore) noexcept {
  const std::uint64_t failed = tRecord.count - countBefore;
  if (failed == 0) return;
  const std::lock_guard<std::mutex> lock(mMutex);
  mCount += failed;
  // The first workers' records stay when there is no more room: the first failure is most often
  // the one that explains the others.
  const std::size_t room = mRecords.size() - mKept;
  const std::size_t n = static_cast<std::size_t>(
      std::min<std::uint64_t>(failed, std::min(room, tRecord.available())));
  for (std::size_t i = n; i > 0; --i) mRecords[mKept++] = tRecord.latest(i - 1);
}

void FailedCheckHandOver::give() noexcept {
  for (std::size_t i = 0; i < mKept; ++i) tRecord.remember(mRecords[i]);
  tRecord.count += mCount;
}

}  // namespace AR::Common
