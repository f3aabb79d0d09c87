#include "LogFormat.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

#include "AR/Common/Logger.h"
#include "AR/PL/Time.h"

namespace AR::Common {
namespace {

constexpr char kSource[] = "Common/src/Logger";

// The bits of a formatter's index in the table.
constexpr unsigned kFilename = 1;
constexpr unsigned kFunction = 2;
constexpr unsigned kTime = 4;
constexpr unsigned kLevel = 8;

/// Appends pieces to a buffer and keeps count of the length the whole line would have, since a
/// formatter answers as snprintf does.
class LineWriter {
 public:
  LineWriter(char* destination, const std::size_t capacity)
      : mDestination(destination), mCapacity(capacity) {}

  void add(const char* format, ...) __attribute__((format(printf, 2, 3))) {
    const std::size_t used = std::min(mLength, mCapacity - 1);
    std::va_list args;
    va_start(args, format);
    const int n = std::vsnprintf(mDestination + used, mCapacity - used, format, args);
    va_end(args);
    mFailed = mFailed || n < 0;
    mLength += static_cast<std::size_t>(std::max(n, 0));
  }

  [[nodiscard]] int result() const {
    return mFailed ? -1 : static_cast<int>(std::min<std::size_t>(mLength, INT_MAX));
  }

 private:
  char* mDestination;
  std::size_t mCapacity;
  std::size_t mLength = 0;
  bool mFailed = false;
};

const char* levelName(const int nlevel) {
  static constexpr std::array<const char*, Logger::VERBOSE + 1> kNames = {
      "", "ERROR", "WARNING", "DEBUG", "INFO", "VERBOSE"};
  if (!AR_CHECK(nlevel >= 0 && nlevel <= 5, "nlevel >= 0 && nlevel <= 5", kSource)) return "";
  return kNames[static_cast<std::size_t>(nlevel)];
}

void addTime(LineWriter& out) {
  unsigned year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  arTimeGetLocalTime(&year, &month, &day, &hour, &minute, &second);
  out.add("%u-%02u-%02u %02u:%02u:%02u: ", year, month, day, hour, minute, second);
}

// One text for both where both are needed: log readers know these texts.
template <unsigned kIndex>
bool hasRequired([[maybe_unused]] const char* file, [[maybe_unused]] const char* func) {
  if constexpr ((kIndex & kFunction) != 0 && (kIndex & kFilename) != 0) {
    return AR_CHECK(func != nullptr && file != nullptr, "func != nullptr && file != nullptr",
                    kSource);
  } else if constexpr ((kIndex & kFunction) != 0) {
    return AR_CHECK(func != nullptr, "func != nullptr", kSource);
  } else if constexpr ((kIndex & kFilename) != 0) {
    return AR_CHECK(file != nullptr, "file != nullptr", kSource);
  } else {
    return true;
  }
}

/// The formatter of one row of the table. With method and file the line number stands twice. One
/// function for each row, chosen when a flag changes, so that no line has to look at the flags.
template <unsigned kIndex>
int formatLine(char* destination, const std::size_t capacity, [[maybe_unused]] const int level,
               [[maybe_unused]] const char* file, [[maybe_unused]] const int methodNameLength,
               [[maybe_unused]] const char* methodName, [[maybe_unused]] const int line,
               const char* message) {
  if (!hasRequired<kIndex>(file, methodName)) return 0;
  LineWriter out(destination, capacity);
  if constexpr ((kIndex & kLevel) != 0) out.add("AR %s: ", levelName(level));
  if constexpr ((kIndex & kTime) != 0) addTime(out);
  if constexpr ((kIndex & kFunction) != 0) out.add("%.*s()", methodNameLength, methodName);
  if constexpr ((kIndex & kFunction) != 0 && (kIndex & kFilename) != 0) out.add(" [%i]", line);
  out.add((kIndex & kFunction) != 0 ? ": %s\n" : "%s\n", message);
  if constexpr ((kIndex & kFilename) != 0) out.add("%s(%d)\n", file, line);
  return out.result();
}

template <unsigned... kIndices>
constexpr std::array<FormatFunction, sizeof...(kIndices)> makeTable(
    std::integer_sequence<unsigned, kIndices...>) {
  return {formatLine<kIndices>...};
}

constexpr auto kFormatFunctions = makeTable(std::make_integer_sequence<unsigned, 16>());

unsigned shortIndex(const unsigned flags) {
  return ((flags & Logger::kFlagLevelPrefix) != 0 ? kLevel : 0) |
         ((flags & Logger::kFlagTimeDate) != 0 ? kTime : 0);
}

unsigned fullIndex(const unsigned flags) {
  return shortIndex(flags) | ((flags & Logger::kFlagFunction) != 0 ? kFunction : 0) |
         ((flags & Logger::kFlagFilename) != 0 ? kFilename : 0);
}

}  // namespace

FormatFunction formatFunctionFor(const unsigned flags) {
  return kFormatFunctions[fullIndex(flags)];
}

FormatFunction shortFormatFunctionFor(const unsigned flags) {
  return kFormatFunctions[shortIndex(flags)];
}

void cutIncompleteConversion(char* format) {
  constexpr char kBetweenPercentAndLetter[] = "-+ #'0123456789.*$hlLqjzt";
  for (char* c = std::strchr(format, '%'); c != nullptr; c = std::strchr(c + 1, '%')) {
    char* const percent = c;
    c += 1 + std::strspn(c + 1, kBetweenPercentAndLetter);
    if (*c == '\0') {
      *percent = '\0';
      return;
    }
  }
}

}  // namespace AR::Common
