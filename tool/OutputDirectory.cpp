#include "OutputDirectory.h"

#include <system_error>
#include <utility>

#include "Error.h"

namespace rectiline::tool {

OutputDirectory::OutputDirectory(const std::string& path, std::vector<std::string> inputs)
    : mPath(path), mInputs(std::move(inputs)) {
  if (path.empty()) throw Error("the name of the directory for the results is empty");
  std::error_code ignored;  // what is written into it says what is wrong with it
  std::filesystem::create_directories(mPath, ignored);
}

std::string OutputDirectory::file(const std::string& name) const {
  // Some names are those of cameras, which a rig file may give as it likes.
  if (name.find('/') != std::string::npos) {
    throw Error("\"" + name + "\" is no name for a file: cameras' names may not contain a slash");
  }
  const std::filesystem::path file = mPath / name;
  for (const std::string& input : mInputs) {
    std::error_code missing;
    if (std::filesystem::equivalent(file, input, missing)) {
      throw Error(file.string() + ": is an input and would be replaced; choose another directory");
    }
  }
  return file.string();
}

}  // namespace rectiline::tool
