#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <latch>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "AR/Common/FailedChecks.h"
#include "AR/Common/LogFilter.h"
#include "AR/Common/LogTarget.h"
#include "AR/Common/Logger.h"
#include "AR/Common/Path.h"
#include "AR/PL/Time.h"
#include "testing/LogCapture.h"

namespace AR::Common {
namespace {

using rectiline::testing::LogCapture;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr char kMethod[] = "int AR::Common::Foo::bar(int)";

struct Recorder : LogTarget {
  void logLine(const char* line) override {
    lines.emplace_back(line);
    if (onLine) onLine();
  }
  std::vector<std::string> lines;
  std::function<void()> onLine;
};

/// Every test starts from the default settings with one target more, and leaves them so.
class LoggerTest : public ::testing::Test {
 protected:
  LoggerTest() { logger.addTarget(&recorder); }
  ~LoggerTest() override {
    logger.removeTarget(&recorder);
    logger.setLevel(Logger::DEBUG);
    logger.setFlag(0x3f, false);
    logger.setFlag(Logger::kFlagConsole | Logger::kFlagLevelPrefix, true);
    logger.setFile(Path(), true, false);
    logger.getLogFilter() = LogFilter(Logger::DEBUG);
  }

  /// The last line written since the last call.
  std::string takeLine() {
    const std::vector<std::string> lines = std::exchange(recorder.lines, {});
    return lines.empty() ? "none" : lines.back();
  }
  std::string log2(const auto... arguments) {
    logger.log2(arguments...);
    return takeLine();
  }

