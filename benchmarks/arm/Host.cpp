// What a program for ARM takes from its host in place of libraries that are not there: a log that
// drops its lines, and Highway's choice of an instruction set, of which there is one.

#include <hwy/targets.h>

extern "C" int __android_log_write(int, const char*, const char*) { return 0; }
extern "C" int __android_log_print(int, const char*, const char*, ...) { return 0; }

namespace hwy {

int64_t SupportedTargets() { return HWY_STATIC_TARGET; }
void SetSupportedTargetsForTest(int64_t) {}
ChosenTarget& GetChosenTarget() {
  static ChosenTarget target;
  return target;
}

}  // namespace hwy
