#pragma once

#include <pthread.h>

#include <cstdint>

#include "AR/PL/Export.h"

struct ARThreadMutex {
  pthread_mutex_t native;
};

struct ARThreadCond {
  pthread_cond_t native;
};

/// A thread; made by arThreadCreate and freed by arThreadDestroy.
struct ARThread;

using ARThreadFunction = void* (*)(void* argument);

/// How the system is to share its processors. What it permits depends on the process.
enum ARThreadSchedulingHint : int {
  AR_THREAD_SCHEDULING_SHARED = 0,      ///< with everybody, by the system's own judgement
  AR_THREAD_SCHEDULING_FIFO = 1,        ///< by priority, until the thread waits
  AR_THREAD_SCHEDULING_ROUND_ROBIN = 2  ///< by priority, in turns among equals
};

// Mutexes. Locking one twice on the same thread and unlocking one that the thread does not hold
// fail; a created mutex stays where it is in memory.

AR_PL_EXPORT int arThreadMutexCreate(ARThreadMutex* mutex);
AR_PL_EXPORT int arThreadMutexDestroy(ARThreadMutex* mutex);
AR_PL_EXPORT int arThreadMutexLock(ARThreadMutex* mutex);

/// Fails with AR_ERROR_TIMED_OUT, and without a message, when the mutex is locked.
AR_PL_EXPORT int arThreadMutexTryLock(ARThreadMutex* mutex);
AR_PL_EXPORT int arThreadMutexUnlock(ARThreadMutex* mutex);

// Conditions. The mutex is held by the caller, let go during the wait and held again afterwards.
// A wait may also end for no reason.

AR_PL_EXPORT int arThreadCondCreate(ARThreadCond* cond);
AR_PL_EXPORT int arThreadCondDestroy(ARThreadCond* cond);
AR_PL_EXPORT int arThreadCondSignal(ARThreadCond* cond);
AR_PL_EXPORT int arThreadCondBroadcast(ARThreadCond* cond);
AR_PL_EXPORT int arThreadCondWait(ARThreadCond* cond, ARThreadMutex* mutex);

/// Waits at most `milliseconds` of the real-time clock, then fails with AR_ERROR_TIMED_OUT and
/// without a message.
AR_PL_EXPORT int arThreadCondTimedWait(ARThreadCond* cond, ARThreadMutex* mutex,
                                       unsigned milliseconds);

/// Starts a thread that runs function(argument) and stores it, or null on failure. Every thread is
/// to be destroyed, joined or not.
AR_PL_EXPORT int arThreadCreate(ARThread** thread, ARThreadFunction function, void* argument);

/// Lets go of a thread. One that was not joined runs on by itself.
AR_PL_EXPORT int arThreadDestroy(ARThread* thread);

/// Waits for the thread's end and stores its function's result, if `result` is not null. A thread
/// can be joined once.
AR_PL_EXPORT int arThreadJoin(ARThread* thread, void** result);

/// A number that no other living thread of the process has.
AR_PL_EXPORT int arThreadGetId(const ARThread* thread, std::uint64_t* id);
[[nodiscard]] AR_PL_EXPORT std::uint64_t arThreadGetCurrentThreadId();

/// The priority among the threads of the same hint; 0 is the only one of SHARED.
AR_PL_EXPORT int arThreadSetPriority(ARThread* thread, int priority);
AR_PL_EXPORT int arThreadGetPriority(const ARThread* thread, int* priority);

/// Setting a hint keeps the priority as far as the hint allows it.
AR_PL_EXPORT int arThreadSetSchedulingHint(ARThread* thread, ARThreadSchedulingHint hint);
AR_PL_EXPORT int arThreadGetSchedulingHint(const ARThread* thread, ARThreadSchedulingHint* hint);

AR_PL_EXPORT int arThreadSleepMilliSeconds(unsigned milliseconds);
