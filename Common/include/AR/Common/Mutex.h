#pragma once

#include "AR/PL/Thread.h"

namespace AR::Common {

/// A mutex of the platform, fit for std::lock_guard. Locking it twice on one thread and unlocking
/// it on another are refused by the platform layer and change nothing.
class Mutex {
 public:
  Mutex() { arThreadMutexCreate(&mMutex); }
  ~Mutex() { arThreadMutexDestroy(&mMutex); }
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() { arThreadMutexLock(&mMutex); }
  [[nodiscard]] bool try_lock() { return arThreadMutexTryLock(&mMutex) == 0; }
  void unlock() { arThreadMutexUnlock(&mMutex); }

 private:
  ARThreadMutex mMutex;
};

}  // namespace AR::Common
