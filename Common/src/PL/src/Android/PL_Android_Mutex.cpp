#include <cerrno>
#include <cstdint>
#include <ctime>
#include <limits>

#include "AR/PL/Error.h"
#include "AR/PL/Thread.h"
#include "AR/PL/TimedWait.h"
#include "PL_Android_Failure.h"

using namespace AR::PL;

namespace AR::PL {

std::timespec deadlineAfter(std::timespec now, unsigned milliseconds) {
  constexpr std::int64_t kNanosPerSecond = 1'000'000'000;
  constexpr std::int64_t kMaxSeconds = std::numeric_limits<std::time_t>::max();
  const std::int64_t nanos = now.tv_nsec + std::int64_t{milliseconds % 1000} * 1'000'000;
  const std::int64_t moreSeconds = milliseconds / 1000 + nanos / kNanosPerSecond;
  const bool fits = now.tv_sec <= kMaxSeconds - moreSeconds;

  std::timespec deadline{};
  deadline.tv_sec = static_cast<std::time_t>(fits ? now.tv_sec + moreSeconds : kMaxSeconds);
  deadline.tv_nsec = static_cast<decltype(deadline.tv_nsec)>(nanos % kNanosPerSecond);
  return deadline;
}

namespace {

/// A mutex that knows its thread, so that misuse fails instead of hanging or doing harm.
int initCheckedMutex(pthread_mutex_t* mutex) {
  pthread_mutexattr_t attributes;
  int result = pthread_mutexattr_init(&attributes);
  if (result != 0) return result;
  result = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
  if (result == 0) result = pthread_mutex_init(mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  return result;
}

/// A result that says "not now": no message.
int failTimedOut() {
  arSetError(AR_ERROR_TIMED_OUT);
  return -1;
}

}  // namespace

int timedWaitResult(int posixError) {
  return posixError == ETIMEDOUT ? failTimedOut() : resultOf(posixError, "arThreadCondTimedWait");
}

}  // namespace AR::PL

int arThreadMutexCreate(ARThreadMutex* mutex) {
  if (mutex == nullptr) return failInvalid(__func__);
  return resultOf(initCheckedMutex(&mutex->native), __func__);
}

int arThreadMutexDestroy(ARThreadMutex* mutex) {
  if (mutex == nullptr) return failInvalid(__func__);
  return resultOf(pthread_mutex_destroy(&mutex->native), __func__);
}

int arThreadMutexLock(ARThreadMutex* mutex) {
  if (mutex == nullptr) return failInvalid(__func__);
  return resultOf(pthread_mutex_lock(&mutex->native), __func__);
}

int arThreadMutexTryLock(ARThreadMutex* mutex) {
  if (mutex == nullptr) return failInvalid(__func__);
  const int result = pthread_mutex_trylock(&mutex->native);
  return result == EBUSY ? failTimedOut() : resultOf(result, __func__);
}

int arThreadMutexUnlock(ARThreadMutex* mutex) {
  if (mutex == nullptr) return failInvalid(__func__);
  return resultOf(pthread_mutex_unlock(&mutex->native), __func__);
}

int arThreadCondCreate(ARThreadCond* cond) {
  if (cond == nullptr) return failInvalid(__func__);
  return resultOf(pthread_cond_init(&cond->native, nullptr), __func__);
}

int arThreadCondDestroy(ARThreadCond* cond) {
  if (cond == nullptr) return failInvalid(__func__);
  return resultOf(pthread_cond_destroy(&cond->native), __func__);
}

int arThreadCondSignal(ARThreadCond* cond) {
  if (cond == nullptr) return failInvalid(__func__);
  return resultOf(pthread_cond_signal(&cond->native), __func__);
}

int arThreadCondBroadcast(ARThreadCond* cond) {
  if (cond == nullptr) return failInvalid(__func__);
  return resultOf(pthread_cond_broadcast(&cond->native), __func__);
}

int arThreadCondWait(ARThreadCond* cond, ARThreadMutex* mutex) {
  if (cond == nullptr || mutex == nullptr) return failInvalid(__func__);
  return resultOf(pthread_cond_wait(&cond->native, &mutex->native), __func__);
}

int arThreadCondTimedWait(ARThreadCond* cond, ARThreadMutex* mutex, unsigned milliseconds) {
  if (cond == nullptr || mutex == nullptr) return failInvalid(__func__);
  std::timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);  // what a condition waits by unless it was made otherwise
  const std::timespec deadline = deadlineAfter(now, milliseconds);
  return timedWaitResult(pthread_cond_timedwait(&cond->native, &mutex->native, &deadline));
}
