#include "files/PlainFile.h"

#include <filesystem>

#include "cli/Error.h"

namespace rectiline::tool {

std::ifstream openPlainFile(const std::string& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (is_directory(status)) throw Error(path + ": is a folder, not a file");
  if (exists(status) && !is_regular_file(status)) throw Error(path + ": is no plain file");
  std::ifstream in(path, std::ios::binary);
  if (!in) throw Error(path + ": cannot be read");
  return in;
}

std::uint64_t sizeOfRest(std::ifstream& in) {
  const std::streampos here = in.tellg();
  const std::streamoff size = in.seekg(0, std::ios::end).tellg() - here;
  in.seekg(here);
  return static_cast<std::uint64_t>(size);
}

}  // namespace rectiline::tool
