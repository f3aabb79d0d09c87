// The failed checks of the calling thread, for callers of the library.

#include <algorithm>
#include <array>

#include "AR/Common/FailedChecks.h"
#include "VIO/MapQuality.h"

static_assert(sizeof(FailedCheck) == sizeof(AR::Common::FailedCheckRecord));

std::uint64_t GetFailedCheckCount() { return AR::Common::failedChecksSinceReset(); }

std::uint32_t GetFailedChecks(FailedCheck* checks, std::uint32_t capacity) {
  if (checks == nullptr) return 0;
  std::array<AR::Common::FailedCheckRecord, AR::Common::kFailedChecksKept> records;
  const std::size_t wanted = std::min<std::size_t>(capacity, records.size());
  const std::size_t n = AR::Common::copyFailedChecks(records.data(), wanted);
  for (std::size_t i = 0; i < n; ++i) {
    std::copy(std::begin(records[i].expression), std::end(records[i].expression),
              checks[i].expression);
    std::copy(std::begin(records[i].source), std::end(records[i].source), checks[i].source);
    checks[i].line = records[i].line;
  }
  return static_cast<std::uint32_t>(n);
}

void ResetFailedChecks() { AR::Common::resetFailedChecks(); }
