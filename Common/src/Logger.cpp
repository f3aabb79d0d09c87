#include "AR/Common/Logger.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "AR/PL/Log.h"
#include "ForkHandlers.h"
#include "LoggerState.h"

namespace AR::Common {
namespace {

constexpr char kSource[] = "Common/src/Logger";

/// How many locks of the logger the calling thread holds. Only the first of them locks.
thread_local int tNesting = 0;

thread_local bool tLineTaken = false;

/// While the library is loaded, so that there is no first use for a fork to come before.
[[maybe_unused]] const bool kForksAreSafe = registerForkHandlers();

}  // namespace

bool& lastLineTaken() { return tLineTaken; }

void LoggerLock::acquire(LoggerPIMPL& logger) {
  if (tNesting++ == 0) logger.mutex.lock();
}

void LoggerLock::release(LoggerPIMPL& logger) {
  if (--tNesting == 0) logger.mutex.unlock();
}

void LoggerLock::releaseInChild(LoggerPIMPL& logger) {
  new (&logger.mutex) Mutex;
  logger.mutex.lock();
  release(logger);
}

int LoggerLock::nesting() { return tNesting; }

void LoggerPIMPL::selectFormatFunctions() {
  formatFunction = formatFunctionFor(flags);
  shortFormatFunction = shortFormatFunctionFor(flags);
}

bool LoggerPIMPL::tryWriteToFile(const char* text, const unsigned length) {
  const bool written = OS::write(file, text, length);
  const bool closed = !closeAfterWrite || OS::close(file);
  return written && closed;
}

void LoggerPIMPL::callTargets(const char* line) {
  std::size_t i = 0;
  // No more calls than there were targets, whatever they do to the list.
  for (std::size_t left = targets.size(); left > 0 && i < targets.size(); --left) {
    LogTarget* const target = targets[i];
    try {
      target->logLine(line);
    } catch (...) {  // logging never throws
    }
    // A removed target has left its place to the next one.
    if (i < targets.size() && targets[i] == target) ++i;
  }
}

LoggerPIMPL& loggerState() {
  // Never destroyed: a thread that logs during the exit may still stand at the mutex. The exit
  // handler gives back what the logger holds and turns it off.
  alignas(LoggerPIMPL) static std::byte storage[sizeof(LoggerPIMPL)];
  static LoggerPIMPL& state = *new (storage) LoggerPIMPL;
  return state;
}

Logger& Logger::getInstance() {
  alignas(Logger) static std::byte storage[sizeof(Logger)];
  static Logger* const instance = [] {
    Logger* const logger = new (storage) Logger;
    std::atexit([] { getInstance().shutDown(); });
    return logger;
  }();
  return *instance;
}

Logger::Logger() : pimpl(&loggerState()) {
  pimpl->selectFormatFunctions();
  AR_CHECK(pimpl->formatFunction != nullptr, "pimpl->formatFunction != nullptr", kSource);
  AR_CHECK(pimpl->shortFormatFunction != nullptr, "pimpl->shortFormatFunction != nullptr", kSource);
}

void Logger::shutDown() {
  const LoggerLock lock(*pimpl);
  pimpl->alive = false;
  pimpl->level = OFF;
  closeFile();
  pimpl->path = Path();
  pimpl->targets = {};
  pimpl->filter = LogFilter(OFF);
}

void Logger::setLevel(const LEVEL level) {
  if (!pimpl->alive) return;
  pimpl->level = level;
  pimpl->filter.setFilterLevel(nullptr, level, LogFilter::KEEP_EXISTING);
}

Logger::LEVEL Logger::getLevel() const { return pimpl->level.load(std::memory_order_relaxed); }

void Logger::setFlag(const unsigned flag, const bool on) {
  if (!pimpl->alive) return;
  pimpl->flags = on ? pimpl->flags | flag : pimpl->flags & ~flag;
  pimpl->selectFormatFunctions();
  AR_CHECK(pimpl->formatFunction != nullptr, "pimpl->formatFunction != nullptr", kSource);
  AR_CHECK(pimpl->shortFormatFunction != nullptr, "pimpl->shortFormatFunction != nullptr", kSource);
}

bool Logger::getFlag(const unsigned flag) const { return (pimpl->flags & flag) != 0; }

void Logger::enableFastTrace(unsigned long long, const LEVEL level) {
  if (pimpl->alive) pimpl->fastTraceLevel = level;
}

void Logger::addTarget(LogTarget* target) {
  if (pimpl->alive && AR_CHECK(target != nullptr, "target != nullptr", kSource)) {
    pimpl->targets.push_back(target);
  }
}

void Logger::removeTarget(LogTarget* target) {
  const auto place = std::find(pimpl->targets.begin(), pimpl->targets.end(), target);
  if (place != pimpl->targets.end()) {
    pimpl->targets.erase(static_cast<std::size_t>(place - pimpl->targets.begin()));
  }
}

LogFilter& Logger::getLogFilter() { return pimpl->filter; }

void Logger::setFile(const Path& path, const bool append, const bool closeAfterWrite) {
  if (!pimpl->alive) return;
  closeFile();
  pimpl->path = path;
  pimpl->closeAfterWrite = closeAfterWrite;
  if (!append) clearLogFile();
}

void Logger::clearLogFile() {
  if (pimpl->file != nullptr || pimpl->path.empty()) return;
  OS::FileHandle file = OS::openFileForWriting(pimpl->path, OS::kWriteTruncate);
  OS::close(file);
}

bool Logger::openLogFile() {
  if (pimpl->file == nullptr && !pimpl->path.empty()) {
    pimpl->file = OS::openFileForAppending(pimpl->path, OS::kAppend);
  }
  return pimpl->file != nullptr;
}

void Logger::closeLogFile() { closeFile(); }

void Logger::closeFile() {
  OS::close(pimpl->file);
  pimpl->file = nullptr;
}

std::uint64_t Logger::lostLines() const { return pimpl->lostLines; }

void Logger::logRawString2(const LEVEL level, const char* tag, const char* text,
                           const unsigned length) {
  if (!pimpl->alive || text == nullptr) return;
  // A file instead of the system log, never beside it; only targets get every line.
  if (openLogFile()) {
    tLineTaken = pimpl->tryWriteToFile(text, length);
  } else {
    tLineTaken = getFlag(kFlagConsole) && arLogMessage(level, tag, text) == 0;
  }
  if (!tLineTaken && !pimpl->path.empty()) ++pimpl->lostLines;
  pimpl->callTargets(text);
}

}  // namespace AR::Common
