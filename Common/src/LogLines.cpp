// How one line comes about: gate, template, expansion.

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "LoggerState.h"

namespace AR::Common {
namespace {

constexpr int kMaxMethodNameLength = 80;

/// Where a line comes from.
struct Place {
  const char* file;
  StringPortion method;
  int line;
};

template <std::size_t N>
bool tryFormat(LoggerPIMPL& logger, const FormatFunction format, char (&destination)[N],
               const Logger::LEVEL level, const Place& place, const char* message) {
  destination[0] = '\0';
  const int length =
      format(destination, N, level, place.file, static_cast<int>(place.method.length()),
             place.method.data(), place.line, textOf(message));
  if (length == -1) ++logger.lostLines;
  return length != -1;
}

/// Holds the logger for one line.
class LineLock {
 public:
  explicit LineLock(LoggerPIMPL& logger) : mLogger(logger), mLock(logger) {}

  /// This line's own buffers. Null when the line is nested too deeply and to be dropped.
  [[nodiscard]] LineBuffers* buffers() const {
    const int nesting = LoggerLock::nesting();
    if (nesting <= kMaxLogNesting) return &mLogger.buffers[nesting - 1];
    ++mLogger.lostLines;
    return nullptr;
  }

 private:
  LoggerPIMPL& mLogger;
  LoggerLock mLock;
};

/// Builds the full form's template, in which file and method name print as they stand.
bool tryMakeTemplate(LoggerPIMPL& logger, LineBuffers& buffers, const Logger::LEVEL level,
                     const Place& place, const char* format) {
  const TemplateText<sizeof buffers.format> file(textOf(place.file));
  // Room for a name of nothing but '%', each of them doubled.
  const TemplateText<2 * kMaxMethodNameLength + 2> method(place.method.view());
  const Place safePlace = {place.file == nullptr ? nullptr : file.c_str(),
                           {method.c_str(), static_cast<std::size_t>(method.length())},
                           place.line};
  return tryFormat(logger, logger.formatFunction, buffers.format, level, safePlace, format);
}

unsigned lengthOf(const char* text) { return static_cast<unsigned>(std::strlen(text)); }

/// Expands the template and writes the line; one that cannot be expanded, for want of memory for
/// instance, is dropped.
void writeExpanded(Logger& logger, LoggerPIMPL& state, const Logger::LEVEL level, const char* tag,
                   LineBuffers& buffers, std::va_list args) {
  cutIncompleteConversion(buffers.format);
  if (std::vsnprintf(buffers.line, sizeof buffers.line, buffers.format, args) < 0) {
    ++state.lostLines;
    return;
  }
  logger.logRawString2(level, tag, buffers.line, lengthOf(buffers.line));
}

}  // namespace

bool LoggerPIMPL::accepts(const Logger::LEVEL messageLevel, const char* function,
                          const StringPortion& method) const {
  if (function == nullptr) return false;
  if ((flags & Logger::kFlagFilter) == 0) return messageLevel <= level;
  return filter.allowed(method.data(), static_cast<int>(method.length()), messageLevel);
}

// All forms look at the level before they lock: a suppressed line costs one comparison.

void Logger::log2(const LEVEL level, const char* tag, const char* message) {
  if (level > getLevel()) return;
  const LineLock lock(*pimpl);
  LineBuffers* const buffers = lock.buffers();
  if (buffers == nullptr) return;
  if (!tryFormat(*pimpl, pimpl->shortFormatFunction, buffers->line, level, {}, message)) return;
  logRawString2(level, tag, buffers->line, lengthOf(buffers->line));
}

void Logger::logEx2(const int level, const char* tag, const char* format, ...) {
  if (level > getLevel()) return;
  const LineLock lock(*pimpl);
  LineBuffers* const buffers = lock.buffers();
  if (buffers == nullptr) return;
  const LEVEL lineLevel = static_cast<LEVEL>(level);
  if (!tryFormat(*pimpl, pimpl->shortFormatFunction, buffers->format, lineLevel, {}, format))
    return;
  std::va_list args;
  va_start(args, format);
  writeExpanded(*this, *pimpl, lineLevel, tag, *buffers, args);
  va_end(args);
}

void Logger::log2(const LEVEL level, const char* file, const char* function, const int line,
                  const char* tag, const char* message) {
  if (level > getLevel()) return;
  const LineLock lock(*pimpl);
  LineBuffers* const buffers = lock.buffers();
  if (buffers == nullptr) return;
  const Place place = {file, parseMethodName(function, kMaxMethodNameLength), line};
  if (!pimpl->accepts(level, function, place.method)) return;
  if (!tryFormat(*pimpl, pimpl->formatFunction, buffers->format, level, place, message)) return;
  logRawString2(level, tag, buffers->format, lengthOf(buffers->format));
}

void Logger::logEx2(const LEVEL level, const char* file, const char* function, const int line,
                    const char* tag, const char* format, ...) {
  if (level > getLevel()) return;
  const LineLock lock(*pimpl);
  LineBuffers* const buffers = lock.buffers();
  if (buffers == nullptr) return;
  const Place place = {file, parseMethodName(function, kMaxMethodNameLength), line};
  if (!pimpl->accepts(level, function, place.method)) return;
  if (!tryMakeTemplate(*pimpl, *buffers, level, place, format)) return;
  std::va_list args;
  va_start(args, format);
  writeExpanded(*this, *pimpl, level, tag, *buffers, args);
  va_end(args);
}

bool Logger::checkAndCreateFormatString(const LEVEL level, const char* file, const char* function,
                                        const int line, const char* format) {
  const LineLock lock(*pimpl);
  LineBuffers* const buffers = lock.buffers();
  if (buffers == nullptr) return false;
  const Place place = {file, parseMethodName(function, kMaxMethodNameLength), line};
  return pimpl->accepts(level, function, place.method) &&
         tryMakeTemplate(*pimpl, *buffers, level, place, format);
}

StringPortion Logger::parseMethodName(const char* prettyFunction, const int maxLength) {
  if (prettyFunction == nullptr) return {};
  const char* name = prettyFunction;
  const char* end = prettyFunction;
  for (; *end != '\0' && *end != '('; ++end) {
    if (*end == ' ') name = end + 1;  // what stood before was a return type or "static"
  }
  const std::size_t length = std::min(static_cast<std::size_t>(end - name),
                                      static_cast<std::size_t>(std::max(maxLength, 0)));
  return {end - length, length};
}

}  // namespace AR::Common
