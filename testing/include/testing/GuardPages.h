#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace rectiline::testing {

/// `size` bytes that end where a page begins which cannot be touched. One lies before them too.
class GuardPages {
 public:
  explicit GuardPages(std::size_t size) : mSize(size) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t inside = (size + page - 1) / page * page;
    mMappedSize = inside + 2 * page;
    void* const memory = mmap(nullptr, mMappedSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) std::abort();
    mMapped = static_cast<std::uint8_t*>(memory);
    if (mprotect(mMapped + page, inside, PROT_READ | PROT_WRITE) != 0) std::abort();
    mStart = mMapped + page + inside - size;
  }
  ~GuardPages() { munmap(mMapped, mMappedSize); }
  GuardPages(const GuardPages&) = delete;
  GuardPages& operator=(const GuardPages&) = delete;

  [[nodiscard]] std::uint8_t* data() const { return mStart; }
  [[nodiscard]] std::size_t size() const { return mSize; }

 private:
  std::size_t mSize;
  std::size_t mMappedSize;
  std::uint8_t* mMapped;
  std::uint8_t* mStart;
};

}  // namespace rectiline::testing
