// A process that forks while the library is in use, and threads and memory that cannot be had.

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>
#include <thread>
#include <vector>

#include "AR/Common/LogTarget.h"
#include "AR/Common/Logger.h"
#include "AR/Common/Macros.h"
#include "AR/Common/Path.h"
#include "AR/Common/WorkerPool.h"
#include "AR/PL/Error.h"

namespace {

/// How many more threads the system gives to the library; below 0 as many as it likes.
std::atomic<int> gThreadsLeft{-1};
/// How many it has given, less those that were joined.
std::atomic<int> gThreads{0};

/// Whether a leak at the end of this process is one: not where the stack that holds the memory is
/// that of a thread which the process does not have.
bool gLeaksAreOurs = true;

}  // namespace

// The linker puts these in the place of pthread_create and pthread_join for the library's code.
extern "C" {
int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                          void* argument) {
  if (gThreadsLeft == 0) return EAGAIN;
  if (gThreadsLeft > 0) --gThreadsLeft;
  ++gThreads;
  return __real_pthread_create(thread, attributes, run, argument);
}
int __real_pthread_join(pthread_t, void**);
int __wrap_pthread_join(pthread_t thread, void** result) {
  --gThreads;
  return __real_pthread_join(thread, result);
}
// Only this one refuses threads to a child.
const char* __tsan_default_options() { return "die_after_fork=0"; }
int __lsan_is_turned_off() { return gLeaksAreOurs ? 0 : 1; }
}

