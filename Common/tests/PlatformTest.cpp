#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <iterator>
#include <string>

#include "AR/Common/OS.h"
#include "AR/PL/Error.h"
#include "AR/PL/File.h"
#include "AR/PL/FileMode.h"
#include "AR/PL/Log.h"
#include "AR/PL/Memory.h"
#include "AR/PL/Thread.h"
#include "AR/PL/Time.h"
#include "AR/PL/TimedWait.h"
#include "testing/LogCapture.h"

namespace {

using AR::Common::OS;
using rectiline::testing::LogCapture;

/// A call failed as documented: -1, this error code, and this line (or none) in the log.
void expectFailure(const LogCapture& log, int result, int error, const std::string& line) {
  EXPECT_EQ(result, -1);
  EXPECT_EQ(arGetError(), error);
  EXPECT_EQ(log.text(), line);
}

TEST(PlatformError, IsTakenOnceAndBelowTen) {
  LogCapture log;
  EXPECT_EQ(arSetError(9), 0);
  EXPECT_EQ(arGetError(), 9);
  EXPECT_EQ(arGetError(), 0);
  EXPECT_EQ(arSetError(10), -1);
  EXPECT_EQ(arGetError(), 4);
  EXPECT_EQ(arGetError(), 0);
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(log.lines()[0].text, "");  // a message without ':' is cut off whole
}

TEST(PlatformLog, MapsLevelsAndCutsHeads) {
  const struct {
    int level, priority;
    const char *text, *written;
  } kCases[] = {{1, ANDROID_LOG_ERROR, "AR ERROR: x: y", ": x: y"},
                {2, ANDROID_LOG_WARN, ": whole", ": whole"},
                {3, ANDROID_LOG_DEBUG, "no head", ""},
                {4, ANDROID_LOG_INFO, "", ""},
                {5, ANDROID_LOG_VERBOSE, "a:b", ":b"}};
  LogCapture log;
  for (const auto& c : kCases) {
    log.clear();
    EXPECT_EQ(arLogMessage(c.level, "AR", c.text), 0);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].priority, c.priority);
    EXPECT_EQ(log.lines()[0].tag, "AR");
    EXPECT_EQ(log.lines()[0].text, c.written);
  }
  log.clear();
  EXPECT_EQ(arLogMessage(0, "AR", "a:b"), 0);
  EXPECT_EQ(arLogMessage(3, "AR", nullptr), -1);
  EXPECT_EQ(log.text(), "");
  expectFailure(log, arLogMessage(-1, "AR", "a:b"), 3, "Erroneous log level -1\n");
  log.clear();
  expectFailure(log, arLogMessage(7, "AR", "a:b"), 3, "Erroneous log level 7\n");
}

TEST(PlatformFile, BuildsModesFromFlags) {
  const struct {
    unsigned flags;
    const char* mode;
  } kCases[] = {
      {0x01, "r"},  {0x1a, "w"},  {0x0c, "a"},         {0x03, "r+"},         {0x1b, "w+"},
      {0x0d, "a+"}, {0x21, "rb"}, {0x1a | 0x40, "wt"}, {0x0d | 0x20, "a+b"}, {0x01 | 0x60, "rb"},
      {0x02, ""},   {0x00, ""},   {0x81, ""}};
  for (const auto& c : kCases) EXPECT_STREQ(AR::PL::fileMode(c.flags).data(), c.mode);
}

/// A fresh folder, gone with the test.
class PlatformFiles : public testing::Test {
 protected:
  PlatformFiles() : mFolder(testing::TempDir() + "platform_" + std::to_string(getpid())) {
    EXPECT_EQ(arFileCreateDirectory(mFolder.c_str()), 0);
  }
  ~PlatformFiles() override { EXPECT_EQ(arFileDeleteEmptyDirectory(mFolder.c_str()), 0); }

  const std::string mFolder;
  const std::string mPath = mFolder + "/file";
};

