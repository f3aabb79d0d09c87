#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>

#include "AR/Common/FailedChecks.h"
#include "AR/Common/Macros.h"
#include "AR/Common/ObjectPool.h"
#include "AR/Common/SpinWorkerPool.h"

namespace AR::Common {

/// How many calls a dispatch queues, and how many threads a pool has.
inline constexpr int WORKERPOOL_DEFAULT_WORKERS = 4;

/// Where a dispatch runs its items. Every value but CallerThread means the workers.
enum class WorkerPoolMultithreadMode : int { CallerThread = 0, Workers = 1 };

/// A pool whose threads a caller can borrow for one function.
template <typename POOL>
class WorkerPoolBase : public POOL {
 public:
  /// Whether `realDispatch` keeps to the caller's thread whatever its mode.
  void setRunsInCaller(bool runsInCaller) { mRunsInCaller = runsInCaller; }

  /// Calls f once on the caller's thread (f(0), in mode CallerThread or when set so), or f(0) ...
  /// f(workers - 1) on the pool's threads, and returns when all calls have.
  ///
  /// More than WORKERPOOL_DEFAULT_WORKERS calls are reported, one check for each call too many, and
  /// made all the same, up to the queue's room. Checks that fail on the pool's threads become the
  /// calling thread's. On the caller's thread exceptions pass through
  /// (std::bad_function_call when f is empty); on the pool's they end the process.
  void realDispatch(const std::function<void(int)>& f, WorkerPoolMultithreadMode mode, int workers);

 private:
  static constexpr char kSource[] = "Common/src/../include/AR/Common/WorkerPool";

  /// One dispatch, on its caller's stack.
  struct Caller {
    explicit Caller(const std::function<void(int)>& function) : f(function) {}

    const std::function<void(int)>& f;
    std::atomic<int> nextWorker{0};
    FailedCheckHandOver failedChecks;
  };

  static void callerTrampoline(void* context);
  static void callNext(Caller& caller);

  bool mRunsInCaller = false;
};

/// The access to the process's worker threads: N pools, and a fallback for when all are in use
/// that runs everything on its caller's thread. They are built at the first dispatch and end at
/// process exit; a dispatch that is still running then is left to itself, and a later one runs on
/// its caller's thread. Any thread may dispatch at any time, an item of a dispatch too.
template <typename POOL, std::size_t N>
class PoolOfWorkerPool {
 public:
  using ScopedPool = typename ObjectPoolImpl<POOL, N>::Scoped;

  /// Lends a free pool, or the fallback when there is none. Throws std::system_error when the
  /// system gives no threads at the first call.
  [[nodiscard]] static ScopedPool getScopedRealPool();

  /// Calls function(i) once for every i in [0, count), on up to four threads at once, and returns
  /// when all calls have. Each thread takes the next index when it is done with its last, so the
  /// calls start in increasing order; on the caller's thread they are made in that order. Item i
  /// must only touch what belongs to i.
  ///
  /// Failed checks and exceptions: see WorkerPoolBase::realDispatch.
  template <typename F>
  static void dispatch(F&& function, unsigned count) {
    dispatch(std::forward<F>(function), count, WorkerPoolMultithreadMode::Workers);
  }
  template <typename F>
  static void dispatch(F&& function, unsigned count, WorkerPoolMultithreadMode mode);
};

namespace Internal {
using FourThreads = SpinWorkerPool<Work, WORKERPOOL_DEFAULT_WORKERS, EmptyDispatcherForWorkerPool,
                                   WORKERPOOL_DEFAULT_WORKERS>;
}
using WorkerPool = WorkerPoolBase<Internal::FourThreads>;
using WorkerPools = PoolOfWorkerPool<WorkerPool, 5>;

template <typename POOL>
void WorkerPoolBase<POOL>::realDispatch(const std::function<void(int)>& f,
                                        WorkerPoolMultithreadMode mode, int workers) {
  if (mode == WorkerPoolMultithreadMode::CallerThread || mRunsInCaller) return f(0);
  Caller caller(f);
  for (int i = 0; i < workers; ++i) this->queue().enQueue(&caller, callerTrampoline);
  this->startSpinWorkers();
  this->stopSpinWorkers();
  caller.failedChecks.give();
}

template <typename POOL>
void WorkerPoolBase<POOL>::callerTrampoline(void* context) {
  Caller& caller = *static_cast<Caller*>(context);
  const std::uint64_t failedBefore = failedCheckCount();
  callNext(caller);
  caller.failedChecks.take(failedBefore);
}

template <typename POOL>
void WorkerPoolBase<POOL>::callNext(Caller& caller) {
  const int worker_id = caller.nextWorker++;
  AR_CHECK(worker_id < WORKERPOOL_DEFAULT_WORKERS, "worker_id < WORKERPOOL_DEFAULT_WORKERS",
           kSource);
  caller.f(worker_id);
}

template <typename POOL, std::size_t N>
template <typename F>
void PoolOfWorkerPool<POOL, N>::dispatch(F&& function, unsigned count,
                                         WorkerPoolMultithreadMode mode) {
  struct Items {
    F& function;
    unsigned count;
    std::atomic<std::uint64_t> next{0};  // runs past count, also past the largest count there is

    void run() {
      for (std::uint64_t i = next++; i < count; i = next++) function(static_cast<unsigned>(i));
    }
  };
  const ScopedPool pool = getScopedRealPool();
  Items items{function, count};
  pool->realDispatch([&items](int /*worker*/) { items.run(); }, mode, POOL::kWorkers);
}

extern template class WorkerPoolBase<Internal::FourThreads>;
extern template class PoolOfWorkerPool<WorkerPool, 5>;

}  // namespace AR::Common