namespace {

using namespace AR::Common;

/// Whether `check` says so in a child that then ends by exit(), all within a minute.
bool holdsInChild(const std::function<bool()>& check) {
  const pid_t child = fork();
  if (child == 0) {
    gThreads = 0;
    alarm(60);
    std::exit(check() ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Whether a dispatch calls every item once, on the threads that it should.
bool dispatches(bool onWorkers) {
  const auto caller = std::this_thread::get_id();
  std::array<std::atomic<int>, 40> calls{};
  WorkerPools::dispatch(
      [&](unsigned i) {
        calls.at(i) += onWorkers == (std::this_thread::get_id() != caller) ? 1 : 9;
      },
      40);
  return std::all_of(calls.begin(), calls.end(), [](const auto& n) { return n == 1; });
}

TEST(Threads, StartWithTheFirstDispatchOnly) {
  EXPECT_TRUE(holdsInChild([] {
    WorkerPools::dispatch([](unsigned) {}, 0);
    WorkerPools::dispatch([](unsigned) {}, 3, WorkerPoolMultithreadMode::CallerThread);
    if (gThreads != 0) return false;
    for (int i = 0; i < 9; ++i) WorkerPools::dispatch([](unsigned) {}, 40);
    return gThreads == 4;
  }));
}

/// How often this thread of this process went to sleep or was interrupted.
long switchesOf(pid_t thread) {
  std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/status");
  long switches = 0;
  for (std::string word; status >> word;) {
    if (word.find("voluntary_ctxt_switches:") == std::string::npos) continue;
    long count = 0;
    status >> count;
    switches += count;
  }
  return switches;
}

TEST(Threads, DoNotWakeWhileIdle) {
  std::array<pid_t, WORKERPOOL_DEFAULT_WORKERS> workers{};
  std::atomic<std::size_t> arrived{0};
  WorkerPools::dispatch(
      [&](unsigned i) {
        workers.at(i) = gettid();
        ++arrived;
        while (arrived < workers.size()) std::this_thread::yield();
      },
      WORKERPOOL_DEFAULT_WORKERS);
  std::this_thread::sleep_for(std::chrono::milliseconds(200));  // until they sleep
  std::array<long, WORKERPOOL_DEFAULT_WORKERS> before{}, after{};
  std::transform(workers.begin(), workers.end(), before.begin(), switchesOf);
  std::this_thread::sleep_for(std::chrono::seconds(1));
  std::transform(workers.begin(), workers.end(), after.begin(), switchesOf);
  EXPECT_EQ(before, after);
  EXPECT_EQ(std::count(before.begin(), before.end(), 0), 0);
}

TEST(Threads, WithoutThemTheCallerDoesTheWork) {
  for (int n = 0; n < WORKERPOOL_DEFAULT_WORKERS; ++n) {
    EXPECT_TRUE(holdsInChild([n] {
      gThreadsLeft = n;
      const bool worked = dispatches(false);
      gThreadsLeft = n;
      try {
        const WorkerPool pool;
        return false;
      } catch (const std::system_error&) {
      }
      const bool noneLeft = gThreads == 0;
      gThreadsLeft = -1;
      return worked && noneLeft && dispatches(true);
    })) << n;
  }
}

// There with the address sanitizer only.
extern "C" void __asan_init() __attribute__((weak));

/// Forks while other threads may be at work.
class Fork : public ::testing::Test {
 protected:
  void SetUp() override {
    if (__asan_init != nullptr) GTEST_SKIP() << "the sanitizer's own locks hang its children";
  }
};

TEST_F(Fork, ChildStartsAfresh) {
  std::function<void(int)> useAllPools = [&](int depth) {
    if (depth > 0) WorkerPools::dispatch([&](int) { useAllPools(depth - 1); }, 2);
  };
  useAllPools(6);
  AR_LOG(Logger::DEBUG, "S", "parent");
  const auto held = WorkerPools::getScopedRealPool();
  const auto useEverything = [&] {
    AR_LOG(Logger::DEBUG, "S", "child");
    arSetError(AR_ERROR_TIMED_OUT);
    const bool worked = dispatches(true) && arGetError() == AR_ERROR_TIMED_OUT;
    useAllPools(6);
    return worked && gThreads == 5 * 4;
  };
  EXPECT_TRUE(holdsInChild(useEverything));
  EXPECT_TRUE(holdsInChild([] { return true; }));
  EXPECT_TRUE(holdsInChild([&] { return dispatches(true) && holdsInChild(useEverything); }));
  EXPECT_TRUE(dispatches(true));
}

struct ForkingTarget : LogTarget {
  void logLine(const char*) override {
    if (forks++ == 0) succeeded = holdsInChild([] { return dispatches(false); });
  }
  int forks = 0;
  bool succeeded = false;
};

TEST_F(Fork, WithinATargetAndWithinAnItem) {
  ForkingTarget target;
  Logger::getInstance().addTarget(&target);
  AR_LOG(Logger::DEBUG, "S", "forks");
  Logger::getInstance().removeTarget(&target);
  EXPECT_TRUE(target.succeeded);
  std::atomic<int> succeeded{0};
  const auto forkInItem = [&](int) {
    const bool holds = holdsInChild([] {
      gLeaksAreOurs = false;
      return dispatches(true);
    });
    succeeded += holds ? 1 : 0;
  };
  WorkerPools::dispatch(forkInItem, 4);
  EXPECT_EQ(succeeded, 4);
  EXPECT_TRUE(dispatches(true));
}

TEST_F(Fork, AmidLoggingAndDispatchesOfOtherThreads) {
  constexpr int kMaxForks = 200;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  const std::string name = ::testing::TempDir() + "ProcessTest" + std::to_string(getpid()) + ".log";
  Logger::getInstance().setFile(Path(name), false, false);
  std::atomic<bool> done{false};
  std::array<int, 3> logged{};
  std::array<std::thread, 3> threads;
  for (std::size_t t = 0; t < threads.size(); ++t) {
    threads[t] = std::thread([&done, &logged, t] {
      for (; !done; ++logged[t]) {
        AR_LOGF(Logger::DEBUG, "S", "thread %zu line %d", t, logged[t]);
        WorkerPools::dispatch([](int) { arSetError(AR_ERROR_INVALID); }, 3);
      }
    });
  }
  int failed = 0, forks = 0;
  for (; forks < kMaxForks && std::chrono::steady_clock::now() < end; ++forks) {
    failed += holdsInChild([forks] {
      AR_LOGF(Logger::DEBUG, "S", "child %d", forks);
      arGetError();
      return dispatches(true);
    })
                  ? 0
                  : 1;
  }
  done = true;
  for (std::thread& thread : threads) thread.join();
  Logger::getInstance().setFile(Path(), true, false);
  EXPECT_EQ(failed, 0);
  EXPECT_GT(forks, 0);

  std::ifstream file(name);
  std::set<std::string> lines;
  std::size_t count = 0;
  for (std::string line; std::getline(file, line); ++count) lines.insert(line);
  std::filesystem::remove(name);
  const auto expected = static_cast<std::size_t>(forks + logged[0] + logged[1] + logged[2]);
  EXPECT_EQ(count, expected);
  EXPECT_EQ(lines.size(), expected) << "lines were torn or written twice";
}

#ifdef RECTILINE_MEMORY_CAN_BE_LIMITED

/// Takes all memory that the process may have. False where there is no end of it.
bool exhaustMemory() {
  const rlimit none{0, 0};
  setrlimit(RLIMIT_AS, &none);
  std::size_t taken = 0;
  // Each small size: the heap keeps freed blocks by their size.
  for (std::size_t size = std::size_t{1} << 20; size >= 16; size -= size > 4096 ? size / 2 : 16) {
    for (; taken < std::size_t{1} << 28 && std::malloc(size) != nullptr; taken += size) {
    }
  }
  return taken < std::size_t{1} << 28;
}

struct CountingTarget : LogTarget {
  void logLine(const char*) override { ++lines; }
  int lines = 0;
};

TEST(Memory, WithoutItLinesAreLostOrWrittenAndExceptionsCarried) {
  const auto lines = [] {
    CountingTarget target;
    Logger& logger = Logger::getInstance();
    logger.addTarget(&target);
    logger.setFlag(Logger::kFlagConsole, false);
    logger.setFile(Path("/dev/null"), true, false);
    const std::string text(100, 'x');
    WorkerPools::dispatch([](int) {}, 1);
    const std::uint64_t lostBefore = logger.lostLines();
    if (!exhaustMemory()) return true;
    AR_LOG(Logger::ERR, "S", "its file cannot be opened");
    AR_CHECK(false, "nor for this", "S");
    logMultilineString(text, Logger::ERR);
    bool carried = false;
    try {
      WorkerPools::dispatch([](int) { throw std::bad_alloc(); }, 4);
    } catch (const std::bad_alloc&) {
      carried = true;
    }
    return carried && target.lines == 2 && logger.lostLines() - lostBefore == 3;
  };
  EXPECT_TRUE(holdsInChild(lines));
}

#endif

}  // namespace
