#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

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
void expectFailure(LogCapture& log, int result, int error, const std::string& line) {
  EXPECT_EQ(result, -1);
  EXPECT_EQ(arGetError(), error);
  EXPECT_EQ(log.text(), line);
  log.clear();
}

TEST(PlatformLog, CutsHeadsAndRefusesOddLevelsAndErrors) {
  LogCapture log;
  EXPECT_TRUE(arSetError(9) == 0 && arGetError() == 9);
  expectFailure(log, arSetError(10), 4, "\n");  // a message without ':' is cut off whole
  EXPECT_EQ(arGetError(), 0);

  for (const char* text : {"AR ERROR: x: y", ": whole", "no head", ""}) {
    EXPECT_EQ(arLogMessage(1, "AR", text), 0);
  }
  EXPECT_EQ(arLogMessage(0, "AR", "a:b"), 0);
  EXPECT_EQ(log.text(), ": x: y\n: whole\n\n\n");
  log.clear();
  expectFailure(log, arLogMessage(3, "AR", nullptr), 0, "");
  expectFailure(log, arLogMessage(-1, "AR", "a:b"), 3, "Erroneous log level -1\n");
  expectFailure(log, arLogMessage(7, "AR", "a:b"), 3, "Erroneous log level 7\n");
}

TEST(PlatformFile, BuildsModesFromFlags) {
  const std::pair<unsigned, const char*> kCases[] = {
      {0x1a, "w"},         {0x0c, "a"},         {0x03, "r+"}, {0x0d | 0x20, "a+b"},
      {0x01 | 0x60, "rb"}, {0x1a | 0x40, "wt"}, {0x02, ""},   {0x81, ""}};
  for (const auto& [flags, mode] : kCases) EXPECT_STREQ(AR::PL::fileMode(flags).data(), mode);
}

TEST(PlatformFile, WritesReadsPositionsAndDeletes) {
  const std::string folder = testing::TempDir() + "platform_" + std::to_string(getpid());
  const std::string path = folder + "/file";
  LogCapture log;
  ARFile* file = nullptr;
  ASSERT_EQ(arFileCreateDirectory(folder.c_str()), 0);
  EXPECT_EQ(arFileCreateDirectory(folder.c_str()), 0);
  expectFailure(log, arFileOpen(&file, path.c_str(), AR_FILE_READ), AR_ERROR_UNKNOWN, "");

  ASSERT_EQ(arFileOpen(&file, path.c_str(), 0x1b | AR_FILE_BINARY), 0);
  EXPECT_EQ(arFilePrint(file, "%d,%s", 12, "ab"), 0);
  EXPECT_TRUE(arFileWrite(file, "cdef", 2, 2, nullptr) == 0 && arFileFlush(file) == 0);
  EXPECT_EQ(arFileSetPosition(file, -7, AR_FILE_END), 0);
  char text[16] = {};
  std::size_t numRead = 0;
  EXPECT_TRUE(arFileRead(file, text, 3, 5, &numRead) == 0 && numRead == 2) << numRead;
  EXPECT_STREQ(text, ",abcdef");
  std::int64_t position = 0;
  EXPECT_TRUE(arFileGetPosition(file, &position) == 0 && position == 9) << position;
  EXPECT_EQ(arFileIsEOF(file), 1);
  expectFailure(log, arFileSetPosition(file, -1, AR_FILE_BEGIN), AR_ERROR_INVALID, "");
  EXPECT_EQ(arFileClose(file), 0);

  file = OS::openFileForAppending(path, 4);
  EXPECT_TRUE(OS::write(file, "two", 3) && OS::close(file));
  EXPECT_EQ(std::filesystem::file_size(path), 12U);
  file = OS::openFileForWriting(path, 6);
  EXPECT_TRUE(OS::write(file, "one ", 4) && OS::close(file));
  EXPECT_EQ(std::filesystem::file_size(path), 4U);
  EXPECT_FALSE(OS::close(file) || OS::openFileForWriting(path, 4));

  EXPECT_EQ(arFileExists(path.c_str()), 1);
  EXPECT_EQ(arFileCreateDirectory(path.c_str()) + arFileDeleteEmptyDirectory(folder.c_str()), -2);
  EXPECT_TRUE(arFileDeleteFile(path.c_str()) == 0 && arFileExists(path.c_str()) == 0);
  EXPECT_EQ(arFileDeleteEmptyDirectory(folder.c_str()), 0);
}

TEST(PlatformFile, OddArgumentsFail) {
  LogCapture log;
  ARFile* file = nullptr;
  ARFilePathInfo info{};
  ASSERT_EQ(setenv("HOME", "/some/where", 1), 0);
  EXPECT_EQ(arFileGetPathInfo(AR_FILE_PATH_STORAGE, &info), 0);
  EXPECT_STREQ(info.path, "/some/where");
  const int results[] = {arFileOpen(&file, "x", AR_FILE_WRITE),
                         arFileClose(nullptr),
                         arFileWrite(stdout, nullptr, 1, 1, nullptr),
                         arFileWrite(stdout, &file, SIZE_MAX, 2, nullptr),
                         arFileGetPosition(stdout, nullptr),
                         arFileGetPathInfo(static_cast<ARFileBasePath>(4), &info),
                         arThreadCondTimedWait(nullptr, nullptr, 1)};
  for (const int result : results) EXPECT_EQ(result, -1);
  EXPECT_EQ(arMemoryAllocAligned(100, 24), nullptr);
  EXPECT_EQ(arGetError(), AR_ERROR_INVALID);
  EXPECT_EQ(log.count(": invalid parameter"), 8);
}