TEST_F(PlatformFiles, WriteReadPositionDelete) {
  ARFile* file = nullptr;
  ASSERT_EQ(arFileOpen(&file, mPath.c_str(), 0x1b | AR_FILE_BINARY), 0);
  EXPECT_EQ(arFilePrint(file, "%d,%s", 12, "ab"), 0);
  EXPECT_EQ(arFileWrite(file, "cdef", 2, 2, nullptr), 0);
  EXPECT_EQ(arFileFlush(file), 0);
  EXPECT_EQ(arFileSetPosition(file, -7, AR_FILE_END), 0);
  char text[16] = {};
  std::size_t numRead = 0;
  EXPECT_EQ(arFileRead(file, text, 3, 5, &numRead), 0);
  EXPECT_EQ(numRead, 2U);
  EXPECT_EQ(std::string(text), ",abcdef");
  EXPECT_EQ(arFileIsEOF(file), 1);
  std::int64_t position = 0;
  EXPECT_EQ(arFileGetPosition(file, &position), 0);
  EXPECT_EQ(position, 9);
  EXPECT_EQ(arFileClose(file), 0);

  EXPECT_EQ(arFileExists(mPath.c_str()), 1);
  EXPECT_EQ(arFileCreateDirectory(mFolder.c_str()), 0);
  EXPECT_EQ(arFileCreateDirectory(mPath.c_str()), -1);
  EXPECT_EQ(arFileDeleteFile(mPath.c_str()), 0);
  EXPECT_EQ(arFileExists(mPath.c_str()), 0);
}

TEST_F(PlatformFiles, OsWordsTruncateAndAppend) {
  OS::FileHandle file = nullptr;
  const auto writeAndClose = [&](const char* text) {
    return OS::write(file, text, std::char_traits<char>::length(text)) && OS::close(file);
  };
  file = OS::openFileForWriting(mPath, OS::kWriteTruncate);
  EXPECT_TRUE(writeAndClose("lost"));
  file = OS::openFileForWriting(mPath, OS::kWriteTruncate);
  EXPECT_TRUE(writeAndClose("one "));
  file = OS::openFileForAppending(mPath, OS::kAppend);
  EXPECT_TRUE(writeAndClose("two"));
  EXPECT_EQ(file, nullptr);
  EXPECT_EQ(OS::openFileForWriting(mPath, OS::kAppend), nullptr);

  ASSERT_EQ(arFileOpen(&file, mPath.c_str(), AR_FILE_READ), 0);
  char text[16] = {};
  EXPECT_EQ(arFileRead(file, text, 1, sizeof text, nullptr), 0);
  EXPECT_EQ(std::string(text), "one two");
  EXPECT_EQ(arFileWrite(file, "x", 1, 1, nullptr), -1);
  EXPECT_TRUE(OS::close(file));
  EXPECT_FALSE(OS::close(file));
  EXPECT_EQ(arFileDeleteFile(mPath.c_str()), 0);
  arGetError();
}

TEST_F(PlatformFiles, MissingFilesFailWithoutALine) {
  LogCapture log;
  ARFile* file = nullptr;
  expectFailure(log, arFileOpen(&file, mPath.c_str(), AR_FILE_READ), AR_ERROR_UNKNOWN, "");
  expectFailure(log, arFileDeleteFile(mPath.c_str()), AR_ERROR_UNKNOWN, "");
  EXPECT_EQ(OS::openFileForAppending(mFolder + "/none/file", OS::kAppend), nullptr);
  arGetError();
  EXPECT_EQ(log.text(), "");
}

TEST(PlatformFile, BasePathsFollowTheEnvironment) {
  ARFilePathInfo info{};
  ASSERT_EQ(setenv("TMPDIR", "/some/where", 1), 0);
  EXPECT_EQ(arFileGetPathInfo(AR_FILE_PATH_TEMPORARY, &info), 0);
  EXPECT_STREQ(info.path, "/some/where");
  ASSERT_EQ(unsetenv("TMPDIR"), 0);
  EXPECT_EQ(arFileGetPathInfo(AR_FILE_PATH_TEMPORARY, &info), 0);
  EXPECT_EQ(arFileExists(info.path), 1) << info.path;
}

