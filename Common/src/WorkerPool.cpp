#include "AR/Common/WorkerPool.h"

#include <cfenv>
#include <exception>
#include <new>

#include "AR/Common/FailedChecks.h"
#include "AR/Common/Macros.h"
#include "LoggerState.h"

namespace AR::Common {
namespace {

constexpr char kSource[] = "Common/src/../include/AR/Common/WorkerPool";

/// One T for the process, built at the first call. At process exit it is closed, which ends its
/// threads, but its memory, the library's own, stays: threads that are still running then, and
/// destructors that come later, find a closed object instead of a destroyed one.
template <typename T>
T& closedAtExit() {
  struct Closer {
    explicit Closer(T& closed) : object(closed) {}
    ~Closer() { object.close(); }
    T& object;
  };
  alignas(T) static std::byte storage[sizeof(T)];
  static T& object = *new (storage) T(Internal::PoolThreads::AtFirstJob);
  static const Closer closer(object);
  return object;
}

template <typename POOL>
struct Fallback : POOL {
  explicit Fallback(Internal::PoolThreads threads) : POOL(threads) {
    this->setExitWhenEmpty(true);
    this->setRunsInCaller(true);
  }
};

}  // namespace

/// One dispatch, on its caller's stack.
template <typename POOL>
struct WorkerPoolBase<POOL>::Caller {
  explicit Caller(const std::function<void(int)>& function) : f(function) {
    std::fegetenv(&environment);
  }

  void callNext() {
    const int worker_id = nextWorker++;
    AR_CHECK(worker_id < WORKERPOOL_DEFAULT_WORKERS, "worker_id < WORKERPOOL_DEFAULT_WORKERS",
             kSource);
    f(worker_id);
  }

  const std::function<void(int)>& f;
  std::fenv_t environment;
  std::atomic<int> nextWorker{0};
  std::atomic<bool> hasThrown{false};
  std::exception_ptr exception;
  FailedCheckHandOver failedChecks;
};

template <typename POOL>
void WorkerPoolBase<POOL>::realDispatch(const std::function<void(int)>& f,
                                        WorkerPoolMultithreadMode mode, int workers) {
  if (mode == WorkerPoolMultithreadMode::CallerThread || mRunsInCaller ||
      LoggerLock::nesting() > 0 || !this->tryStartThreads()) {
    return f(0);
  }
  Caller caller(f);
  runOnThreads(caller, workers);
  if (caller.exception) std::rethrow_exception(std::move(caller.exception));
}

template <typename POOL>
void WorkerPoolBase<POOL>::runOnThreads(Caller& caller, int workers) {
  for (int i = 0; i < workers; ++i) this->queue().enQueue(&caller, callerTrampoline);
  this->startSpinWorkers();
  this->stopSpinWorkers();
  caller.failedChecks.give();
}

template <typename POOL>
void WorkerPoolBase<POOL>::callerTrampoline(void* context) {
  Caller& caller = *static_cast<Caller*>(context);
  const std::uint64_t failedBefore = failedCheckCount();
  std::fesetenv(&caller.environment);
  try {
    caller.callNext();
  } catch (...) {
    if (!caller.hasThrown.exchange(true)) caller.exception = std::current_exception();
  }
  caller.failedChecks.take(failedBefore);
}

template <typename POOL, std::size_t N>
auto PoolOfWorkerPool<POOL, N>::getScopedRealPool() -> ScopedPool {
  ScopedPool pool = closedAtExit<ObjectPoolImpl<POOL, N>>().popScoped();
  if (!pool) return ScopedPool(&closedAtExit<Fallback<POOL>>());
  pool->setExitWhenEmpty(true);
  pool->setRunsInCaller(false);
  return pool;
}

template <typename POOL, std::size_t N>
void PoolOfWorkerPool<POOL, N>::lock() {
  // Built here if they are not yet: a child cannot wait for another thread that is building them.
  closedAtExit<Fallback<POOL>>();
  closedAtExit<ObjectPoolImpl<POOL, N>>().lock();
}

template <typename POOL, std::size_t N>
void PoolOfWorkerPool<POOL, N>::unlock() {
  closedAtExit<ObjectPoolImpl<POOL, N>>().unlock();
}

template <typename POOL, std::size_t N>
void PoolOfWorkerPool<POOL, N>::renew() {
  closedAtExit<ObjectPoolImpl<POOL, N>>().renew(Internal::PoolThreads::AtFirstJob);
}

template class WorkerPoolBase<Internal::FourThreads>;
template class PoolOfWorkerPool<WorkerPool, 5>;

}  // namespace AR::Common
