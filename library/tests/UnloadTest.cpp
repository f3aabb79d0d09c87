// What stays in a process that loads the library, uses it and unloads it, hundreds of times:
// nothing. usage: unload_test librectiline.so RIG.xml

#include <dlfcn.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>

#include "rectiline/rectiline.h"

namespace {

/// The fewest bytes that one allocation takes.
constexpr std::size_t kLeastBlock = 4 * sizeof(void*);

void require(bool condition, const char* text) {
  if (condition) return;
  std::fprintf(stderr, "failed: %s\n", text);
  std::exit(1);
}

template <typename F>
F* find(void* library, const char* name) {
  void* const address = dlsym(library, name);
  require(address != nullptr, name);
  return reinterpret_cast<F*>(address);
}

/// Loads the library, makes it log, rectify on its workers and refuse a call, and unloads it.
void useOnce(const char* path, const char* rig) {
  void* const library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  require(library != nullptr, "the library loads");
  find<decltype(rectiline_set_log)>(library, "rectiline_set_log")(5, 0);
  DeviceCalibrationZEL device;
  require(find<decltype(rectiline_rig_from_file)>(library, "rectiline_rig_from_file")(
              rig, &device) == RECTILINE_OK,
          "the rig loads");
  rectiline_rectification result{};
  result.struct_size = sizeof result;
  const auto rectify = find<decltype(rectiline_rectify)>(library, "rectiline_rectify");
  require(rectify(&device, nullptr, nullptr, nullptr, &result) == RECTILINE_OK, "it rectifies");
  device.num_cameras = -1;
  require(rectify(&device, nullptr, nullptr, nullptr, &result) != RECTILINE_OK, "it refuses");
  dlclose(library);
  require(dlopen(path, RTLD_NOW | RTLD_NOLOAD) == nullptr, "the library is gone");
}

/// The least that is allocated after one of so many loads: what the system has for a thread of the
/// library it may give back at the next one only.
std::size_t leastHeapDuring(int loads, const char* path, const char* rig) {
  std::size_t least = SIZE_MAX;
  for (int i = 0; i < loads; ++i) {
    useOnce(path, rig);
    if (i >= loads - 20) least = std::min(least, mallinfo2().uordblks);
  }
  return least;
}

std::ptrdiff_t threads() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

bool childEnds() {
  const pid_t child = fork();
  if (child == 0) std::exit(0);
  int status = -1;
  return waitpid(child, &status, 0) == child && status == 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  alarm(120);
  const std::ptrdiff_t threadsAtFirst = threads();
  const std::size_t before = leastHeapDuring(40, argv[1], argv[2]);
  const std::size_t after = leastHeapDuring(100, argv[1], argv[2]);
  std::printf("heap after 40 loads: %zu bytes, after 140: %zu\n", before, after);
  require(after < before + 80 * kLeastBlock, "a load leaves nothing");
  while (threads() != threadsAtFirst)
    usleep(1000);  // one that was joined is still seen for a moment
  require(childEnds(), "a fork calls nothing of the library any more");
  return 0;
}