TEST(Platform, NullArgumentsFail) {
  LogCapture log;
  ARFile* file = nullptr;
  ARThread* thread = nullptr;
  ARThreadMutex mutex{};
  const int results[] = {arFileOpen(nullptr, "x", AR_FILE_READ),
                         arFileOpen(&file, nullptr, AR_FILE_READ),
                         arFileOpen(&file, "x", AR_FILE_WRITE),
                         arFileClose(nullptr),
                         arFileFlush(nullptr),
                         arFileRead(nullptr, &file, 1, 1, nullptr),
                         arFileWrite(stdout, nullptr, 1, 1, nullptr),
                         arFileWrite(stdout, &file, SIZE_MAX, 2, nullptr),
                         arFileIsEOF(nullptr),
                         arFileSetPosition(nullptr, 0, AR_FILE_BEGIN),
                         arFileGetPosition(stdout, nullptr),
                         arFileExists(nullptr),
                         arFileGetPathInfo(static_cast<ARFileBasePath>(4), nullptr),
                         arThreadMutexCreate(nullptr),
                         arThreadMutexLock(nullptr),
                         arThreadCondWait(nullptr, &mutex),
                         arThreadCondTimedWait(nullptr, &mutex, 1),
                         arThreadCreate(&thread, nullptr, nullptr),
                         arThreadJoin(nullptr, nullptr),
                         arThreadGetId(nullptr, nullptr),
                         arThreadGetPriority(nullptr, nullptr),
                         arThreadSetSchedulingHint(nullptr, AR_THREAD_SCHEDULING_FIFO),
                         arTimeGetTimeZone(nullptr),
                         arMemoryFree(nullptr)};
  for (const int result : results) EXPECT_EQ(result, -1);
  EXPECT_EQ(arGetError(), AR_ERROR_INVALID);
  EXPECT_EQ(log.count(": invalid parameter"), static_cast<int>(std::size(results)));
}

