#include <sys/types.h>

#include <cerrno>
#include <limits>

#include "AR/PL/File.h"
#include "AR/PL/FileMode.h"
#include "PL_Android_Failure.h"

using namespace AR::PL;

namespace AR::PL {
namespace {

struct ModeRow {
  unsigned flags;
  char mode[3];
};

constexpr ModeRow kModes[] = {
    {AR_FILE_READ, "r"},
    {AR_FILE_WRITE | AR_FILE_CREATE | AR_FILE_TRUNCATE, "w"},
    {AR_FILE_APPEND | AR_FILE_CREATE, "a"},
    {AR_FILE_READ | AR_FILE_WRITE, "r+"},
    {AR_FILE_READ | AR_FILE_WRITE | AR_FILE_CREATE | AR_FILE_TRUNCATE, "w+"},
    {AR_FILE_READ | AR_FILE_APPEND | AR_FILE_CREATE, "a+"},
};

// The C libraries of today ignore both letters; old ones translated line ends with 't'.
std::array<char, 4> withSuffix(const char (&mode)[3], unsigned flags) {
  const char suffix = (flags & AR_FILE_BINARY) != 0 ? 'b' : (flags & AR_FILE_TEXT) != 0 ? 't' : 0;
  if (mode[1] == 0) return {mode[0], suffix};
  return {mode[0], mode[1], suffix};
}

bool productFits(std::size_t a, std::size_t b) {
  return b == 0 || a <= std::numeric_limits<std::size_t>::max() / b;
}

}  // namespace

std::array<char, 4> fileMode(unsigned flags) {
  const unsigned rowFlags = flags & ~unsigned{AR_FILE_BINARY | AR_FILE_TEXT};
  for (const ModeRow& row : kModes) {
    if (row.flags == rowFlags) return withSuffix(row.mode, flags);
  }
  return {};
}

void setUnbuffered(ARFile* file) { std::setvbuf(file, nullptr, _IONBF, 0); }

}  // namespace AR::PL

int arFileOpen(ARFile** file, const char* path, unsigned flags) {
  if (file == nullptr) return failInvalid(__func__);
  *file = nullptr;
  const std::array<char, 4> mode = fileMode(flags);
  if (path == nullptr || mode[0] == 0) return failInvalid(__func__);
  *file = std::fopen(path, mode.data());
  return quietResult(*file != nullptr);
}

int arFileClose(ARFile* file) {
  if (file == nullptr) return failInvalid(__func__);
  return quietResult(std::fclose(file) == 0);
}

int arFileFlush(ARFile* file) {
  if (file == nullptr) return failInvalid(__func__);
  return quietResult(std::fflush(file) == 0);
}

int arFileRead(ARFile* file, void* data, std::size_t itemSize, std::size_t count,
               std::size_t* numRead) {
  if (numRead != nullptr) *numRead = 0;
  if (file == nullptr || data == nullptr || !productFits(itemSize, count)) {
    return failInvalid(__func__);
  }
  const std::size_t items = std::fread(data, itemSize, count, file);
  if (numRead != nullptr) *numRead = items;
  return quietResult(items == count || std::ferror(file) == 0);  // fewer at the file's end are fine
}

int arFileWrite(ARFile* file, const void* data, std::size_t itemSize, std::size_t count,
                std::size_t* numWritten) {
  if (numWritten != nullptr) *numWritten = 0;
  if (file == nullptr || data == nullptr || !productFits(itemSize, count)) {
    return failInvalid(__func__);
  }
  const std::size_t items = std::fwrite(data, itemSize, count, file);
  if (numWritten != nullptr) *numWritten = items;
  return quietResult(items == count || itemSize == 0);
}

int arFilePrint(ARFile* file, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  const int result = arFilePrintArgs(file, format, args);
  va_end(args);
  return result;
}

int arFilePrintArgs(ARFile* file, const char* format, std::va_list args) {
  if (file == nullptr || format == nullptr) return failInvalid(__func__);
  return quietResult(std::vfprintf(file, format, args) >= 0);
}

int arFileIsEOF(ARFile* file) {
  if (file == nullptr) return failInvalid(__func__);
  return std::feof(file) != 0 ? 1 : 0;
}

int arFileSetPosition(ARFile* file, std::int64_t offset, ARFileOrigin origin) {
  // off_t has 32 bits on 32-bit Android.
  static_assert(AR_FILE_BEGIN == SEEK_SET && AR_FILE_CURRENT == SEEK_CUR &&
                AR_FILE_END == SEEK_END);
  const bool knownOrigin = origin >= AR_FILE_BEGIN && origin <= AR_FILE_END;
  const bool offsetFits =
      offset >= std::numeric_limits<off_t>::min() && offset <= std::numeric_limits<off_t>::max();
  if (file == nullptr || !knownOrigin || !offsetFits) return failInvalid(__func__);
  return quietResult(fseeko(file, static_cast<off_t>(offset), origin) == 0);
}

int arFileGetPosition(ARFile* file, std::int64_t* position) {
  if (file == nullptr || position == nullptr) return failInvalid(__func__);
  *position = ftello(file);
  return quietResult(*position >= 0);
}
