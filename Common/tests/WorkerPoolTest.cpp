#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <set>

#include "AR/Common/WorkerPool.h"
#include "testing/LogCapture.h"

namespace {

using namespace AR::Common;
using Mode = WorkerPoolMultithreadMode;
using Queue = WaitFreeLockFreeQ<Work, 16, std::mutex>;

void ignore(void*) {}

TEST(WaitFreeLockFreeQ, KeepsOrderAcrossTheWrapAndRefusesWhatDoesNotFit) {
  Queue queue;
  std::array<int, 15> items{};
  for (int round = 0; round < 37; ++round) {
    const int count = 1 + round % 15;
    for (int i = 0; i < count; ++i) ASSERT_EQ(Queue::kSuccess, queue.enQueue(&items[i], ignore));
    for (int i = 0; i < count; ++i) {
      Work* const work = queue.tryDeQueue();
      ASSERT_EQ(&items[i], work->context);
      queue.recycle(work);
    }
    ASSERT_EQ(nullptr, queue.tryDeQueue());
  }
  for (int& item : items) ASSERT_EQ(0, queue.enQueue(&item, ignore));
  EXPECT_EQ(-100, queue.enQueue(nullptr, ignore));
  EXPECT_EQ(1, queue.freeCount());
  Work* const taken = queue.tryDeQueue();
  EXPECT_EQ(0, queue.enQueue(&items[0], ignore));
  EXPECT_EQ(-98, queue.enQueue(nullptr, ignore));
  queue.recycle(taken);
  EXPECT_EQ(-100, queue.enQueue(nullptr, ignore));
}

TEST(WaitFreeLockFreeQ, LeavesForeignNodesAlone) {
  Queue queue;
  Work foreign{};
  ::testing::internal::CaptureStdout();
  queue.recycle(&foreign);
  EXPECT_THAT(::testing::internal::GetCapturedStdout(),
              ::testing::MatchesRegex("Freeing buffer NOT from the pool p:0x.* qBuf:0x.* N16"));
  EXPECT_EQ(16, queue.freeCount());
}

TEST(SpinWorkerPool, RunsWhatIsQueuedWhileItSpins) {
  std::atomic<int> calls{0};
  const auto count = [](void* context) { ++*static_cast<std::atomic<int>*>(context); };
  WorkerPool pool;
  pool.stopSpinWorkers();
  int queued = 0;
  for (int round = 0; round < 50; ++round) {
    pool.startSpinWorkers();
    for (int i = 0; i < 40; ++i) queued += pool.queue().enQueue(&calls, count) == 0 ? 1 : 0;
    pool.stopSpinWorkers();
    ASSERT_EQ(queued, calls);
  }
  std::array<std::atomic<int>, 4> seen{};
  pool.submit([&seen](int index) { ++seen.at(static_cast<std::size_t>(index)); });
  for (const auto& s : seen) EXPECT_EQ(1, s);
  pool.startSpinWorkers();
  pool.close();
}

struct Calls {
  std::vector<unsigned> items;
  std::set<std::thread::id> threads;
};

Calls dispatchItems(unsigned count, Mode mode) {
  Calls calls;
  std::mutex mutex;
  const auto add = [&](unsigned item) {
    const std::lock_guard<std::mutex> lock(mutex);
    calls.items.push_back(item);
    calls.threads.insert(std::this_thread::get_id());
  };
  WorkerPools::dispatch(add, count, mode);
  return calls;
}

std::vector<unsigned> upTo(unsigned count) {
  std::vector<unsigned> all(count);
  std::iota(all.begin(), all.end(), 0U);
  return all;
}

TEST(WorkerPools, RunEveryItemOnce) {
  for (const unsigned count : {0U, 1U, 6U, 5000U}) {
    Calls calls = dispatchItems(count, Mode::Workers);
    std::sort(calls.items.begin(), calls.items.end());
    EXPECT_EQ(upTo(count), calls.items);
    EXPECT_LE(calls.threads.size(), 4U);
    EXPECT_EQ(0U, calls.threads.count(std::this_thread::get_id()));
  }
}

void expectAllOnThisThreadInOrder(Mode mode) {
  const Calls calls = dispatchItems(9, mode);
  EXPECT_EQ(upTo(9), calls.items);
  EXPECT_EQ(std::set<std::thread::id>{std::this_thread::get_id()}, calls.threads);
}

TEST(WorkerPools, SixthDispatchAndModeZeroRunOnTheirCaller) {
  expectAllOnThisThreadInOrder(Mode::CallerThread);
  const std::function<void(int)> nest = [&](int depth) {
    if (depth == 5) return expectAllOnThisThreadInOrder(Mode::Workers);
    WorkerPools::dispatch([&](int) { nest(depth + 1); }, 1);
  };
  for (int again = 0; again < 3; ++again) nest(0);
}

TEST(WorkerPools, ConcurrentAndNestedDispatchesDoNotInterfere) {
  std::atomic<int> sum{0};
  const auto dispatchNested = [&sum] {
    for (int round = 0; round < 50; ++round) {
      WorkerPools::dispatch([&](int) { WorkerPools::dispatch([&](int j) { sum += j; }, 5); }, 4);
    }
  };
  std::array<std::thread, 6> callers;
  for (std::thread& caller : callers) caller = std::thread(dispatchNested);
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(6 * 50 * 4 * 10, sum);
}

TEST(WorkerPools, FailedChecksOfItemsCountForTheirCaller) {
  const rectiline::testing::LogCapture log;
  const auto fail = [](int) { (void)AR_CHECK(false, "false", "test"); };
  const auto failNested = [&](int) { WorkerPools::dispatch(fail, 3); };
  for (const Mode mode : {Mode::CallerThread, Mode::Workers}) {
    const std::uint64_t before = failedCheckCount();
    WorkerPools::dispatch(fail, 7, mode);
    EXPECT_EQ(7U, failedCheckCount() - before);
    WorkerPools::dispatch(failNested, 2, mode);
    EXPECT_EQ(13U, failedCheckCount() - before);
  }
}

TEST(WorkerPools, FifthWorkerIsReportedAndRuns) {
  const rectiline::testing::LogCapture log;
  const std::uint64_t before = failedCheckCount();
  std::array<std::atomic<int>, 5> seen{};
  WorkerPools::getScopedRealPool()->realDispatch(
      [&seen](int worker) { ++seen.at(static_cast<std::size_t>(worker)); }, Mode::Workers, 5);
  for (const auto& s : seen) EXPECT_EQ(1, s);
  EXPECT_EQ(1U, failedCheckCount() - before);
  EXPECT_EQ(1, log.failedChecks());
  EXPECT_EQ(1, log.count("worker_id < WORKERPOOL_DEFAULT_WORKERS Common/src/../include/AR/"))
      << log.text();
}

TEST(WorkerPools, ExceptionsPassThroughOnTheCallersThread) {
  const std::function<void(int)> empty;
  for (int i = 0; i < 6; ++i) {  // a pool that were lost each time would not last
    EXPECT_THROW(WorkerPools::dispatch(empty, 1, Mode::CallerThread), std::bad_function_call);
  }
  EXPECT_EQ(0U, dispatchItems(1, Mode::Workers).threads.count(std::this_thread::get_id()));
}

TEST(WorkerPoolsDeathTest, ExitDoesNotWaitForDispatches) {
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto exits = ::testing::ExitedWithCode(0);
  const auto late = [] { WorkerPools::dispatch([](int) { std::fputs("late;", stderr); }, 3); };
  EXPECT_EXIT((std::atexit(late), WorkerPools::dispatch([](int) {}, 3), std::exit(0)), exits,
              "late;late;late;");
  EXPECT_EXIT(WorkerPools::dispatch([](int) { std::exit(0); }, 1), exits, "");
  EXPECT_DEATH(WorkerPools::dispatch(std::function<void(int)>(), 1), "");
}

}  // namespace
