#include "testing/LogCapture.h"

#include <mutex>

namespace rectiline::testing {
namespace {

std::mutex gMutex;
std::vector<LogLine> gLines;

void collect(const __android_logger_data* data, const char* message) {
  const std::lock_guard<std::mutex> lock(gMutex);
  gLines.push_back({data->priority, data->tag == nullptr ? "" : data->tag, message});
}

}  // namespace

LogCapture::LogCapture() : mOldPriority(__android_log_set_minimum_priority(ANDROID_LOG_VERBOSE)) {
  clear();
  __android_log_set_logger(collect);
}

LogCapture::~LogCapture() {
  __android_log_set_logger(__android_log_stderr_logger);
  __android_log_set_minimum_priority(mOldPriority);
}

std::vector<LogLine> LogCapture::lines() const {
  const std::lock_guard<std::mutex> lock(gMutex);
  return gLines;
}

void LogCapture::clear() {
  const std::lock_guard<std::mutex> lock(gMutex);
  gLines.clear();
}

int LogCapture::count(const std::string& part) const {
  int n = 0;
  for (const LogLine& line : lines()) n += line.text.find(part) != std::string::npos ? 1 : 0;
  return n;
}

std::string LogCapture::text() const {
  std::string all;
  for (const LogLine& line : lines()) all += line.text + "\n";
  return all;
}

}  // namespace rectiline::testing
