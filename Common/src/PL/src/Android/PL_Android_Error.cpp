#include <pthread.h>

#include <cerrno>
#include <cstdio>

#include "AR/PL/Error.h"
#include "AR/PL/Fork.h"
#include "AR/PL/Log.h"
#include "PL_Android_Failure.h"

namespace {

constexpr int kLevelError = 1;
constexpr char kTag[] = "AR";

// Initialised without code, so that it works before and after all load-time code.
pthread_mutex_t gErrorMutex = PTHREAD_MUTEX_INITIALIZER;
int gError = AR_ERROR_NONE;

/// Stores `code` and gives the one before.
int exchangeError(int code) {
  AR::PL::lockError();
  const int oldCode = gError;
  gError = code;
  AR::PL::unlockError();
  return oldCode;
}

}  // namespace

int arSetError(int code) {
  if (code < AR_ERROR_END) {
    exchangeError(code);
    return 0;
  }
  exchangeError(AR_ERROR_CODE);
  char text[40];
  std::snprintf(text, sizeof text, "Invalid error code %d", code);
  arLogMessage(kLevelError, kTag, text);
  return -1;
}

int arGetError() { return exchangeError(AR_ERROR_NONE); }

namespace AR::PL {

void lockError() { pthread_mutex_lock(&gErrorMutex); }
void unlockError() { pthread_mutex_unlock(&gErrorMutex); }

int fail(int error, const char* function, const char* reason) {
  arSetError(error);
  char text[128];
  std::snprintf(text, sizeof text, "%s(): %s", function, reason);
  arLogMessage(kLevelError, kTag, text);
  return -1;
}

int failInvalid(const char* function) {
  return fail(AR_ERROR_INVALID, function, "invalid parameter");
}

int resultOf(int posixError, const char* function) {
  switch (posixError) {
    case 0:
      return 0;
    case EINVAL:
      return failInvalid(function);
    case EPERM:
      return fail(AR_ERROR_INVALID, function, "operation not permitted");
    default:
      return fail(AR_ERROR_UNKNOWN, function, "operation failed (unknown)");
  }
}

int quietResult(bool success) {
  if (success) return 0;
  const bool invalid = errno == EINVAL || errno == EPERM || errno == EACCES;
  arSetError(invalid ? AR_ERROR_INVALID : AR_ERROR_UNKNOWN);
  return -1;
}

}  // namespace AR::PL
