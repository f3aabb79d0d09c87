#pragma once

#include <cstddef>

#include "AR/Common/Path.h"
#include "AR/PL/File.h"

namespace AR::Common {

/// What the library needs of the operating system's files and memory.
class OS {
 public:
  /// An open file; null when closed.
  using FileHandle = ARFile*;

  /// How a file is opened for writing; the platform layer's flags are derived from these words.
  static constexpr unsigned kAppend = 4;
  static constexpr unsigned kWriteTruncate = 6;

  /// Opens a file, created where missing and emptied where not; `word` is kWriteTruncate. Null when
  /// it cannot be opened, with nothing logged.
  [[nodiscard]] static FileHandle openFileForWriting(const Path& path, unsigned word);

  /// Opens a file, created where missing, to write past its end, each write at once; `word` is
  /// kAppend. Null when it cannot be opened, with nothing logged.
  [[nodiscard]] static FileHandle openFileForAppending(const Path& path, unsigned word);

  /// Writes `numBytes` bytes. False for a closed file or when not all were written.
  static bool write(FileHandle file, const void* data, std::size_t numBytes);

  /// Closes a file and clears the handle. False for a closed file or when its end was not written.
  static bool close(FileHandle& file);

  /// `bytes` bytes at a multiple of `alignment`, a power of two; null when they cannot be had. To
  /// be given back through freeAligned.
  [[nodiscard]] static void* allocAligned(std::size_t bytes, std::size_t alignment);
  static void freeAligned(void* memory);

  /// The greatest power of two that divides the address; 0 for null.
  [[nodiscard]] static std::size_t getAlignment(const void* memory);
};

}  // namespace AR::Common
