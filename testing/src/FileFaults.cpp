#include <dlfcn.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "FaultCounter.h"

namespace rectiline::testing {
namespace {

constinit FaultCounter gFaults;

/// The function that this program's own of the same name stands before.
template <typename Function>
Function* original(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool isRefused(int error) {
  if (!gFaults.refusesNext()) return false;
  errno = error;
  return true;
}

}  // namespace

namespace fileFaults {
void arm(std::int64_t n, Refused refused) { gFaults.arm(n, refused); }
bool disarm() { return gFaults.disarm(); }
}  // namespace fileFaults

}  // namespace rectiline::testing

using rectiline::testing::isRefused;
using rectiline::testing::original;

// Shown to the other libraries of the process, whatever the build hides: they are to call these.
#pragma GCC visibility push(default)
extern "C" {

FILE* fopen(const char* path, const char* mode) {
  static auto* const open = original<FILE*(const char*, const char*)>("fopen");
  return isRefused(EMFILE) ? nullptr : open(path, mode);
}
FILE* fopen64(const char* path, const char* mode) { return fopen(path, mode); }

std::size_t fread(void* data, std::size_t size, std::size_t count, FILE* file) {
  static auto* const read = original<std::size_t(void*, std::size_t, std::size_t, FILE*)>("fread");
  if (!isRefused(EIO)) return read(data, size, count, file);
  std::fputc(0, file);  // fails, since the file is read only, and so marks it as failed
  return 0;
}

std::size_t fwrite(const void* data, std::size_t size, std::size_t count, FILE* file) {
  static auto* const write =
      original<std::size_t(const void*, std::size_t, std::size_t, FILE*)>("fwrite");
  return isRefused(ENOSPC) ? 0 : write(data, size, count, file);
}

int fclose(FILE* file) {
  static auto* const close = original<int(FILE*)>("fclose");
  const bool refused = isRefused(ENOSPC);
  const int result = close(file);
  return refused ? EOF : result;
}

ssize_t write(int file, const void* data, std::size_t size) {
  static auto* const write = original<ssize_t(int, const void*, std::size_t)>("write");
  return isRefused(ENOSPC) ? -1 : write(file, data, size);
}

ssize_t writev(int file, const iovec* data, int count) {
  static auto* const write = original<ssize_t(int, const iovec*, int)>("writev");
  return isRefused(ENOSPC) ? -1 : write(file, data, count);
}
}
#pragma GCC visibility pop
