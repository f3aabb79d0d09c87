#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>

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
  using POOL::POOL;

  /// Whether `realDispatch` keeps to the caller's thread whatever its mode.
  void setRunsInCaller(bool runsInCaller) { mRunsInCaller = runsInCaller; }

  /// Calls f(0) ... f(workers - 1) on the pool's threads, which it starts if need be, and returns
  /// when all calls have. Calls f once, f(0), on the caller's thread in mode CallerThread, when set
  /// so, when the system does not give the threads, and within a log target: its thread holds the
  /// logger, for which a worker might wait.
  ///
  /// Wherever a call is made, it runs in the floating-point environment of the dispatch's caller
  /// (rounding, flush to zero, traps), so results do not depend on it; flags that a worker's
  /// arithmetic raises stay there. Checks that fail on the pool's threads become the calling
  /// thread's. When calls throw (std::bad_function_call when f is empty), the exception of the
  /// first one is thrown to the caller after all have ended and the others are dropped; carrying it
  /// takes nothing from the heap.
  ///
  /// More than WORKERPOOL_DEFAULT_WORKERS calls are reported, one check for each call too many, and
  /// made all the same, up to the queue's room.
  void realDispatch(const std::function<void(int)>& f, WorkerPoolMultithreadMode mode, int workers);

 private:
  struct Caller;

  static void callerTrampoline(void* context);
  void runOnThreads(Caller& caller, int workers);

  bool mRunsInCaller = false;
};

/// The access to the process's worker threads: N pools, and a fallback for when all are in use
/// that runs everything on its caller's thread. A pool starts its four threads at its first
/// dispatch and keeps them until process exit or until the library is unloaded; a dispatch that is
/// still running then is left to itself, and a later one runs on its caller's thread. So a process
/// that never dispatches from two threads at once has four. Any thread may dispatch at any time, an
/// item of a dispatch too.
///
/// A process may fork at any time. In the child all N pools are idle and without threads, whatever
/// they were doing; its own dispatches start new ones, and its exit joins only those. A fork within
/// an item has to end its child there. A handle to a pool is good for nothing but to be let go in a
/// child of the thread that holds it.
template <typename POOL, std::size_t N>
class PoolOfWorkerPool {
 public:
  using ScopedPool = typename ObjectPoolImpl<POOL, N>::Scoped;

  /// Lends a free pool, or the fallback when there is none.
  [[nodiscard]] static ScopedPool getScopedRealPool();

  /// Calls function(i) once for every i in [0, count), on up to four threads at once, and returns
  /// when all calls have. Each thread takes the next index when it is done with its last, so the
  /// calls start in increasing order; on the caller's thread they are made in that order. Item i
  /// must only touch what belongs to i.
  ///
  /// Threads, floating-point environment and failed checks: see WorkerPoolBase::realDispatch. Once
  /// an item has thrown no other is started; the exception of the first that threw is thrown to the
  /// caller after those that run have ended.
  template <typename F>
  static void dispatch(F&& function, unsigned count) {
    dispatch(std::forward<F>(function), count, WorkerPoolMultithreadMode::Workers);
  }
  template <typename F>
  static void dispatch(F&& function, unsigned count, WorkerPoolMultithreadMode mode);

  /// Around a fork: keeps other threads from borrowing and returning pools.
  static void lock();
  static void unlock();
  /// In the child, locked: pools without threads in the place of the parent's.
  static void renew();
};

namespace Internal {
using FourThreads = SpinWorkerPool<Work, WORKERPOOL_DEFAULT_WORKERS, EmptyDispatcherForWorkerPool,
                                   WORKERPOOL_DEFAULT_WORKERS>;
}
using WorkerPool = WorkerPoolBase<Internal::FourThreads>;
using WorkerPools = PoolOfWorkerPool<WorkerPool, 5>;

template <typename POOL, std::size_t N>
template <typename F>
void PoolOfWorkerPool<POOL, N>::dispatch(F&& function, unsigned count,
                                         WorkerPoolMultithreadMode mode) {
  struct Items {
    F& function;
    unsigned count;
    std::atomic<std::uint64_t> next{0};  // runs past count, also past the largest count there is

    void run() {
      try {
        for (std::uint64_t i = next++; i < count; i = next++) function(static_cast<unsigned>(i));
      } catch (...) {
        next = count;
        throw;
      }
    }
  };
  if (count == 0) return;
  const ScopedPool pool = getScopedRealPool();
  Items items{function, count};
  pool->realDispatch([&items](int /*worker*/) { items.run(); }, mode, POOL::kWorkers);
}

extern template class WorkerPoolBase<Internal::FourThreads>;
extern template class PoolOfWorkerPool<WorkerPool, 5>;

}  // namespace AR::Common
