#include <android/log.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "AR/PL/Error.h"
#include "AR/PL/Log.h"
#include "AR/PL/StandardError.h"

namespace {

// By level, from 1. DEBUG comes before INFO here and after it in Android.
constexpr android_LogPriority kPriorities[] = {
    ANDROID_LOG_ERROR, ANDROID_LOG_WARN, ANDROID_LOG_DEBUG, ANDROID_LOG_INFO, ANDROID_LOG_VERBOSE,
};
constexpr int kMaxLevel = sizeof kPriorities / sizeof kPriorities[0];

}  // namespace

int arLogMessage(int level, const char* tag, const char* text) {
  if (text == nullptr) return -1;
  if (level < 0 || level > kMaxLevel) {
    arSetError(AR_ERROR_LOG_LEVEL);
    __android_log_print(ANDROID_LOG_ERROR, tag, "Erroneous log level %d", level);
    return -1;
  }
  if (level == 0) return 0;
  __android_log_write(kPriorities[level - 1], tag, text + std::strcspn(text, ":"));
  return 0;
}

void AR::PL::writeStandardError(const char* text) {
  for (std::size_t left = std::strlen(text); left > 0;) {
    const ssize_t written = write(STDERR_FILENO, text, left);
    if (written < 0 && errno != EINTR) return;
    if (written <= 0) continue;
    text += written;
    left -= static_cast<std::size_t>(written);
  }
}
