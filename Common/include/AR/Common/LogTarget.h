#pragma once

namespace AR::Common {

/// An extra sink for log lines, registered with Logger::addTarget.
class LogTarget {
 public:
  LogTarget() = default;
  LogTarget(const LogTarget&) = delete;
  LogTarget& operator=(const LogTarget&) = delete;
  virtual ~LogTarget() = default;

  /// Receives one finished, zero-terminated line, which is valid during the call only. Runs on the
  /// thread that logs, which may be one of the library's workers, with the logger locked. It may
  /// log itself: such a line is written before this call returns, and dropped beyond a small
  /// nesting depth. It may call anything of the library, which then does all its work on this
  /// thread, since a worker that logs would wait for the logger. It may remove itself or others
  /// from the logger, but must not wait for another thread that logs. An exception is swallowed.
  virtual void logLine(const char* line) = 0;
};

}  // namespace AR::Common
