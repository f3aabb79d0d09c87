#include "AR/Common/OS.h"

#include <cstdint>

#include "AR/PL/FileMode.h"
#include "AR/PL/Memory.h"

namespace AR::Common {
namespace {

// The words in the platform layer's flags, which number the same bits otherwise.
constexpr unsigned kAppendFlags = AR_FILE_APPEND | AR_FILE_CREATE;
constexpr unsigned kWriteTruncateFlags = AR_FILE_WRITE | AR_FILE_CREATE | AR_FILE_TRUNCATE;

OS::FileHandle open(const Path& path, unsigned flags) {
  OS::FileHandle file = nullptr;
  return arFileOpen(&file, path.c_str(), flags) == 0 ? file : nullptr;
}

}  // namespace

OS::FileHandle OS::openFileForWriting(const Path& path, unsigned word) {
  return word == kWriteTruncate ? open(path, kWriteTruncateFlags) : nullptr;
}

OS::FileHandle OS::openFileForAppending(const Path& path, unsigned word) {
  const FileHandle file = word == kAppend ? open(path, kAppendFlags) : nullptr;
  if (file != nullptr) AR::PL::setUnbuffered(file);
  return file;
}

bool OS::write(FileHandle file, const void* data, std::size_t numBytes) {
  std::size_t numWritten = 0;
  return file != nullptr && data != nullptr &&
         arFileWrite(file, data, 1, numBytes, &numWritten) == 0;
}

bool OS::close(FileHandle& file) {
  if (file == nullptr) return false;
  const bool closed = arFileClose(file) == 0;
  file = nullptr;
  return closed;
}

void* OS::allocAligned(std::size_t bytes, std::size_t alignment) {
  return arMemoryAllocAligned(bytes, alignment);
}

void OS::freeAligned(void* memory) {
  if (memory != nullptr) arMemoryFreeAligned(memory);
}

std::size_t OS::getAlignment(const void* memory) {
  const auto address = reinterpret_cast<std::uintptr_t>(memory);
  return address & (~address + 1);
}

}  // namespace AR::Common
