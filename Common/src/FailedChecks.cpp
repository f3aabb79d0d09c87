#include "AR/Common/FailedChecks.h"

namespace AR::Common {
namespace {

/// What a thread remembers of the checks that failed on it.
struct ThreadRecord {
  std::uint64_t count = 0;
};

thread_local ThreadRecord tRecord;

}  // namespace

std::uint64_t failedCheckCount() noexcept { return tRecord.count; }

void addFailedChecks(const std::uint64_t n) noexcept { tRecord.count += n; }

}  // namespace AR::Common
