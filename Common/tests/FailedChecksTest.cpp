#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "AR/Common/FailedChecks.h"
#include "AR/Common/Logger.h"
#include "AR/Common/Macros.h"
#include "AR/Common/WorkerPool.h"
#include "testing/LogCapture.h"

namespace AR::Common {
namespace {

using rectiline::testing::LogCapture;

void failCheck(int line) { logError("what", "where", "void failCheck(int)", line); }

TEST(FailedChecks, KeepTheLatestSixteenAtLevelOff) {
  Logger::getInstance().setLevel(Logger::OFF);
  resetFailedChecks();
  for (int line = 1; line <= 20; ++line) failCheck(line);
  const std::string tooLong(300, 'x');
  logError(tooLong.c_str(), tooLong.c_str(), "f", 21);
  Logger::getInstance().setLevel(Logger::DEBUG);
  FailedCheckRecord checks[32];
  EXPECT_EQ(failedChecksSinceReset(), 21U);
  EXPECT_EQ(copyFailedChecks(checks, 2), 2U);
  ASSERT_EQ(copyFailedChecks(checks, 32), 16U);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(checks[i].line, 21 - i);
  EXPECT_STREQ(checks[1].expression, "what");
  EXPECT_STREQ(checks[1].source, "where");
  EXPECT_EQ(checks[0].expression, tooLong.substr(0, sizeof checks[0].expression - 1));
  EXPECT_EQ(checks[0].source, tooLong.substr(0, 95));
  resetFailedChecks();
  EXPECT_EQ(copyFailedChecks(checks, 32), 0U);
  EXPECT_EQ(failedChecksSinceReset(), 0U);
}

TEST(FailedChecks, IncludeWhatTheThreadsOwnWorkersFound) {
  const LogCapture log;
  const auto failInWorkers = [](int firstLine) {
    for (const unsigned count : {6U, 50U}) {
      resetFailedChecks();
      WorkerPools::dispatch([=](int i) { failCheck(firstLine + i); }, count);
      EXPECT_EQ(failedChecksSinceReset(), count);
      FailedCheckRecord checks[16];
      std::set<int> lines;
      for (std::size_t i = copyFailedChecks(checks, 16); i > 0; --i)
        lines.insert(checks[i - 1].line);
      ASSERT_EQ(lines.size(), std::min(count, 16U));
      EXPECT_GE(*lines.begin(), firstLine);
      EXPECT_LT(*lines.rbegin(), firstLine + static_cast<int>(count));
    }
  };
  std::vector<std::thread> threads;
  for (int k = 0; k < 6; ++k) threads.emplace_back(failInWorkers, 1000 * k);
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace AR::Common
