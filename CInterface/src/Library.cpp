// What concerns the library as a whole: status texts, version, log, failed checks.

#include <algorithm>
#include <array>
#include <iterator>

#include "AR/Common/FailedChecks.h"
#include "AR/Common/Logger.h"
#include "Boundary.h"
#include "Structs.h"
#include "rectiline/rectiline.h"

namespace {

using namespace rectiline::capi;
using AR::Common::FailedCheckRecord;
using AR::Common::Logger;

constexpr const char* kStatusTexts[] = {
    "success",
    "an argument is not what it must be",
    "a camera's calibration cannot be used",
    "both cameras are at the same place",
    "the cameras cannot be rectified as asked",
    "not enough memory",
    "a rig file cannot be used",
    "a fault of the library",
};
static_assert(std::size(kStatusTexts) == RECTILINE_INTERNAL_ERROR + 1);

rectiline_failed_check toInterface(const FailedCheckRecord& record) {
  rectiline_failed_check check{};
  check.line = record.line;
  setText(check.source, record.source);
  setText(check.expression, record.expression);
  return check;
}

std::size_t copyChecks(rectiline_failed_check* checks, std::size_t capacity) {
  std::array<FailedCheckRecord, AR::Common::kFailedChecksKept> records;
  const std::size_t wanted = std::min(capacity, records.size());
  const std::size_t n = AR::Common::copyFailedChecks(records.data(), wanted);
  std::transform(records.begin(), records.begin() + static_cast<std::ptrdiff_t>(n), checks,
                 toInterface);
  return n;
}

}  // namespace

const char* rectiline_status_text(std::int32_t status) {
  const bool known = status >= 0 && status < static_cast<std::int32_t>(std::size(kStatusTexts));
  return known ? kStatusTexts[status] : "an unknown status";
}

const char* rectiline_version(void) { return RECTILINE_VERSION; }

std::int32_t rectiline_failed_checks(rectiline_failed_check* checks, std::size_t capacity,
                                     std::size_t* written, std::uint64_t* count) {
  return guarded([&] {
    if (capacity > 0) requirePointer(checks, "checks");
    const std::size_t n = capacity > 0 ? copyChecks(checks, capacity) : 0;
    if (written != nullptr) *written = n;
    if (count != nullptr) *count = AR::Common::failedChecksSinceReset();
  });
}

void rectiline_reset_failed_checks(void) { AR::Common::resetFailedChecks(); }

std::int32_t rectiline_set_log(std::int32_t level, std::int32_t console) {
  return guarded([&] {
    if (level < Logger::OFF || level > Logger::VERBOSE) {
      refuseArgument("level", level, "is %d; it must be from 0 (nothing) to 5 (everything)", level);
    }
    Logger& logger = Logger::getInstance();
    logger.setLevel(static_cast<Logger::LEVEL>(level));
    logger.setFlag(Logger::kFlagConsole, console != 0);
  });
}