TEST(PlatformThread, DeadlinesCarryWholeSeconds) {
  const struct {
    std::timespec now;
    unsigned milliseconds;
    std::timespec deadline;
  } kCases[] = {{{10, 600'000'000}, 1500, {12, 100'000'000}},
                {{10, 0}, 0, {10, 0}},
                {{10, 999'999'999}, 1, {11, 999'999}},
                {{10, 500'000'000}, 500, {11, 0}},
                {{10, 0}, UINT32_MAX, {10 + 4'294'967, 295'000'000}}};
  for (const auto& c : kCases) {
    const std::timespec deadline = AR::PL::deadlineAfter(c.now, c.milliseconds);
    EXPECT_EQ(deadline.tv_sec, c.deadline.tv_sec);
    EXPECT_EQ(deadline.tv_nsec, c.deadline.tv_nsec);
  }
}

/// What two threads share in the tests of waiting.
struct Rendezvous {
  Rendezvous() {
    EXPECT_EQ(arThreadMutexCreate(&mutex), 0);
    EXPECT_EQ(arThreadCondCreate(&cond), 0);
  }
  ~Rendezvous() {
    EXPECT_EQ(arThreadCondDestroy(&cond), 0);
    EXPECT_EQ(arThreadMutexDestroy(&mutex), 0);
  }
  ARThreadMutex mutex;
  ARThreadCond cond;
  std::uint64_t id = 0;
};

TEST(PlatformThread, WaitsFailAsTheySay) {
  const struct {
    int posixError;
    int error;
    const char* line;
  } kCases[] = {{ETIMEDOUT, 8, ""},
                {EINVAL, 5, ": invalid parameter\n"},
                {EPERM, 5, ": operation not permitted\n"},
                {ENOMEM, 1, ": operation failed (unknown)\n"}};
  LogCapture log;
  for (const auto& c : kCases) {
    expectFailure(log, AR::PL::timedWaitResult(c.posixError), c.error, c.line);
    log.clear();
  }

  Rendezvous r;
  EXPECT_EQ(arThreadMutexLock(&r.mutex), 0);
  expectFailure(log, arThreadCondTimedWait(&r.cond, &r.mutex, 1), AR_ERROR_TIMED_OUT, "");
  expectFailure(log, arThreadMutexTryLock(&r.mutex), AR_ERROR_TIMED_OUT, "");
  EXPECT_EQ(arThreadMutexUnlock(&r.mutex), 0);
}

void* announceId(void* argument) {
  auto& r = *static_cast<Rendezvous*>(argument);
  arThreadMutexLock(&r.mutex);
  r.id = arThreadGetCurrentThreadId();
  arThreadCondSignal(&r.cond);
  arThreadMutexUnlock(&r.mutex);
  return argument;
}

TEST(PlatformThread, RunsSignalsAndJoins) {
  Rendezvous r;
  ARThread* thread = nullptr;
  ASSERT_EQ(arThreadMutexLock(&r.mutex), 0);
  ASSERT_EQ(arThreadCreate(&thread, announceId, &r), 0);

  int priority = -1;
  ARThreadSchedulingHint hint = AR_THREAD_SCHEDULING_FIFO;
  EXPECT_EQ(arThreadGetPriority(thread, &priority), 0);
  EXPECT_EQ(arThreadSetPriority(thread, priority), 0);
  EXPECT_EQ(arThreadSetSchedulingHint(thread, AR_THREAD_SCHEDULING_SHARED), 0);
  EXPECT_EQ(arThreadGetSchedulingHint(thread, &hint), 0);
  EXPECT_EQ(hint, AR_THREAD_SCHEDULING_SHARED);

  while (r.id == 0) ASSERT_EQ(arThreadCondWait(&r.cond, &r.mutex), 0);
  EXPECT_EQ(arThreadMutexUnlock(&r.mutex), 0);
  std::uint64_t id = 0;
  EXPECT_EQ(arThreadGetId(thread, &id), 0);
  EXPECT_EQ(id, r.id);
  EXPECT_NE(id, arThreadGetCurrentThreadId());
  void* result = nullptr;
  EXPECT_EQ(arThreadJoin(thread, &result), 0);
  EXPECT_EQ(result, &r);

  LogCapture log;
  expectFailure(log, arThreadJoin(thread, &result), AR_ERROR_INVALID, ": invalid parameter\n");
  EXPECT_EQ(arThreadGetPriority(thread, &priority), -1);
  EXPECT_EQ(arThreadDestroy(thread), 0);
  arGetError();
}

TEST(PlatformTime, ClocksAgree) {
  unsigned year = 0, month = 0;
  int secondsEast = -1;
  for (const auto getDateTime : {arTimeGetLocalTime, arTimeGetGMTDateTime}) {
    EXPECT_EQ(getDateTime(&year, &month, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_GE(year, 2024U);
    EXPECT_TRUE(month >= 1 && month <= 12) << month;
  }
  EXPECT_EQ(arTimeGetTimeZone(&secondsEast), 0);
  EXPECT_LE(std::abs(secondsEast), 14 * 3600);

  const ARTimestamp before = arTimeGetTimestamp();
  EXPECT_EQ(arThreadSleepMilliSeconds(2), 0);
  EXPECT_GE(arTimeTimestampToNanoSeconds(arTimeGetTimestamp() - before), 2'000'000U);
  EXPECT_LE(arTimeGetLoadTimestamp(), before);
  EXPECT_EQ(arTimeSecondsToTimestamp(1.5), arTimeNanoSecondsToTimestamp(1'500'000'000));
  EXPECT_EQ(arTimeTimestampToSeconds(arTimeSecondsToTimestamp(2.25)), 2.25);
  EXPECT_EQ(arTimeSecondsToTimestamp(1e300), UINT64_MAX);
  EXPECT_EQ(arTimeSecondsToTimestamp(-1), 0U);
}

TEST(PlatformMemory, IsAlignedAndRefusesOddAlignments) {
  for (const std::size_t alignment : {1U, 8U, 16U, 64U, 4096U}) {
    void* const memory = OS::allocAligned(100, alignment);
    ASSERT_NE(memory, nullptr);
    EXPECT_GE(OS::getAlignment(memory), alignment);
    OS::freeAligned(memory);
  }
  EXPECT_EQ(OS::getAlignment(reinterpret_cast<const void*>(0x1238)), 8U);
  EXPECT_EQ(OS::getAlignment(nullptr), 0U);
  LogCapture log;
  EXPECT_EQ(arMemoryAllocAligned(100, 24), nullptr);
  EXPECT_EQ(arGetError(), AR_ERROR_INVALID);

  auto* bytes = static_cast<unsigned char*>(arMemoryAlloc(1));
  bytes[0] = 42;
  bytes = static_cast<unsigned char*>(arMemoryRealloc(bytes, 10'000));
  EXPECT_EQ(bytes[0], 42);
  EXPECT_EQ(arMemoryFree(bytes), 0);
}

}  // namespace
