#include <android/log.h>

/// Before the first run: bad input is reported, every run has some, and nobody reads it.
extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  __android_log_set_logger([](const __android_logger_data*, const char*) {});
  return 0;
}
