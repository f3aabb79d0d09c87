#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdlib>

#include "AR/PL/Memory.h"
#include "PL_Android_Failure.h"

using namespace AR::PL;

namespace {

/// No system function is asked for 0 bytes: some give null for it, which would look like a failure.
std::size_t atLeastOne(std::size_t bytes) { return std::max<std::size_t>(bytes, 1); }

void* reported(void* memory, const char* function) {
  if (memory == nullptr) resultOf(ENOMEM, function);
  return memory;
}

}  // namespace

void* arMemoryAlloc(std::size_t bytes) {
  return reported(std::malloc(atLeastOne(bytes)), __func__);
}

int arMemoryFree(void* memory) {
  if (memory == nullptr) return failInvalid(__func__);
  std::free(memory);
  return 0;
}

void* arMemoryRealloc(void* memory, std::size_t bytes) {
  return reported(std::realloc(memory, atLeastOne(bytes)), __func__);
}

void* arMemoryAllocAligned(std::size_t bytes, std::size_t alignment) {
  if (!std::has_single_bit(alignment)) {
    failInvalid(__func__);
    return nullptr;
  }
  void* memory = nullptr;
  const std::size_t posixAlignment = std::max(alignment, sizeof(void*));
  return reported(
      posix_memalign(&memory, posixAlignment, atLeastOne(bytes)) == 0 ? memory : nullptr, __func__);
}

int arMemoryFreeAligned(void* memory) {
  if (memory == nullptr) return failInvalid(__func__);
  std::free(memory);
  return 0;
}
