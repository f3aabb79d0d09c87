// What stays in a process that loads the library, uses it and unloads it, a hundred times: nothing.
// usage: unload_test librectiline.so RIG.xml

#include <dlfcn.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>

#include "rectiline/rectiline.h"

namespace {

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
  for (int i = 0; i < 5; ++i) useOnce(argv[1], argv[2]);
  const std::size_t before = mallinfo2().uordblks;
  for (int i = 0; i < 100; ++i) useOnce(argv[1], argv[2]);
  const std::size_t after = mallinfo2().uordblks;
  std::printf("heap after 5 loads: %zu bytes, after 105: %zu\n", before, after);
  require(after <= before, "the heap is as before");
  while (threads() != 1) usleep(1000);  // one that was joined is still seen for a moment
  require(childEnds(), "a fork calls nothing of the library any more");
  return 0;
}
