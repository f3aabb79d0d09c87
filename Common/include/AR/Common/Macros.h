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
//
// A check in a helper that several entry points share would name the helper. There the entry point
// hands on its own place: AR_HERE in the one, AR_CHECK_AT(site, ...) in the other.

#include <cstddef>
#include <type_traits>

/// Marks what the shared library exports. The version script of the library has the last word.
#define AR_EXPORT __attribute__((visibility("default")))

namespace AR::Common {

/// Reports a failed check as "AR_ASSERT expression file(line) function" at level ERROR, counts it
/// for the calling thread, and returns. Never throws, never stops the program.
AR_EXPORT void logError(const char* expression, const char* file, const char* function,
                        int line) noexcept;

/// Reports the overflow of a container of fixed capacity: "push_back: current_size=..." at level
/// ERROR with the container's size, its capacity, and the name and bytes of its items.
AR_EXPORT void logError(std::size_t currentSize, std::size_t maxSize, const char* typeName,
                        std::size_t itemBytes) noexcept;

/// Reports like logError and then ends the process. When neither the log file nor the system log
/// takes the line, at level OFF for instance, it goes to standard error.
[[noreturn]] AR_EXPORT void logFatal(const char* expression, const char* file, const char* function,
                                     int line) noexcept;

/// The place in the code that a failed check reports: the compiler's text of the function's
/// signature, and the line.
struct CallSite {
  const char* function;
  int line;
};

/// Bytes that a caller of the library gets of a failed check's text, with its terminating zero.
inline constexpr std::size_t kCheckTextSize = 256;

/// The text of a check. A literal that a caller would get cut does not compile.
template <typename Text>
constexpr const char* checkText(const Text& text) {
  if constexpr (std::is_array_v<Text>) static_assert(sizeof(Text) <= kCheckTextSize);
  return text;
}

}  // namespace AR::Common

#define AR_HERE (::AR::Common::CallSite{__PRETTY_FUNCTION__, __LINE__})

/// As AR_CHECK, at the place given.
#define AR_CHECK_AT(site, condition, text, source)                                               \
  (static_cast<bool>(condition) ||                                                               \
   (::AR::Common::logError(::AR::Common::checkText(text), source, (site).function, (site).line), \
    false))

/// As AR_CHECK, with the function's text given instead of taken from the compiler.
#define AR_CHECK_IN(condition, text, source, function) \
  AR_CHECK_AT((::AR::Common::CallSite{function, __LINE__}), condition, text, source)

#define AR_CHECK(condition, text, source) AR_CHECK_AT(AR_HERE, condition, text, source)

#define AR_REQUIRE(condition, text, source)                                                     \
  (static_cast<bool>(condition) ? void()                                                        \
                                : ::AR::Common::logFatal(::AR::Common::checkText(text), source, \
                                                         __PRETTY_FUNCTION__, __LINE__))

namespace AR::Common {

/// Reports the failed check "result" when `result` is false. Returns `result`.
inline bool assertSuccess(const bool result) {
  return AR_CHECK_IN(result, "result", "Common/src/../include/AR/Common/Macros",
                     "void assertSuccess(const bool)");
}

}  // namespace AR::Common
