// Calibration files of other programs: whatever is read can be written.

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "Finding.h"
#include "FuzzInput.h"
#include "rectiline_formats/Calibration.h"
#include "rectiline_formats/Write.h"

namespace {

using namespace rectiline::formats;

/// A file in memory.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view text) : mDescriptor(memfd_create("calibration", 0)) {
    if (mDescriptor < 0) std::abort();
    while (!text.empty()) {
      const ssize_t written = ::write(mDescriptor, text.data(), text.size());
      if (written <= 0) std::abort();
      text.remove_prefix(static_cast<std::size_t>(written));
    }
  }
  ~MemoryFile() { close(mDescriptor); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(mDescriptor); }

 private:
  int mDescriptor;
};

/// Every format that takes a device writes what it can read.
void write(const Calibration& read, rectiline::fuzz::FuzzInput& choice) {
  const std::vector<Format> formats = writableFormats();
  const Format format = formats[choice.from<std::size_t>(0, formats.size() - 1)];
  Written written;
  try {
    written = writeCalibration(read.device, format, {.lossy = choice.flip()});
  } catch (const FormatError& error) {
    FUZZ_EXPECT(error.what()[0] != '\0');
    return;
  }
  FUZZ_EXPECT(!written.files.empty() && !written.files[0].text.empty());
}

}  // namespace

/// The file itself, so that a corpus can be of real files; its length chooses how it is taken.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::uint8_t wishes[] = {static_cast<std::uint8_t>(size),
                                 static_cast<std::uint8_t>(size >> 4)};
  rectiline::fuzz::FuzzInput choice(wishes, sizeof wishes);
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  // Two files of one rig are told apart by a zero byte, which no calibration has.
  const std::size_t end = text.find('\0');
  const MemoryFile first(text.substr(0, end));
  const MemoryFile second(end == std::string_view::npos ? "" : text.substr(end + 1));
  std::vector<std::string> files{first.path()};
  if (end != std::string_view::npos) files.push_back(second.path());
  ReadOptions options;
  options.fit = choice.flip();
  options.size = PixelSize{64, 48};
  try {
    write(readCalibration(files, options), choice);
  } catch (const FormatError& error) {
    FUZZ_EXPECT(error.what()[0] != '\0');
  }
  return 0;
}
