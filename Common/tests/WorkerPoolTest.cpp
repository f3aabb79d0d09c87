#include <gmock/gmock.h>

#include <cfenv>
#include <cstdlib>
#include <stdexcept>

#include "AR/Common/FailedChecks.h"
#include "AR/Common/LogTarget.h"
#include "AR/Common/Logger.h"
#include "AR/Common/WorkerPool.h"
#include "testing/LogCapture.h"

namespace {

using namespace AR::Common;
using ::testing::Each;
using ::testing::ElementsAre;
using Mode = WorkerPoolMultithreadMode;
using Queue = WaitFreeLockFreeQ<Work, 16, std::mutex>;

TEST(WaitFreeLockFreeQ, KeepsOrderAcrossTheWrapAndRefusesWhatDoesNotFit) {
  Queue queue;
  const auto ignore = [](void*) {};
  std::array<int, 15> items{};
  for (int round = 0; round < 37; ++round) {
    const int count = 1 + round % 15;
    for (int i = 0; i < count; ++i) ASSERT_EQ(0, queue.enQueue(&items[i], ignore));
    for (int i = 0; i < count; ++i) {
      Work* const work = queue.tryDeQueue();
      ASSERT_EQ(&items[i], work->context);
      queue.recycle(work);
    }
    ASSERT_EQ(nullptr, queue.tryDeQueue());
  }
  for (int& item : items) ASSERT_EQ(0, queue.enQueue(&item, ignore));
  EXPECT_EQ(-100, queue.enQueue(nullptr, ignore));
  Work* const taken = queue.tryDeQueue();
  EXPECT_EQ(0, queue.enQueue(&items[0], ignore));
  EXPECT_EQ(-98, queue.enQueue(nullptr, ignore));
  queue.recycle(taken);
  Work foreign{};
  ::testing::internal::CaptureStdout();
  queue.recycle(&foreign);
  EXPECT_THAT(::testing::internal::GetCapturedStdout(),
              ::testing::MatchesRegex("Freeing buffer NOT from the pool p:0x.* qBuf:0x.* N16"));
  EXPECT_EQ(1, queue.freeCount());
}

TEST(SpinWorkerPool, RunsWhatIsQueuedWhileItSpins) {
  std::atomic<int> calls{0};
  const auto count = [](void* context) { ++*static_cast<std::atomic<int>*>(context); };
  WorkerPool pool;
  pool.stopSpinWorkers();
  int queued = 0;
  for (int round = 0; round < 50; ++round) {
    pool.startSpinWorkers();
    for (int i = 0; i < 40; ++i) {
      queued += pool.queue().enQueue(&calls, count) == 0 ? 1 : 0;
      while (i == 20 && calls < queued) std::this_thread::yield();
    }
    pool.stopSpinWorkers();
    ASSERT_EQ(queued, calls);
  }
  pool.startSpinWorkers();
  pool.close();
}

TEST(WorkerPools, RunEveryItemOnceOnOtherThreads) {
  const auto caller = std::this_thread::get_id();
  for (const unsigned count : {0U, 1U, 6U, 5000U}) {
    std::vector<int> calls(count);
    const auto call = [&](unsigned i) { calls[i] += std::this_thread::get_id() == caller ? 9 : 1; };
    WorkerPools::dispatch(call, count);
    EXPECT_THAT(calls, Each(1));
  }
}

void expectAllOnThisThreadInOrder(Mode mode) {
  const auto caller = std::this_thread::get_id();
  std::vector<unsigned> items;
  const auto add = [&](unsigned i) {
    if (std::this_thread::get_id() == caller) items.push_back(i);
  };
  WorkerPools::dispatch(add, 6, mode);
  EXPECT_THAT(items, ElementsAre(0, 1, 2, 3, 4, 5));
}

TEST(WorkerPools, SixthDispatchAndModeZeroRunOnTheirCaller) {
  expectAllOnThisThreadInOrder(Mode::CallerThread);
  const std::function<void(int)> nest = [&](int depth) {
    if (depth == 5) return expectAllOnThisThreadInOrder(Mode::Workers);
    WorkerPools::dispatch([&](int) { nest(depth + 1); }, 1);
  };
  nest(0);
  EXPECT_THROW(WorkerPools::dispatch(std::function<void(int)>(), 1, Mode::CallerThread),
               std::bad_function_call);
  nest(0);  // all pools came back
}

TEST(WorkerPools, ConcurrentAndNestedDispatchesDoNotInterfere) {
  const rectiline::testing::LogCapture log;
  std::array<std::thread, 6> callers;
  for (std::thread& caller : callers) {
    caller = std::thread([] {
      for (int round = 0; round < 50; ++round) {
        std::atomic<int> sum{0};
        const std::uint64_t before = failedCheckCount();
        const auto add = [&](int j) { sum += AR_CHECK(j != 1, "j != 1", "test") ? j : 1; };
        const Mode mode = round % 4 == 0 ? Mode::CallerThread : Mode::Workers;
        WorkerPools::dispatch([&](int) { WorkerPools::dispatch(add, 5); }, 4, mode);
        ASSERT_EQ(4 * 10, sum);
        ASSERT_EQ(4U, failedCheckCount() - before);  // checks of items count for their caller
      }
    });
  }
  for (std::thread& caller : callers) caller.join();
}

TEST(WorkerPools, FifthWorkerIsReportedAndRuns) {
  const rectiline::testing::LogCapture log;
  std::array<int, 5> seen{};
  WorkerPools::getScopedRealPool()->realDispatch(
      [&seen](int worker) { ++seen.at(static_cast<std::size_t>(worker)); }, Mode::Workers, 5);
  EXPECT_THAT(seen, Each(1));
  EXPECT_EQ(1, log.count("worker_id < WORKERPOOL_DEFAULT_WORKERS Common/src/../include/AR/"));
}

TEST(WorkerPools, CarryTheFirstExceptionAndStartNoOtherItem) {
  const rectiline::testing::LogCapture log;
  constexpr unsigned kItems = 5000;
  const std::uint64_t failedBefore = failedCheckCount();
  std::atomic<unsigned> calls{0};
  std::atomic<bool> thrown{false};
  const auto throwInThird = [&](unsigned i) {
    ++calls;
    if (i == 2) {
      AR_CHECK(i != 2, "i != 2", "test");
      thrown = true;
      throw std::bad_alloc();
    }
    while (!thrown) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  };
  EXPECT_THROW(WorkerPools::dispatch(throwInThird, kItems), std::bad_alloc);
  EXPECT_LT(calls, kItems / 2);
  EXPECT_EQ(failedCheckCount() - failedBefore, 1U);
  const auto throwAll = [](unsigned i) { throw std::out_of_range(std::to_string(i)); };
  for (int round = 0; round < 200; ++round) {
    EXPECT_THROW(WorkerPools::dispatch(throwAll, 6), std::out_of_range);
  }
  calls = 0;
  EXPECT_THROW(WorkerPools::dispatch(
                   [&](unsigned) {
                     ++calls;
                     throw 1;
                   },
                   6, Mode::CallerThread),
               int);
  EXPECT_EQ(calls, 1U);
  EXPECT_THROW(WorkerPools::dispatch(std::function<void(int)>(), 1), std::bad_function_call);
  WorkerPools::dispatch([&](unsigned) { ++calls; }, 6);
  EXPECT_EQ(calls, 7U);
}

TEST(WorkerPools, RunInTheirCallersRoundingMode) {
  for (const int mode : {FE_TONEAREST, FE_DOWNWARD, FE_UPWARD, FE_TONEAREST}) {
    std::fesetround(mode);
    std::atomic<int> matching{0};
    WorkerPools::dispatch([&](int) { matching += std::fegetround() == mode ? 1 : 0; }, 40);
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(matching, 40) << mode;
  }
}

struct DispatchingTarget : LogTarget {
  void logLine(const char* line) override {
    if (std::string_view(line).find("outer") == std::string_view::npos) return;
    const auto thread = std::this_thread::get_id();
    WorkerPools::dispatch(
        [&](int i) {
          AR_CHECK(i < 0, "i < 0", "test");
          items += std::this_thread::get_id() == thread ? 1 : 100;
        },
        6);
  }
  std::atomic<int> items{0};
};

TEST(WorkerPools, LogTargetsMayDispatch) {
  const rectiline::testing::LogCapture log;
  DispatchingTarget target;
  Logger::getInstance().addTarget(&target);
  AR_LOG(Logger::ERR, "test", "outer");
  WorkerPools::dispatch([](int) { AR_LOG(Logger::ERR, "test", "outer"); }, 4);
  Logger::getInstance().removeTarget(&target);
  EXPECT_EQ(target.items, 5 * 6);
  EXPECT_EQ(log.failedChecks(), 5 * 6);
}

TEST(WorkerPoolsDeathTest, ExitDoesNotWaitForDispatches) {
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto exits = ::testing::ExitedWithCode(0);
  const auto late = [] { WorkerPools::dispatch([](int) { std::fputs("late;", stderr); }, 3); };
  EXPECT_EXIT((std::atexit(late), WorkerPools::dispatch([](int) {}, 3), std::exit(0)), exits,
              "late;late;late;");
  EXPECT_EXIT(WorkerPools::dispatch([](int) { std::exit(0); }, 1), exits, "");
}

}  // namespace
