// What the rest of the library reports through: failed checks, full containers, plain strings.

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string_view>

#include "AR/Common/FailedChecks.h"
#include "AR/PL/StandardError.h"
#include "LoggerState.h"

namespace AR::Common {
namespace {

constexpr char kSource[] = "Common/src/Logger";
/// Log readers know the reporter by this line number.
constexpr int kReporterLine = 724;

bool isLoggable(const int level) { return level >= Logger::ERR && level <= Logger::VERBOSE; }

}  // namespace

void logError(const char* expression, const char* file, const char* function,
              const int line) noexcept {
  recordFailedCheck(expression, file, line);  // at every level: callers judge a call by the count
  Logger& logger = Logger::getInstance();
  if (logger.getLevel() < Logger::ERR) return;
  logger.logEx2(Logger::ERR, kSource, __PRETTY_FUNCTION__, kReporterLine, "AR",
                "AR_ASSERT %s %s(%d) %.100s", textOf(expression), textOf(file), line,
                textOf(function));
}

void logFatal(const char* expression, const char* file, const char* function,
              const int line) noexcept {
  lastLineTaken() = false;
  logError(expression, file, function, line);
  if (!lastLineTaken()) {
    char text[sizeof LineBuffers::line];
    std::snprintf(text, sizeof text, "AR ERROR: AR_ASSERT %s %s(%d) %.100s\n", textOf(expression),
                  textOf(file), line, textOf(function));
    PL::writeStandardError(text);
  }
  std::abort();
}

void logError(const std::size_t currentSize, const std::size_t maxSize, const char* typeName,
              const std::size_t itemBytes) noexcept {
  recordFailedCheck("push_back: full", typeName, 0);
  AR_LOGF(Logger::ERR, kSource, "push_back: current_size=%zu, MAX_SIZE=%d. %zub, %s", currentSize,
          static_cast<int>(std::min<std::size_t>(maxSize, INT_MAX)), itemBytes, textOf(typeName));
}

void logOnelineString(const std::string& string, const int level) {
  AR_CHECK(string.length() <= MAX_LOG_LINE_LEN, "string.length() <= MAX_LOG_LINE_LEN", kSource);
  if (isLoggable(level)) {
    AR_LOG(level, kSource, string.c_str());
  } else {
    AR_LOGF(Logger::ERR, kSource, "Unsupported log level %d message %s", level, string.c_str());
  }
}

void logMultilineString(const std::string& string, const int level) {
  std::string_view rest = string;
  while (!rest.empty()) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    try {
      logOnelineString(std::string(line), level);
    } catch (const std::bad_alloc&) {
      ++loggerState().lostLines;
    }
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
  }
}

}  // namespace AR::Common
