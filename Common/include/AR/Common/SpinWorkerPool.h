#pragma once

#include <array>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "AR/Common/WaitFreeLockFreeQ.h"
#include "AR/PL/WorkerThread.h"

namespace AR::Common::Internal {

/// What a pool does on each of its threads before the first job: nothing.
struct EmptyDispatcherForWorkerPool {
  static void threadStarted(int /*thread*/) {}
};

/// The part of a pool that needs no threads: the queue of calls. WORKERS is how many calls one
/// dispatch queues.
template <typename WORK, int WORKERS>
class SpinWorkerPoolST {
 public:
  using Queue = WaitFreeLockFreeQ<WORK, 16, std::mutex>;
  static constexpr int kWorkers = WORKERS;

  SpinWorkerPoolST() = default;
  virtual ~SpinWorkerPoolST() = default;
  SpinWorkerPoolST(const SpinWorkerPoolST&) = delete;
  SpinWorkerPoolST& operator=(const SpinWorkerPoolST&) = delete;

  virtual void startSpinWorkers() {}
  virtual void stopSpinWorkers() {}

  Queue& queue() { return mQueue; }

  /// Whether a spinning worker returns as soon as it finds the queue empty. Not while they spin.
  void setExitWhenEmpty(bool exitWhenEmpty) { mExitWhenEmpty = exitWhenEmpty; }

 protected:
  Queue mQueue;
  bool mExitWhenEmpty = false;
};

/// When a pool gets its threads.
enum class PoolThreads { AtOnce, AtFirstJob };

/// THREADS threads that sleep until a job is handed to them, without a wake-up in between. A job is
/// a function of an index; each thread that wakes takes the next index, counting down from THREADS
/// - 1 to 0. One that is done early may take a second index before another has woken.
///
/// A pool without threads runs nothing. Each thread has a stack of WorkerThread::kStackBytes. The
/// pool and its threads take nothing from the heap.
///
/// One thread at a time may hand jobs to a pool. An exception that leaves a job, or a call from
/// the queue, ends the process as one that leaves a std::thread does; so does an empty job.
template <typename WORK, int WORKERS, typename DISPATCHER, int THREADS>
class SpinWorkerPool : public SpinWorkerPoolST<WORK, WORKERS> {
 public:
  /// AtOnce: throws std::system_error when the system does not give all threads, leaving none
  /// behind.
  explicit SpinWorkerPool(PoolThreads threads = PoolThreads::AtOnce);
  ~SpinWorkerPool() override { close(); }

  /// Starts the threads unless they are there. False, with none left behind, when the system does
  /// not give them all; it may the next time.
  [[nodiscard]] bool tryStartThreads();

  /// Lets all threads work on the queue and returns at once (when they do already: after a stop).
  void startSpinWorkers() override;

  /// Waits until all threads have found the queue empty and have gone to sleep.
  void stopSpinWorkers() override;

  /// Runs job(THREADS - 1) ... job(0) on the threads and waits until all have returned.
  void submit(const std::function<void(int)>& job);

  /// Ends the threads, once the queue is empty when they are spinning.
  void close();

 private:
  enum State : int { kSpinning = 1, kStopping = 2 };

  struct Thread {
    AR::PL::WorkerThread native;
    SpinWorkerPool* pool;
    int index;
  };

  static void runThread(void* thread);
  void coreLoop1(int thread);
  int takeIndex();
  void countFinished();
  void spinLoop(int index);
  /// Replaces the job, so only when no thread is at work on the last one.
  void handOff(std::function<void(int)> job);
  void waitUntilFinished();

  std::array<Thread, THREADS> mThreads{};
  int mThreadCount = 0;
  std::mutex mWakeMutex;
  std::condition_variable mWake;
  std::mutex mDoneMutex;
  std::condition_variable mDone;
  std::atomic<int> mPending{0};
  std::atomic<int> mFinished{0};
  std::function<void(int)> mJob;
  int mExiting = 0;
  std::atomic<int> mState{kStopping};
};

template <typename WORK, int WORKERS, typename DISPATCHER, int THREADS>
SpinWorkerPool<WORK, WORKERS, DISPATCHER, THREADS>::SpinWorkerPool(PoolThreads threads) {
  if (threads == PoolThreads::AtFirstJob || tryStartThreads()) return;
  throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again),
                          "thread constructor failed");
}

