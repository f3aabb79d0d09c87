#include "work/ForEach.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "files/Interrupt.h"
#include "work/Progress.h"

namespace rectiline::tool {
namespace {

class Crew {
 public:
  Crew(std::size_t count, const std::function<void(std::size_t)>& work)
      : mCount(count), mWork(work) {}
  ~Crew() {
    mStopped = true;
    for (std::thread& thread : mThreads) thread.join();
  }
  Crew(const Crew&) = delete;
  Crew& operator=(const Crew&) = delete;

  /// Where no thread can be made, those that were do the work, or else this one.
  void start() {
    const std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
    try {
      while (mThreads.size() < std::min(mCount, processors)) {
        begin();
        mThreads.emplace_back([this] { run(); });
      }
    } catch (const std::system_error&) {
      end();
    }
    if (!mThreads.empty()) return;
    begin();
    run();
  }

  /// Waits for the end of the work or for the next time that progress is to be shown.
  bool waitForEnd() {
    constexpr std::chrono::milliseconds kBetweenLines(200);
    std::unique_lock lock(mMutex);
    return mEnded.wait_for(lock, kBetweenLines, [this] { return mRunning == 0; });
  }

  [[nodiscard]] std::size_t done() const { return mDone; }

  /// After the end.
  void rethrow() const {
    if (mFailure) std::rethrow_exception(mFailure);
  }

 private:
  void run() {
    try {
      for (std::size_t i = mNext++; i < mCount && !mStopped; i = mNext++) {
        throwIfInterrupted();
        mWork(i);
        ++mDone;
      }
    } catch (...) {
      mStopped = true;
      const std::lock_guard lock(mMutex);
      if (!mFailure) mFailure = std::current_exception();
    }
    end();
  }

  void begin() {
    const std::lock_guard lock(mMutex);
    ++mRunning;
  }

  void end() {
    const std::lock_guard lock(mMutex);
    --mRunning;
    mEnded.notify_all();
  }

  const std::size_t mCount;
  const std::function<void(std::size_t)>& mWork;
  std::atomic<std::size_t> mNext{0};
  std::atomic<std::size_t> mDone{0};
  std::atomic<bool> mStopped{false};
  std::mutex mMutex;
  std::condition_variable mEnded;
  std::size_t mRunning = 0;     // guarded by mMutex
  std::exception_ptr mFailure;  // guarded by mMutex
  std::vector<std::thread> mThreads;
};

}  // namespace

void forEach(std::size_t count, const char* unit, const std::function<void(std::size_t)>& work) {
  Progress progress(count, unit);
  Crew crew(count, work);
  crew.start();
  while (!crew.waitForEnd()) progress.show(crew.done());
  crew.rethrow();
}

}  // namespace rectiline::tool
