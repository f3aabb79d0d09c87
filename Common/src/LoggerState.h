#pragma once

#include <atomic>
#include <cstdint>

#include "AR/Common/LogFilter.h"
#include "AR/Common/LogTarget.h"
#include "AR/Common/Logger.h"
#include "AR/Common/Mutex.h"
#include "AR/Common/OS.h"
#include "AR/Common/Path.h"
#include "AR/Common/Vector.h"
#include "LogFormat.h"

// What the logger keeps. Private to it.

namespace AR::Common {

/// How many lines of one thread may be in the making at once, each within the one before: a line,
/// a target that logs, and a failed check inside the formatting of that, with one to spare. Each
/// needs buffers of its own, which must be there before, since logging allocates nothing.
inline constexpr int kMaxLogNesting = 4;

struct LineBuffers {
  char line[2048];    ///< The final text.
  char format[1024];  ///< The expanded line template.
};

struct LoggerPIMPL {
  Path path;
  OS::FileHandle file = nullptr;
  bool closeAfterWrite = false;
  Vector<LogTarget*, VectorGrowDoubling<16>> targets;
  LineBuffers buffers[kMaxLogNesting];
  // Atomic for the exit only: it turns them off while other threads may still log.
  std::atomic<Logger::LEVEL> level{Logger::DEBUG};
  std::atomic<bool> alive{true};
  std::atomic<std::uint64_t> lostLines{0};
  Logger::LEVEL fastTraceLevel = Logger::OFF;
  unsigned flags = Logger::kFlagConsole | Logger::kFlagLevelPrefix;
  FormatFunction formatFunction = nullptr;
  FormatFunction shortFormatFunction = nullptr;
  Mutex mutex;
  LogFilter filter{Logger::DEBUG};

  void selectFormatFunctions();
  bool accepts(Logger::LEVEL messageLevel, const char* function, const StringPortion& method) const;
  bool tryWriteToFile(const char* text, unsigned length);
  void callTargets(const char* line);
};

/// The logger's state. It lies in the library's own memory: nothing is allocated when logging
/// begins, and nothing is left when the library is unloaded.
LoggerPIMPL& loggerState();

/// Whether the log file or the system log took the calling thread's last line. May be set to false
/// before a line, in case that is dropped.
bool& lastLineTaken();

/// Holds the logger for the calling thread, which may hold it already.
class LoggerLock {
 public:
  explicit LoggerLock(LoggerPIMPL& logger) : mLogger(logger) { acquire(logger); }
  ~LoggerLock() { release(mLogger); }
  LoggerLock(const LoggerLock&) = delete;
  LoggerLock& operator=(const LoggerLock&) = delete;

  /// The same where no scope can hold it: around a fork, from one handler to the next.
  static void acquire(LoggerPIMPL& logger);
  static void release(LoggerPIMPL& logger);
  /// In a forked child, in the place of release: the mutex knows the parent's thread, which is
  /// another than the child's.
  static void releaseInChild(LoggerPIMPL& logger);

  /// How many locks the calling thread holds, this one included. Not 0 within a log target.
  [[nodiscard]] static int nesting();

 private:
  LoggerPIMPL& mLogger;
};

}  // namespace AR::Common
