#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <thread>

#include "AR/Common/FailedChecks.h"
#include "AR/Common/LogFilter.h"
#include "AR/Common/LogTarget.h"
#include "AR/Common/Logger.h"
#include "AR/Common/Path.h"
#include "testing/LogCapture.h"

namespace {

using ::testing::AnyOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using namespace AR::Common;

constexpr LogFilter::LOG_FILTER_SET kKeep = LogFilter::KEEP_EXISTING;

std::vector<int> levelsOf(const LogFilter& filter, const std::vector<const char*>& names) {
  std::vector<int> levels;
  for (const char* name : names) levels.push_back(filter.getLevel(name, -1));
  return levels;
}

TEST(LogFilter, TheDeepestNodeOnThePathDecides) {
  LogFilter filter(Logger::DEBUG);
  filter.setFilterLevel("AR::CV", Logger::ERR, kKeep);
  filter.setFilterLevel("VIO::Map::row", Logger::VERBOSE, kKeep);
  filter.setFilterLevel("VIO::Map", Logger::OFF, kKeep);
  EXPECT_THAT(levelsOf(filter, {nullptr, "", "main", "A", "ARC", "AR:CV", "::AR::CV"}), Each(3));
  // "AR" was added on the way to "AR::CV" and has its level.
  EXPECT_THAT(levelsOf(filter, {"AR::CV", "AR::CV::Camera::init", "AR::Math::f"}), Each(1));
  EXPECT_THAT(levelsOf(filter, {"VIO::Map", "VIO::Map::row::x", "VIO::Mapp"}), Each(5));
}

TEST(LogFilter, ModesChangeAnExistingLastNodeOnly) {
  const int kResults[][2] = {{3, 5}, {1, 3}, {1, 5}, {3, 3}};  // of 1 and of 5 upon 3, by mode
  for (int i = 0; i < 8; ++i) {
    const auto mode = static_cast<LogFilter::LOG_FILTER_SET>(i / 2);
    const int level = i % 2 == 0 ? 1 : 5;
    LogFilter filter(2);
    filter.setFilterLevel("a::b", 3, kKeep);
    for (const char* name : {"a::b", "n::m", static_cast<const char*>(nullptr)}) {
      filter.setFilterLevel(name, level, mode);
    }
    EXPECT_THAT(levelsOf(filter, {"a::b", "a", "n", nullptr}),
                ElementsAre(kResults[i / 2][i % 2], 3, level, level))
        << "mode " << mode;
  }
  EXPECT_EQ(LogFilterNode().level(), Logger::WARNING);
}

TEST(LogFilter, OwnsItsNamesAndKeepsThemSorted) {
  LogFilter filter(0);
  const auto nodeName = [](int i) { return "node" + std::to_string(i); };
  for (int i = 0; i < 60; ++i) {
    filter.setFilterLevel(nodeName(i * 37 % 60).c_str(), 1 + i * 37 % 60, kKeep);
  }
  for (const char* unknown : {static_cast<const char*>(nullptr), "", "node1::y"})
    filter.removeFilterLevel(unknown);
  for (int i = 0; i < 60; i += 2) filter.removeFilterLevel(nodeName(i).c_str());
  for (int i = 0; i < 60; ++i) {
    EXPECT_EQ(filter.getLevel(nodeName(i).c_str(), -1), i % 2 == 0 ? 0 : 1 + i);
  }
}

TEST(LogFilter, CutsNamesIntoPortions) {
  const std::string name = "AR:::f::3::4::5::6::7::8::9::a::b::c::d::e::f::g::h";
  StringPortion portions[LogFilter::kMaxPortions];
  const auto cut = [&](const char* text, int length) {
    return LogFilter::splitUpMethodName(text, portions, LogFilter::kMaxPortions, length);
  };
  EXPECT_EQ(cut(name.c_str(), -1), LogFilter::kMaxPortions);
  EXPECT_EQ(portions[1].view(), ":f");
  EXPECT_EQ(cut(name.c_str(), 3), 1);
  EXPECT_EQ(cut("", -1) + cut("abc", 0) + cut(nullptr, 7), 0);
}

TEST(LogFilter, ReadsLevelWords) {
  const rectiline::testing::LogCapture log;
  int level = 0;
  for (const char* word : {"off", "error", "warning", "debug", "info", "verbose"}) {
    EXPECT_EQ(LogFilter::getLogLevelFromString(word), level++);
  }
  for (const char* word : {"Error", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(LogFilter::getLogLevelFromString(word), 0);
  }
  EXPECT_EQ(log.text(),
            ": Unable to parse logging level: 'Error'\n\n"
            ": Unable to parse logging level: '(null)'\n\n");
}

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
  LoggerTest() {
    EXPECT_EQ(logger.getLevel(), Logger::DEBUG);
    EXPECT_EQ(logger.getLogFilter().level(), Logger::DEBUG);
    logger.addTarget(&recorder);
  }
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
  rectiline::testing::LogCapture capture;
};

std::string timeNow() {
  const std::time_t now = std::time(nullptr);
  char time[64];
  std::strftime(time, sizeof time, "%Y-%m-%d %H:%M:%S: ", std::localtime(&now));
  return time;
}

TEST_F(LoggerTest, SixteenLineFormats) {
  const std::string kLines[] = {"m\n", "m\nS(7)\n", "AR::Common::Foo::bar(): m\n",
                                "AR::Common::Foo::bar() [7]: m\nS(7)\n"};
  const unsigned kFlags[] = {Logger::kFlagFilename, Logger::kFlagFunction, Logger::kFlagTimeDate,
                             Logger::kFlagLevelPrefix};
  for (unsigned i = 0; i < 16; ++i) {
    for (unsigned bit = 0; bit < 4; ++bit) logger.setFlag(kFlags[bit], (i >> bit & 1) != 0);
    const auto prefix = [i] {
      return std::string(i & 8 ? "AR DEBUG: " : "") + (i & 4 ? timeNow() : "");
    };
    const std::string before = prefix();
    logger.log2(Logger::DEBUG, "S", kMethod, 7, "AR", "m");
    logger.logEx2(Logger::DEBUG, "S", kMethod, 7, "AR", "%c", 'm');
    logger.log2(Logger::DEBUG, "AR", "m");
    logger.logEx2(Logger::DEBUG, "AR", "%c", 'm');
    const auto full = AnyOf(before + kLines[i & 3], prefix() + kLines[i & 3]);
    const auto brief = AnyOf(before + kLines[0], prefix() + kLines[0]);
    EXPECT_THAT(std::exchange(recorder.lines, {}), ElementsAre(full, full, brief, brief)) << i;
  }
}

TEST_F(LoggerTest, LevelGatesAndPriorities) {
  const int kPriorities[] = {0, 6, 5, 3, 4, 2};
  const std::string kNames[] = {"", "ERROR", "WARNING", "DEBUG", "INFO", "VERBOSE"};
  for (int current = 0; current <= 5; ++current) {
    logger.setLevel(static_cast<Logger::LEVEL>(current));
    EXPECT_EQ(logger.getLogFilter().getLevel(nullptr, -1), current);
    for (int level = 1; level <= 5; ++level) {
      capture.clear();
      int evaluated = 0;
      AR_LOGF(level, "S", "%d", ++evaluated);
      AR_LOG(level, "S", (++evaluated, "1"));
      logger.log2(static_cast<Logger::LEVEL>(level), "AR", "2");
      logger.logEx2(level, "AR", "%d", 3);
      const bool shown = level <= current;
      EXPECT_EQ(evaluated, shown ? 2 : 0);
      EXPECT_EQ(takeLine(), shown ? "AR " + kNames[level] + ": 3\n" : "none");
      EXPECT_TRUE(!shown || capture.lines()[1].priority == kPriorities[level]);
      EXPECT_EQ(capture.text(), shown ? ": 1\n\n: 1\n\n: 2\n\n: 3\n\n" : "");
    }
  }
}

TEST_F(LoggerTest, FilterByMethodNameAndOddArguments) {
  logger.setFlag(Logger::kFlagFilter, true);
  logger.getLogFilter().setFilterLevel("AR::Common::Foo", Logger::DEBUG, LogFilter::ALWAYS);
  logger.getLogFilter().setFilterLevel("AR::Common::Foo::bar", Logger::ERR, LogFilter::ALWAYS);
  EXPECT_TRUE(logger.checkAndCreateFormatString(Logger::ERR, "S", kMethod, 1, "m"));
  EXPECT_EQ(log2(Logger::DEBUG, "S", kMethod, 1, "AR", "m"), "none");
  EXPECT_NE(log2(Logger::DEBUG, "AR", "the short form does not ask"), "none");

  capture.clear();
  logger.setFlag(Logger::kFlagFilter | Logger::kFlagConsole, false);
  EXPECT_EQ(log2(Logger::DEBUG, "S", nullptr, 7, "AR", "no method text"), "none");
  EXPECT_EQ(log2(Logger::DEBUG, "AR", nullptr), "AR DEBUG: (null)\n");
  logger.log2(static_cast<Logger::LEVEL>(-1), "AR", "m");
  EXPECT_THAT(recorder.lines,
              ElementsAre(HasSubstr("AR_ASSERT nlevel >= 0 && nlevel <= 5 "), "AR : m\n"));
  EXPECT_TRUE(capture.lines().empty());
}

TEST_F(LoggerTest, MethodNames) {
  EXPECT_EQ(Logger::parseMethodName("void A::Log::f(int, bool)", 80).view(), "A::Log::f");
  EXPECT_EQ(Logger::parseMethodName("void (anonymous namespace)::f()", 80).view(), "");
  EXPECT_EQ(Logger::parseMethodName("abc()", 2).view(), "bc");

  logger.setFlag(Logger::kFlagFunction | Logger::kFlagFilename, true);
  const char* const file = "100%%/a%s%n%";
  const char* const method = "int operator%<%%d>(int)";
  logger.logEx2(Logger::DEBUG, file, method, 7, "AR", "%d%%", 5);
  EXPECT_EQ(takeLine(), "AR DEBUG: operator%<%d>() [7]: 5%\n100%/a%s%n%(7)\n");
  EXPECT_EQ(log2(Logger::DEBUG, file, method, 7, "AR", "%d%%"),
            "AR DEBUG: operator%<%%d>() [7]: %d%%\n100%%/a%s%n%(7)\n");
  const std::string endless(5000, '%'), longName(90, 'n');
  logger.logEx2(Logger::DEBUG, endless.c_str(), endless.c_str(), 7, "AR", "m");
  EXPECT_THAT(takeLine(), HasSubstr("%%%() [7]: m\n%%%"));
  const std::string line = log2(Logger::DEBUG, "S", longName.c_str(), 7, "AR", endless.c_str());
  EXPECT_EQ(line.substr(0, 92), "AR DEBUG: " + std::string(80, 'n') + "()");
}

TEST_F(LoggerTest, LongLinesAreCut) {
  const std::string x(5000, 'x');
  EXPECT_EQ(log2(Logger::DEBUG, "AR", x.c_str()).size(), 2047U);
  logger.logEx2(Logger::DEBUG, "S", kMethod, 7, "AR", "%s", x.c_str());
  EXPECT_EQ(takeLine().size(), 2047U);
  // A format cut within its conversion loses that conversion.
  constexpr std::size_t room = 1023 - std::string_view("AR DEBUG: ").size();
  for (std::size_t n = room - 8; n < room + 3; ++n) {
    const std::string format = std::string(n, 'x') + "%-5lld";
    logger.logEx2(Logger::DEBUG, "S", kMethod, 7, "AR", format.c_str(), 42LL);
    const std::string end = n + 7 <= room ? "42   \n" : n + 6 <= room ? "42   " : "";
    EXPECT_EQ(takeLine(), "AR DEBUG: " + std::string(std::min(n, room), 'x') + end) << n;
  }
}

TEST_F(LoggerTest, FileTakesTheLinesFromTheSystemLog) {
  const std::string name = ::testing::TempDir() + "LoggerTest" + std::to_string(getpid()) + ".log";
  const auto content = [&name] {
    std::ifstream file(name);
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  std::ofstream(name) << "old\n";
  logger.setFile(Path(name), true, false);
  EXPECT_EQ(log2(Logger::DEBUG, "AR", "a"), "AR DEBUG: a\n");
  logger.clearLogFile();  // not while it is open
  logger.closeFile();
  EXPECT_EQ(content(), "old\nAR DEBUG: a\n");
  logger.setFile(Path(name), false, true);
  log2(Logger::DEBUG, "AR", "b");
  EXPECT_EQ(content(), "AR DEBUG: b\n");
  logger.clearLogFile();
  EXPECT_EQ(content(), "");
  std::filesystem::remove(name);

  logger.setFile(Path("/nowhere/at/all.log"), false, false);
  log2(Logger::DEBUG, "AR", "d");
  EXPECT_EQ(capture.text(), ": d\n\n");
}

TEST_F(LoggerTest, CountsLinesThatAFullDiskDidNotTake) {
  for (const bool closeAfterWrite : {false, true}) {
    const std::uint64_t before = logger.lostLines();
    logger.setFile(Path("/dev/full"), true, closeAfterWrite);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(log2(Logger::DEBUG, "AR", "a"), "AR DEBUG: a\n");
    EXPECT_EQ(logger.lostLines() - before, 3U);
    logger.setFile(Path("/nowhere/at/all.log"), true, closeAfterWrite);
    log2(Logger::DEBUG, "AR", "the system log takes it");
    logger.setFlag(Logger::kFlagConsole, false);
    log2(Logger::DEBUG, "AR", "nobody does");
    EXPECT_EQ(logger.lostLines() - before, 4U);
    logger.setFile(Path(), true, false);
    log2(Logger::DEBUG, "AR", "nobody was to");
    log2(Logger::INFO, "AR", "below the level");
    EXPECT_EQ(logger.lostLines() - before, 4U);
    logger.setFlag(Logger::kFlagConsole, true);
  }
}

bool sharedHelper(const CallSite& site) { return AR_CHECK_AT(site, false, "a < b", "S"); }

int entryPoint(const char*) { return sharedHelper(AR_HERE) ? 0 : __LINE__; }

TEST_F(LoggerTest, FailedCheckInASharedHelperNamesTheEntryPoint) {
  const std::string line = std::to_string(entryPoint(""));
  EXPECT_THAT(takeLine(), HasSubstr("AR_ASSERT a < b S(" + line + ") int "));
  EXPECT_THAT(capture.text(), HasSubstr("entryPoint(const char"));
}

TEST_F(LoggerTest, FailedCheckIsReportedAndCounted) {
  const std::uint64_t before = failedCheckCount();
  logError("x > 0", "Some/src/File", std::string(150, 'f').c_str(), 12);
  EXPECT_EQ(takeLine(),
            "AR ERROR: AR_ASSERT x > 0 Some/src/File(12) " + std::string(100, 'f') + "\n");
  logError(std::size_t{6}, std::size_t{6}, "Camera", std::size_t{88});
  EXPECT_EQ(takeLine(), "AR ERROR: push_back: current_size=6, MAX_SIZE=6. 88b, Camera\n");
  logger.setFlag(Logger::kFlagFunction | Logger::kFlagFilename, true);
  logError(nullptr, nullptr, nullptr, 1);
  EXPECT_THAT(takeLine(), HasSubstr("AR::Common::logError() [724]: AR_ASSERT (null) (null)(1) (n"));
  logger.log2(Logger::DEBUG, nullptr, kMethod, 7, "AR", "fails while it is formatted");
  EXPECT_THAT(std::exchange(recorder.lines, {}), ElementsAre(HasSubstr("nullptr Common/src/"), ""));
  logger.setLevel(Logger::OFF);
  logError("quiet", "f", "g", 1);
  EXPECT_EQ(takeLine(), "none");
  EXPECT_EQ(failedCheckCount() - before, 5U);
}

TEST_F(LoggerTest, TargetsLogThrowAndLeave) {
  Recorder second, third;
  logger.addTarget(&second);
  logger.addTarget(&third);
  int made = 0;
  recorder.onLine = [&made] {
    AR_LOGF(Logger::DEBUG, "S", "nested %d", ++made);
    throw std::runtime_error("dropped");
  };
  second.onLine = [this, &second] { logger.removeTarget(&second); };
  const std::uint64_t lostBefore = logger.lostLines();
  logger.logEx2(Logger::DEBUG, "AR", "outer %d", 0);
  logger.removeTarget(&third);
  EXPECT_EQ(made, 4);  // the innermost was dropped
  EXPECT_EQ(logger.lostLines() - lostBefore, 1U);
  EXPECT_THAT(second.lines, ElementsAre("AR DEBUG: nested 3\n"));
  EXPECT_THAT(third.lines, ElementsAre("AR DEBUG: nested 3\n", "AR DEBUG: nested 2\n",
                                       "AR DEBUG: nested 1\n", "AR DEBUG: outer 0\n"));
}

TEST_F(LoggerTest, Strings) {
  logMultilineString("a\n\n%s\n", Logger::DEBUG);
  logOnelineString("below the level", Logger::VERBOSE);
  logOnelineString(std::string(901, 'y'), 6);
  EXPECT_THAT(recorder.lines,
              ElementsAre("AR DEBUG: a\n", "AR DEBUG: \n", "AR DEBUG: %s\n",
                          HasSubstr("AR_ASSERT string.length() <= MAX_LOG_LINE_LEN "),
                          HasSubstr("AR ERROR: Unsupported log level 6 message yyy")));
}

TEST_F(LoggerTest, ManyThreads) {
  std::vector<std::thread> threads;
  for (char letter = 'a'; letter < 'i'; ++letter) {
    threads.emplace_back([letter] {
      const std::string text(letter, letter);
      for (int i = 0; i < 500; ++i) AR_LOGF(Logger::DEBUG, "S", "%s", text.c_str());
      for (int i = 0; i < 500; ++i) AR_CHECK(i < 0, text.c_str(), "S");
      EXPECT_EQ(failedCheckCount(), 500U);
    });
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_EQ(recorder.lines.size(), 2U * 8 * 500);
  for (const std::string& line : recorder.lines) {
    const char letter = line[20];
    ASSERT_THAT(line, HasSubstr(" " + std::string(letter, letter) + (line[3] == 'D' ? "\n" : " ")));
  }
}

std::atomic<int> gLines{0};

/// Destroyed after the logger, which is built later. Ends an armed process with 0 when the logger
/// no longer does anything.
struct LateLogger : LogTarget {
  ~LateLogger() override {
    if (!armed) return;
    Logger& logger = Logger::getInstance();
    const int linesBefore = gLines;
    __android_log_set_logger([](const __android_logger_data*, const char*) { ++gLines; });
    logger.setLevel(Logger::VERBOSE);
    logger.logRawString2(Logger::ERR, "AR", "late", 4);
    logError("late", "S", "f", 1);
    std::_Exit(logger.getLevel() == Logger::OFF && gLines == linesBefore ? 0 : 1);
  }
  void logLine(const char*) override { ++gLines; }
  bool armed = false;
} gLate;

/// Exits while threads log to a file and a target.
void exitWhileThreadsLog() {
  gLate.armed = true;
  Logger::getInstance().setFile(Path("/dev/null"), true, false);
  Logger::getInstance().addTarget(&gLate);
  for (int i = 0; i < 3; ++i) {
    std::thread([] {
      for (;;) AR_LOG(Logger::ERR, "S", "m");
    }).detach();
  }
  while (gLines < 100) std::this_thread::yield();
  std::exit(0);
}

TEST(LoggerDeathTest, DropsLinesAfterTheExitAndAbortsOnAFatalCheck) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(exitWhileThreadsLog(), ::testing::ExitedWithCode(0), "");
  GTEST_FLAG_SET(death_test_style, "fast");  // the same process, so that it knows the file name
  const auto fatal = [](Logger::LEVEL level, bool console, const char* path) {
    Logger::getInstance().setLevel(level);
    Logger::getInstance().setFlag(Logger::kFlagConsole, console);
    Logger::getInstance().setFile(Path(path), false, false);
    logFatal("length>0", "Math/x", "f()", 3);
  };
  const auto aborts = ::testing::KilledBySignal(SIGABRT);
  const char kLine[] = "AR_ASSERT length>0 Math/x\\(3\\) f\\(\\)\n";
  const std::string kOnlyLine = std::string("^AR ERROR: ") + kLine + "$";
  EXPECT_EXIT(fatal(Logger::DEBUG, true, ""), aborts, kLine);
  EXPECT_EXIT(fatal(Logger::DEBUG, false, ""), aborts, kOnlyLine);
  EXPECT_EXIT(fatal(Logger::OFF, true, ""), aborts, kOnlyLine);
  EXPECT_EXIT(fatal(Logger::DEBUG, true, "/dev/full"), aborts, kOnlyLine);
  const std::string name = ::testing::TempDir() + "LoggerTest" + std::to_string(getpid()) + ".log";
  EXPECT_EXIT(fatal(Logger::DEBUG, true, name.c_str()), aborts, "^$");
  std::ifstream file(name);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}),
            "AR ERROR: AR_ASSERT length>0 Math/x(3) f()\n");
  std::filesystem::remove(name);
}

}  // namespace