template <typename WORK, int WORKERS, typename DISPATCHER, int THREADS>
bool SpinWorkerPool<WORK, WORKERS, DISPATCHER, THREADS>::tryStartThreads() {
  for (; mThreadCount < THREADS; ++mThreadCount) {
    Thread& thread = mThreads[static_cast<std::size_t>(mThreadCount)];
    thread.pool = this;
    thread.index = mThreadCount;
    if (!thread.native.tryStart(runThread, &thread)) {
      close();
      return false;
    }
    ++mFinished;
  }
  return true;
}

template <typename WORK, int WORKERS, typename DISPATCHER, int THREADS>
void SpinWorkerPool<WORK, WORKERS, DISPATCHER, THREADS>::startSpinWorkers() {
  SpinWorkerPool::stopSpinWorkers();
  mState = kSpinning;
  handOff([this](int index) { spinLoop(index); });
}

template <typename WORK, int WORKERS, typename DISPATCHER, int THREADS>
void SpinWorkerPool<WORK, WORKERS, DISPATCHER, THREADS>::stopSpinWorkers() {
  mState = kStopping;
  waitUntilFinished();
}

template <typename WORK, int WORKERS, typename DISPATCHER, int THREADS>
void SpinWorkerPool<WORK, WORKERS, DISPATCHER, THREADS>::submit(
    const std::function<void(int)>& job) {
  SpinWorkerPool::stopSpinWorkers();
  handOff(job);
  waitUntilFinished();
}

template <typename WORK, int WORKERS, typename DISPATCHER, int THREADS>
void SpinWorkerPool<WORK, WORKERS, DISPATCHER, THREADS>::close() {
  SpinWorkerPool::stopSpinWorkers();
  mExiting = 1;
  submit({});
  for (; mThreadCount > 0; --mThreadCount) {
    mThreads[static_cast<std::size_t>(mThreadCount - 1)].native.join();
  }
  mFinished = 0;
  mExiting = 0;
}

template <typename WORK, int WORKERS, typename DISPATCHER, int THREADS>
void SpinWorkerPool<WORK, WORKERS, DISPATCHER, THREADS>::runThread(void* thread) {
  auto* const self = static_cast<Thread*>(thread);
  self->pool->coreLoop1(self->index);
}

template <typename WORK, int WORKERS, typename DISPATCHER, int THREADS>
void SpinWorkerPool<WORK, WORKERS, DISPATCHER, THREADS>::coreLoop1(int thread) {
  DISPATCHER::threadStarted(thread);
  bool exiting = false;
  while (!exiting) {
    const int index = takeIndex();
    exiting = mExiting != 0;
    if (!exiting) mJob(index);
    countFinished();
  }
}

template <typename WORK, int WORKERS, typename DISPATCHER, int THREADS>
int SpinWorkerPool<WORK, WORKERS, DISPATCHER, THREADS>::takeIndex() {
  std::unique_lock<std::mutex> lock(mWakeMutex);
  mWake.wait(lock, [this] { return mPending != 0; });
  return --mPending;
}

template <typename WORK, int WORKERS, typename DISPATCHER, int THREADS>
void SpinWorkerPool<WORK, WORKERS, DISPATCHER, THREADS>::countFinished() {
  const std::lock_guard<std::mutex> lock(mDoneMutex);
  ++mFinished;
  mDone.notify_all();
}

template <typename WORK, int WORKERS, typename DISPATCHER, int THREADS>
void SpinWorkerPool<WORK, WORKERS, DISPATCHER, THREADS>::spinLoop(int /*index*/) {
  while (true) {
    // Read before the queue is, so that what was queued before the stop is still run.
    const bool stopping = mState == kStopping;
    if (WORK* const node = this->mQueue.tryDeQueue()) {
      node->function(node->context);
      this->mQueue.recycle(node);
      continue;
    }
    if (this->mExitWhenEmpty) return;
    std::this_thread::yield();
    if (stopping) return;
  }
}

template <typename WORK, int WORKERS, typename DISPATCHER, int THREADS>
void SpinWorkerPool<WORK, WORKERS, DISPATCHER, THREADS>::handOff(std::function<void(int)> job) {
  const std::lock_guard<std::mutex> lock(mWakeMutex);
  mJob = std::move(job);
  mPending = mThreadCount;
  mFinished = 0;
  mWake.notify_all();
}

template <typename WORK, int WORKERS, typename DISPATCHER, int THREADS>
void SpinWorkerPool<WORK, WORKERS, DISPATCHER, THREADS>::waitUntilFinished() {
  std::unique_lock<std::mutex> lock(mDoneMutex);
  mDone.wait(lock, [this] { return mFinished == mThreadCount; });
}

}  // namespace AR::Common::Internal
