#pragma once

// The three kinds of check of this library, each with one spelling:
//
//   AR_CHECK(condition, text, source)    reported: a failed check is logged and counted, and the
//                                        code goes on with the value at hand. The macro is an
//                                        expression: true when the condition held.
//   AR_REQUIRE(condition, text, source)  fatal: the same line, then the process ends.
//   bool tryXxx(...)                     silent: the caller learns of the failure from the result.
//
// `text` and `source` are literals: the text is what a log reader greps for, the source is the
// module-relative path of the code without its extension.

#include <cstddef>

/// Marks what the shared library exports. The version script of the library has the last word.
#define AR_EXPORT __attribute__((visibility("default")))

namespace AR::Common {

/// Reports a failed check as "AR_ASSERT expression file(line) function" at level ERROR, counts it
/// for the calling thread, and returns. Never throws, never stops the program.
AR_EXPORT void logError(const char* expression, const char* file, const char* function,
                        int line) noexcept;

/// Reports the overflow of a container of fixed capacity: "push_back: current_size=..." at level
/// ERROR with the container's size, its capacity, and the name and bytes of its items.
void logError(std::size_t currentSize, std::size_t maxSize, const char* typeName,
              std::size_t itemBytes) noexcept;

/// Reports like logError and then ends the process.
[[noreturn]] AR_EXPORT void logFatal(const char* expression, const char* file, const char* function,
                                     int line) noexcept;

}  // namespace AR::Common

/// As AR_CHECK, with the function's text given instead of taken from the compiler.
#define AR_CHECK_IN(condition, text, source, function) \
  (static_cast<bool>(condition) ||                     \
   (::AR::Common::logError(text, source, function, __LINE__), false))

#define AR_CHECK(condition, text, source) AR_CHECK_IN(condition, text, source, __PRETTY_FUNCTION__)

#define AR_REQUIRE(condition, text, source) \
  (static_cast<bool>(condition)             \
       ? void()                             \
       : ::AR::Common::logFatal(text, source, __PRETTY_FUNCTION__, __LINE__))

namespace AR::Common {

/// Reports the failed check "result" when `result` is false. Returns `result`.
inline bool assertSuccess(const bool result) {
  return AR_CHECK_IN(result, "result", "Common/src/../include/AR/Common/Macros",
                     "void assertSuccess(const bool)");
}

}  // namespace AR::Common
