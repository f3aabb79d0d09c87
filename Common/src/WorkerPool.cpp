#include "AR/Common/WorkerPool.h"

#include <new>

namespace AR::Common {
namespace {

/// One T for the process, built at the first call. At process exit it is closed, which ends its
/// threads, but its memory stays: threads that are still running then, and destructors that come
/// later, find a closed object instead of a destroyed one.
template <typename T>
T& closedAtExit() {
  struct Closer {
    explicit Closer(T& closed) : object(closed) {}
    ~Closer() { object.close(); }
    T& object;
  };
  alignas(T) static std::byte storage[sizeof(T)];
  static T& object = *new (storage) T;
  static const Closer closer(object);
  return object;
}

}  // namespace

template <typename POOL, std::size_t N>
auto PoolOfWorkerPool<POOL, N>::getScopedRealPool() -> ScopedPool {
  struct Fallback : POOL {
    Fallback() {
      this->setExitWhenEmpty(true);
      this->setRunsInCaller(true);
    }
  };
  ScopedPool pool = closedAtExit<ObjectPoolImpl<POOL, N>>().popScoped();
  if (!pool) return ScopedPool(&closedAtExit<Fallback>());
  pool->setExitWhenEmpty(true);
  pool->setRunsInCaller(false);
  return pool;
}

template class WorkerPoolBase<Internal::FourThreads>;
template class PoolOfWorkerPool<WorkerPool, 5>;

}  // namespace AR::Common
