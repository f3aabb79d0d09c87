#pragma once

#include <new>
#include <utility>

#include "AR/Common/Macros.h"

namespace AR::Common {

/// Inside a catch block: reports the exception at hand as a failed check at `site`.
inline void reportException(const CallSite& site, const char* source) noexcept {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    AR_CHECK_AT(site, false, "enough memory", source);
  } catch (...) {
    AR_CHECK_AT(site, false, "no exception", source);
  }
}

/// The body of a function that nothing may leave by an exception, since its callers may have been
/// compiled without them: the result of body(), or, when that throws, after a report at `site`, the
/// result of otherwise(), which must neither throw nor need memory.
template <typename Body, typename Otherwise>
auto withoutExceptions(const CallSite& site, const char* source, Body&& body,
                       Otherwise&& otherwise) noexcept -> decltype(body()) {
  try {
    return std::forward<Body>(body)();
  } catch (...) {
    reportException(site, source);
    return std::forward<Otherwise>(otherwise)();
  }
}

}  // namespace AR::Common
