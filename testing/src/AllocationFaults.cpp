#include <malloc.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

#include "FaultCounter.h"

#ifdef RECTILINE_LEAK_SANITIZED
#include <sanitizer/lsan_interface.h>
#endif

namespace rectiline::testing {
namespace {

constinit FaultCounter gFaults;
constinit std::atomic<std::int64_t> gCount{0};
constinit std::atomic<std::int64_t> gBytes{0};
constinit std::atomic<std::int64_t> gLive{0};
constinit std::atomic<std::int64_t> gBudget{INT64_MAX};  // bytes that may still be allocated
constinit std::atomic<bool> gBudgetHit{false};

bool isOverBudget(std::size_t size) {
  if (gBudget == INT64_MAX) return false;
  if (gBudget >= static_cast<std::int64_t>(size)) return false;
  gBudgetHit = true;
  return true;
}

/// The block of allocate(), unless it is to be refused.
template <typename Allocate>
void* orRefuse(std::size_t size, Allocate&& allocate) {
  ++gCount;
  gBytes += static_cast<std::int64_t>(size);
  if (gFaults.refusesNext() || isOverBudget(size)) {
    errno = ENOMEM;
    return nullptr;
  }
  void* const block = allocate();
  if (block == nullptr) return nullptr;
  ++gLive;
  if (gBudget != INT64_MAX) gBudget -= static_cast<std::int64_t>(malloc_usable_size(block));
  return block;
}

void forget(void* block) {
  if (block == nullptr) return;
  --gLive;
  if (gBudget != INT64_MAX) gBudget += static_cast<std::int64_t>(malloc_usable_size(block));
}

}  // namespace

namespace allocationFaults {
void arm(std::int64_t n, Refused refused) { gFaults.arm(n, refused); }
void armBudget(std::int64_t bytes) {
  gBudgetHit = false;
  gBudget = bytes;
}
bool disarm() {
  const bool wasHit = gFaults.disarm();
  return gBudget.exchange(INT64_MAX) != INT64_MAX ? gBudgetHit.load() : wasHit;
}
std::int64_t count() { return gCount; }
std::int64_t bytes() { return gBytes; }
std::int64_t liveBlocks() { return gLive; }

#ifdef RECTILINE_LEAK_SANITIZED
LeaksAllowed::LeaksAllowed(bool allowed) : mAllowed(allowed) {
  if (mAllowed) __lsan_disable();
}
LeaksAllowed::~LeaksAllowed() {
  if (mAllowed) __lsan_enable();
}
#else
LeaksAllowed::LeaksAllowed(bool allowed) : mAllowed(allowed) {}
LeaksAllowed::~LeaksAllowed() = default;
#endif
}  // namespace allocationFaults

}  // namespace rectiline::testing

using rectiline::testing::forget;
using rectiline::testing::orRefuse;

#ifdef RECTILINE_SANITIZED

namespace {
void* newBlock(std::size_t size, std::size_t alignment) {
  void* const block = orRefuse(size, [&]() -> void* {
    void* aligned = nullptr;
    return posix_memalign(&aligned, alignment, size) == 0 ? aligned : nullptr;
  });
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* newBlockOrNull(std::size_t size) noexcept {
  return orRefuse(size, [&] { return std::malloc(size); });
}
void deleteBlock(void* block) {
  forget(block);
  std::free(block);
}
}  // namespace

void* operator new(std::size_t size) { return newBlock(size, alignof(std::max_align_t)); }
void* operator new[](std::size_t size) { return newBlock(size, alignof(std::max_align_t)); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return newBlock(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return newBlockOrNull(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return newBlockOrNull(size);
}
void operator delete(void* block) noexcept { deleteBlock(block); }
void operator delete[](void* block) noexcept { deleteBlock(block); }
void operator delete(void* block, std::size_t) noexcept { deleteBlock(block); }
void operator delete[](void* block, std::size_t) noexcept { deleteBlock(block); }
void operator delete(void* block, std::align_val_t) noexcept { deleteBlock(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { deleteBlock(block); }

#else

// Shown to the other libraries of the process, whatever the build hides: they are to call these.
#pragma GCC visibility push(default)
extern "C" {

// The C library's own, under the names by which it lets itself be replaced.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) {
  return orRefuse(size, [&] { return __libc_malloc(size); });
}
void* calloc(std::size_t count, std::size_t size) {
  return orRefuse(count * size, [&] { return __libc_calloc(count, size); });
}
void* realloc(void* block, std::size_t size) {
  if (block == nullptr) return malloc(size);
  return orRefuse(size, [&] {
    forget(block);  // as the new block it is counted again
    return __libc_realloc(block, size);
  });
}
void* memalign(std::size_t alignment, std::size_t size) {
  return orRefuse(size, [&] { return __libc_memalign(alignment, size); });
}
void* aligned_alloc(std::size_t alignment, std::size_t size) { return memalign(alignment, size); }
int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  void* const allocated = memalign(alignment, size);
  if (allocated == nullptr) return ENOMEM;
  *block = allocated;
  return 0;
}
void free(void* block) {
  forget(block);
  __libc_free(block);
}
}
#pragma GCC visibility pop

#endif