  Logger& logger = Logger::getInstance();
  Recorder recorder;
  LogCapture capture;
};

/// `line` with the local time in the place of "%T".
std::string atThisTime(std::string line) {
  unsigned y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
  EXPECT_EQ(arTimeGetLocalTime(&y, &mo, &d, &h, &mi, &s), 0);
  char time[64];
  std::snprintf(time, sizeof time, "%u-%02u-%02u %02u:%02u:%02u", y, mo, d, h, mi, s);
  const std::size_t place = line.find("%T");
  return place == std::string::npos ? line : line.replace(place, 2, time);
}

TEST_F(LoggerTest, SixteenLineFormats) {
  const char* const kExpected[] = {
      "m\n",
      "m\nS(7)\n",
      "AR::Common::Foo::bar(): m\n",
      "AR::Common::Foo::bar() [7]: m\nS(7)\n",
      "%T: m\n",
      "%T: m\nS(7)\n",
      "%T: AR::Common::Foo::bar(): m\n",
      "%T: AR::Common::Foo::bar() [7]: m\nS(7)\n",
      "AR DEBUG: m\n",
      "AR DEBUG: m\nS(7)\n",
      "AR DEBUG: AR::Common::Foo::bar(): m\n",
      "AR DEBUG: AR::Common::Foo::bar() [7]: m\nS(7)\n",
      "AR DEBUG: %T: m\n",
      "AR DEBUG: %T: m\nS(7)\n",
      "AR DEBUG: %T: AR::Common::Foo::bar(): m\n",
      "AR DEBUG: %T: AR::Common::Foo::bar() [7]: m\nS(7)\n",
  };
  for (unsigned i = 0; i < 16; ++i) {
    SCOPED_TRACE(i);
    logger.setFlag(Logger::kFlagFilename, (i & 1) != 0);
    logger.setFlag(Logger::kFlagFunction, (i & 2) != 0);
    logger.setFlag(Logger::kFlagTimeDate, (i & 4) != 0);
    logger.setFlag(Logger::kFlagLevelPrefix, (i & 8) != 0);
    for (const unsigned row : {i, i & 12}) {
      const std::string before = atThisTime(kExpected[row]);
      if (row == i) {
        logger.log2(Logger::DEBUG, "S", kMethod, 7, "AR", "m");
        logger.logEx2(Logger::DEBUG, "S", kMethod, 7, "AR", "%c", 'm');
      } else {
        logger.log2(Logger::DEBUG, "AR", "m");
        logger.logEx2(Logger::DEBUG, "AR", "%c", 'm');
      }
      const auto isExpected = AnyOf(before, atThisTime(kExpected[row]));
      EXPECT_THAT(std::exchange(recorder.lines, {}), ElementsAre(isExpected, isExpected));
    }
  }
}

TEST_F(LoggerTest, LevelGatesAndPriorities) {
  const int kPriorities[] = {0, 6, 5, 3, 4, 2};
  const char* const kNames[] = {"", "ERROR", "WARNING", "DEBUG", "INFO", "VERBOSE"};
  for (int current = 0; current <= 5; ++current) {
    logger.setLevel(static_cast<Logger::LEVEL>(current));
    EXPECT_EQ(logger.getLogFilter().getLevel(nullptr, -1), current);
    for (int level = 1; level <= 5; ++level) {
      capture.clear();
      recorder.lines.clear();
      int evaluated = 0;
      AR_LOGF(level, "S", "%d", ++evaluated);
      AR_LOG(level, "S", (++evaluated, "1"));
      const bool shown = level <= current;
      EXPECT_EQ(evaluated, shown ? 2 : 0);
      ASSERT_EQ(capture.lines().size(), shown ? 2u : 0u);
      if (!shown) continue;
      EXPECT_EQ(capture.lines()[1].priority, kPriorities[level]);
      EXPECT_EQ(capture.lines()[1].tag, "AR");
      EXPECT_EQ(capture.lines()[1].text, ": 1\n");
      EXPECT_EQ(takeLine(), std::string("AR ") + kNames[level] + ": 1\n");
    }
  }
}

TEST_F(LoggerTest, FlagsAndOddArguments) {
  EXPECT_TRUE(logger.getFlag(0x3f));
  EXPECT_FALSE(logger.getFlag(0x1d));
  logger.setFlag(Logger::kFlagConsole, false);
  EXPECT_EQ(log2(Logger::DEBUG, "S", nullptr, 7, "AR", "no method text"), "none");
  EXPECT_EQ(log2(Logger::DEBUG, "AR", nullptr), "AR DEBUG: (null)\n");
  logger.log2(static_cast<Logger::LEVEL>(-1), "AR", "m");
  EXPECT_THAT(recorder.lines,
              ElementsAre(HasSubstr("AR_ASSERT nlevel >= 0 && nlevel <= 5 "), "AR : m\n"));
  EXPECT_TRUE(capture.lines().empty());
}

TEST_F(LoggerTest, FilterByMethodName) {
  logger.setFlag(Logger::kFlagFilter, true);
  logger.getLogFilter().setFilterLevel("AR::Common", Logger::ERR, LogFilter::KEEP_EXISTING);
  EXPECT_FALSE(logger.checkAndCreateFormatString(Logger::DEBUG, "S", kMethod, 1, "m"));
  EXPECT_TRUE(logger.checkAndCreateFormatString(Logger::ERR, "S", kMethod, 1, "m"));
  EXPECT_TRUE(logger.checkAndCreateFormatString(Logger::DEBUG, "S", "void VIO::f()", 1, "m"));
  EXPECT_EQ(log2(Logger::DEBUG, "S", kMethod, 1, "AR", "m"), "none");
  EXPECT_NE(log2(Logger::DEBUG, "AR", "the short form does not ask"), "none");
}

TEST_F(LoggerTest, MethodNames) {
  const struct {
    std::string pretty;
    int maxLength;
    std::string name;
  } kRows[] = {
      {"void AR::Common::Logger::setFlag(unsigned int, bool)", 80, "AR::Common::Logger::setFlag"},
      {"void x" + std::string(100, 'n') + "(int)", 80, std::string(80, 'n')},
      {"f", 80, "f"},
      {"static const char* g()", 80, "g"},
      {"abc()", 2, "bc"},
      {"void (anonymous namespace)::f()", 80, ""},
      {"abc()", -1, ""},
      {"", 80, ""}};
  for (const auto& row : kRows) {
    EXPECT_EQ(Logger::parseMethodName(row.pretty.c_str(), row.maxLength).view(), row.name);
  }
}

TEST_F(LoggerTest, PercentSignsInNames) {
  logger.setFlag(Logger::kFlagFunction | Logger::kFlagFilename, true);
  const char* const file = "100%%/a%s%n%";
  const char* const method = "int operator%<%%d>(int)";
  logger.logEx2(Logger::DEBUG, file, method, 7, "AR", "%d%%", 5);
  EXPECT_EQ(takeLine(), "AR DEBUG: operator%<%d>() [7]: 5%\n100%/a%s%n%(7)\n");
  EXPECT_EQ(log2(Logger::DEBUG, file, method, 7, "AR", "%d%%"),
            "AR DEBUG: operator%<%%d>() [7]: %d%%\n100%%/a%s%n%(7)\n");
  const std::string endless(5000, '%');
  logger.logEx2(Logger::DEBUG, endless.c_str(), endless.c_str(), 7, "AR", "m");
  EXPECT_THAT(takeLine(), HasSubstr("%%%() [7]: m\n%%%"));
}

TEST_F(LoggerTest, LongLinesAreCut) {
  const std::string x(5000, 'x');
  EXPECT_EQ(log2(Logger::DEBUG, "AR", x.c_str()).size(), 2047u);
  EXPECT_EQ(log2(Logger::DEBUG, "S", kMethod, 7, "AR", x.c_str()).size(), 1023u);
  logger.logEx2(Logger::DEBUG, "S", kMethod, 7, "AR", "%s", x.c_str());
  EXPECT_EQ(takeLine().size(), 2047u);
  // A format cut within its conversion loses that conversion.
  const std::string head = "AR DEBUG: ";
  for (std::size_t n = 1005; n < 1020; ++n) {
    const std::string format = std::string(n, 'x') + "%-5lld";
    logger.logEx2(Logger::DEBUG, "S", kMethod, 7, "AR", format.c_str(), 42LL);
    const std::size_t room = 1023 - head.size();
    const std::string end = n + 7 <= room ? "42   \n" : n + 6 <= room ? "42   " : "";
    EXPECT_EQ(takeLine(), head + std::string(std::min(n, room), 'x') + end) << n;
  }
}

TEST_F(LoggerTest, FileTakesTheLinesFromTheSystemLog) {
  const std::string name = ::testing::TempDir() + "LoggerTest" + std::to_string(getpid()) + ".log";
  const auto content = [&name] {
    std::ostringstream text;
    text << std::ifstream(name).rdbuf();
    return text.str();
  };
  std::ofstream(name) << "old\n";
  logger.setFile(Path(name), true, true);
  logger.log2(Logger::DEBUG, "AR", "a");
  logger.log2(Logger::DEBUG, "AR", "b");
  EXPECT_EQ(content(), "old\nAR DEBUG: a\nAR DEBUG: b\n");
  logger.setFile(Path(name), false, false);
  EXPECT_EQ(content(), "");
  logger.log2(Logger::DEBUG, "AR", "c");
  logger.clearLogFile();  // not while it is open
  logger.closeFile();
  EXPECT_EQ(content(), "AR DEBUG: c\n");
  logger.clearLogFile();
  EXPECT_EQ(content(), "");
  EXPECT_TRUE(capture.lines().empty());
  EXPECT_EQ(recorder.lines.size(), 3u);
  std::filesystem::remove(name);

  logger.setFile(Path("/nowhere/at/all.log"), false, false);
  EXPECT_FALSE(logger.openLogFile());
  logger.log2(Logger::DEBUG, "AR", "d");
  EXPECT_EQ(capture.count(": d"), 1);
}

TEST_F(LoggerTest, FailedCheckIsReportedAndCounted) {
  const std::uint64_t before = failedCheckCount();
  logError("x > 0", "Some/src/File", std::string(150, 'f').c_str(), 12);
  EXPECT_EQ(takeLine(),
            "AR ERROR: AR_ASSERT x > 0 Some/src/File(12) " + std::string(100, 'f') + "\n");
  logger.setFlag(Logger::kFlagFunction | Logger::kFlagFilename, true);
  logError(nullptr, nullptr, nullptr, 1);
  EXPECT_EQ(takeLine(),
            "AR ERROR: AR::Common::logError() [724]: AR_ASSERT (null) (null)(1) "
            "(null)\nCommon/src/Logger(724)\n");
  logger.setFlag(Logger::kFlagFunction | Logger::kFlagFilename, false);
  logError(std::size_t{6}, std::size_t{6}, "Camera", std::size_t{88});
  EXPECT_EQ(takeLine(), "AR ERROR: push_back: current_size=6, MAX_SIZE=6. 88b, Camera\n");
  logger.setLevel(Logger::OFF);
  logError("quiet", "f", "g", 1);
  EXPECT_EQ(takeLine(), "none");
  EXPECT_EQ(failedCheckCount() - before, 4u);
  std::thread([] { EXPECT_EQ(failedCheckCount(), 0u); }).join();
  addFailedChecks(3);
  EXPECT_EQ(failedCheckCount() - before, 7u);
}

TEST_F(LoggerTest, CheckThatFailsWhileALineIsFormatted) {
  logger.setFlag(Logger::kFlagFilename, true);
  logger.log2(Logger::DEBUG, nullptr, kMethod, 7, "AR", "m");
  EXPECT_THAT(recorder.lines,
              ElementsAre(HasSubstr("AR_ASSERT file != nullptr Common/src/Logger("), ""));
}

TEST_F(LoggerTest, TargetThatLogsAndThrows) {
  Recorder second;
  logger.addTarget(&second);
  int made = 0;
  recorder.onLine = [&made] {
    AR_LOGF(Logger::DEBUG, "S", "nested %d", ++made);
    throw std::runtime_error("dropped");
  };
  logger.logEx2(Logger::DEBUG, "AR", "outer %d", 0);
  logger.removeTarget(&second);
  EXPECT_THAT(second.lines, ElementsAre("AR DEBUG: nested 3\n", "AR DEBUG: nested 2\n",
                                        "AR DEBUG: nested 1\n", "AR DEBUG: outer 0\n"));
  EXPECT_EQ(made, 4);  // the innermost was dropped
}

TEST_F(LoggerTest, Strings) {
  logMultilineString("a\n\n%s\n", Logger::DEBUG);
  logOnelineString("hidden", Logger::INFO);
  logOnelineString("m", 6);
  logOnelineString(std::string(900, 'y'), Logger::DEBUG);
  logOnelineString(std::string(901, 'y'), Logger::OFF);
  EXPECT_THAT(recorder.lines,
              ElementsAre("AR DEBUG: a\n", "AR DEBUG: \n", "AR DEBUG: %s\n",
                          "AR ERROR: Unsupported log level 6 message m\n", HasSubstr("DEBUG: yyy"),
                          HasSubstr("AR_ASSERT string.length() <= MAX_LOG_LINE_LEN "),
                          HasSubstr("Unsupported log level 0 message yyy")));
}

TEST_F(LoggerTest, ManyThreads) {
  constexpr int kThreads = 8, kLines = 500;
  std::latch start(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &start] {
      start.arrive_and_wait();
      const std::string text(50 + 20 * t, static_cast<char>('a' + t));
      for (int i = 0; i < kLines; ++i) AR_LOGF(Logger::DEBUG, "S", "%s", text.c_str());
      for (int i = 0; i < kLines; ++i) AR_CHECK(i < 0, "i < 0", "S");
      EXPECT_EQ(failedCheckCount(), static_cast<std::uint64_t>(kLines));
    });
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_EQ(recorder.lines.size(), 2u * kThreads * kLines);
  for (const std::string& line : recorder.lines) {
    if (line.find("AR_ASSERT") != std::string::npos) continue;
    const char letter = line[10];
    ASSERT_EQ(line, "AR DEBUG: " + std::string(50 + 20 * (letter - 'a'), letter) + "\n");
  }
}

std::atomic<int> gLines{0};

/// Destroyed after the logger, which is built later. Ends an armed process with 0 when the logger
/// no longer does anything.
struct LateLogger {
  ~LateLogger() {
    if (!armed) return;
    Logger& logger = Logger::getInstance();
    const int linesBefore = gLines;
    __android_log_set_logger([](const __android_logger_data*, const char*) { ++gLines; });
    logger.setLevel(Logger::VERBOSE);
    logger.setFile(Path("/dev/null"), true, false);
    logger.log2(Logger::OFF, "AR", "late");
    logger.logRawString2(Logger::ERR, "AR", "late", 4);
    logError("late", "S", "f", 1);
    std::_Exit(
        logger.getLevel() == Logger::OFF && !logger.openLogFile() && gLines == linesBefore ? 0 : 1);
  }
  bool armed = false;
} gLate;

struct LateTarget : LogTarget {
  void logLine(const char*) override { ++gLines; }
} gLateTarget;

TEST(LoggerDeathTest, LinesAfterTheExitAreDropped) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        gLate.armed = true;
        Logger::getInstance().setFile(Path("/dev/null"), true, false);
        Logger::getInstance().addTarget(&gLateTarget);
        for (int i = 0; i < 3; ++i) {
          std::thread([] {
            for (;;) AR_LOG(Logger::ERR, "S", "m");
          }).detach();
        }
        while (gLines < 100) std::this_thread::yield();
        std::exit(0);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST(LoggerDeathTest, FatalCheckLogsAndAborts) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(logFatal("length>0", "Math/x", "f()", 3), ::testing::KilledBySignal(SIGABRT),
              "AR_ASSERT length>0 Math/x\\(3\\) f\\(\\)");
}

}  // namespace
}  // namespace AR::Common