TEST(PlatformThread, DeadlinesCarryWholeSeconds) {
  const std::timespec half = AR::PL::deadlineAfter({10, 500'000'000}, 500);
  EXPECT_TRUE(half.tv_sec == 11 && half.tv_nsec == 0);
  const std::timespec longest = AR::PL::deadlineAfter({10, 0}, UINT32_MAX);
  EXPECT_TRUE(longest.tv_sec == 4'294'977 && longest.tv_nsec == 295'000'000);
}

ARThreadMutex gMutex;

/// Runs once gMutex is free.
void* announceId(void* id) {
  arThreadMutexLock(&gMutex);
  arThreadMutexUnlock(&gMutex);
  *static_cast<std::uint64_t*>(id) = arThreadGetCurrentThreadId();
  return id;
}

TEST(PlatformThread, WaitsRunsAndJoins) {
  LogCapture log;
  expectFailure(log, AR::PL::timedWaitResult(EINVAL), 5, ": invalid parameter\n");
  expectFailure(log, AR::PL::timedWaitResult(ENOMEM), 1, ": operation failed (unknown)\n");

  ARThreadCond cond;
  ASSERT_TRUE(arThreadMutexCreate(&gMutex) == 0 && arThreadCondCreate(&cond) == 0);
  EXPECT_EQ(arThreadMutexLock(&gMutex), 0);
  expectFailure(log, arThreadCondTimedWait(&cond, &gMutex, 1), 8, "");
  expectFailure(log, arThreadMutexTryLock(&gMutex), 8, "");

  ARThread* thread = nullptr;
  std::uint64_t id = 0, announcedId = 0;
  ASSERT_EQ(arThreadCreate(&thread, announceId, &announcedId), 0);
  ARThreadSchedulingHint hint = AR_THREAD_SCHEDULING_FIFO;
  EXPECT_EQ(arThreadSetSchedulingHint(thread, AR_THREAD_SCHEDULING_SHARED), 0);
  EXPECT_TRUE(arThreadGetSchedulingHint(thread, &hint) == 0 && hint == AR_THREAD_SCHEDULING_SHARED);
  EXPECT_EQ(arThreadGetId(thread, &id), 0);
  EXPECT_EQ(arThreadMutexUnlock(&gMutex), 0);
  void* result = nullptr;
  EXPECT_EQ(arThreadJoin(thread, &result), 0);
  EXPECT_TRUE(result == &announcedId && id == announcedId && id != arThreadGetCurrentThreadId());
  expectFailure(log, arThreadJoin(thread, &result), 5, ": invalid parameter\n");
  EXPECT_EQ(arThreadSetPriority(thread, 0), -1);
  EXPECT_EQ(arThreadDestroy(thread), 0);
  EXPECT_TRUE(arThreadCondDestroy(&cond) == 0 && arThreadMutexDestroy(&gMutex) == 0);
}

unsigned hourNow(int (*getTime)(unsigned*, unsigned*, unsigned*, unsigned*, unsigned*, unsigned*)) {
  unsigned hour = 99;
  EXPECT_EQ(getTime(nullptr, nullptr, nullptr, &hour, nullptr, nullptr), 0);
  return hour;
}

TEST(Platform, LocalTimeFollowsAChangedTimeZone) {
  for (const unsigned ahead : {5U, 0U, 7U}) {
    setenv("TZ", ("XXX-" + std::to_string(ahead)).c_str(), 1);
    const unsigned before = hourNow(arTimeGetGMTDateTime), local = hourNow(arTimeGetLocalTime);
    const bool isAhead =
        local == (before + ahead) % 24 || local == (hourNow(arTimeGetGMTDateTime) + ahead) % 24;
    int secondsEast = -1;
    EXPECT_TRUE(isAhead && arTimeGetTimeZone(&secondsEast) == 0);
    EXPECT_EQ(secondsEast, static_cast<int>(ahead) * 3600);
  }
  unsetenv("TZ");
}

TEST(Platform, ClocksAgreeAndMemoryIsAligned) {
  const ARTimestamp now = arTimeGetLoadTimestamp() + arTimeGetNanoSeconds();
  EXPECT_LE(now, arTimeGetTimestamp());
  EXPECT_EQ(arTimeTimestampToSeconds(2250000000), 2.25);
  EXPECT_EQ(arTimeSecondsToTimestamp(4293505.956048315), 4'293'505'956'048'315U);
  EXPECT_EQ(arTimeSecondsToTimestamp(1e300), UINT64_MAX);
  EXPECT_EQ(arTimeSecondsToTimestamp(-1), 0U);
  void* const memory = OS::allocAligned(100, 4096);
  EXPECT_GE(OS::getAlignment(memory), 4096U);
  OS::freeAligned(memory);
  EXPECT_EQ(OS::getAlignment(reinterpret_cast<const void*>(0x1238)), 8U);
}

}  // namespace
