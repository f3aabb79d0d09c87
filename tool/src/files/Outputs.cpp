#include "files/Outputs.h"

#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

#include "cli/Error.h"
#include "files/Interrupt.h"

namespace rectiline::tool {
namespace {

void makeDirectory(const std::filesystem::path& directory) {
  std::error_code error;
  std::filesystem::create_directories(directory, error);
  if (std::filesystem::is_directory(directory)) return;
  throw Error(directory.string() + ": no directory can be made there: " + error.message(),
              ExitCode::CannotWrite);
}

/// Some names are those of cameras, which a rig file may give as it likes.
void requireName(const std::string& name) {
  if (name.find('/') == std::string::npos && name != "." && name != "..") return;
  throw Error("\"" + name + "\" is no name for a file");
}

void declareForce(CLI::App& command, bool& force) {
  command.add_flag("--force", force, "replace files that exist; never those that are read");
}

}  // namespace

void OutputArgument::declareDirectory(CLI::App& command) {
  command.add_option("-o,--output", path, "directory for the results")->required();
  declareForce(command, force);
}

void OutputArgument::declareFile(CLI::App& command, const std::string& help) {
  command.add_option("-o,--output", path, help)->required();
  declareForce(command, force);
}

std::string fileNameOf(std::string camera) {
  std::replace(camera.begin(), camera.end(), '/', '_');
  return camera;
}

Outputs::Outputs(OutputArgument where, const std::vector<std::string>& inputs)
    : mWhere(std::move(where)) {
  if (mWhere.path.empty()) {
    throw Error("the name of the output is empty", ExitCode::Usage);
  }
  struct stat status {};
  for (const std::string& input : inputs) {
    if (stat(input.c_str(), &status) == 0) mInputs.emplace(status.st_dev, status.st_ino);
  }
}

std::string Outputs::file(const std::string& name, const std::string& folder) {
  requireName(name);
  if (!folder.empty()) requireName(folder);
  const std::filesystem::path directory = std::filesystem::path(mWhere.path) / folder;
  makeDirectory(directory);
  return claim(directory / name);
}

std::string Outputs::singleFile() { return claim(mWhere.path); }

std::string Outputs::claim(const std::filesystem::path& file) {
  const std::string name = file.string();
  if (!mClaimed.insert(file.lexically_normal()).second) {
    throw Error(name + ": two results would have this name");
  }
  struct stat status {};
  if (stat(name.c_str(), &status) != 0) return name;
  if (mInputs.count({status.st_dev, status.st_ino}) != 0) {
    throw Error(name + ": is an input and would be replaced; choose another output",
                ExitCode::CannotWrite);
  }
  if (!S_ISREG(status.st_mode)) {
    throw Error(name + ": is there already and no plain file", ExitCode::CannotWrite);
  }
  if (!mWhere.force) {
    throw Error(name + ": is there already (--force replaces it)", ExitCode::CannotWrite);
  }
  return name;
}

OutputFile::OutputFile(std::string path)
    : mPath(std::move(path)),
      mPartialPath(mPath + ".partial-" + std::to_string(getpid())),
      mFile(std::fopen(mPartialPath.c_str(), "wb")) {
  if (mFile == nullptr) fail();
}

OutputFile::~OutputFile() {
  if (mFile != nullptr) std::fclose(mFile);
  if (!mPartialPath.empty()) unlink(mPartialPath.c_str());
}

void OutputFile::write(const void* data, std::size_t bytes) {
  if (std::fwrite(data, 1, bytes, mFile) != bytes) fail();
}

void OutputFile::commit() {
  throwIfInterrupted();
  if (std::fclose(std::exchange(mFile, nullptr)) != 0) fail();
  if (std::rename(mPartialPath.c_str(), mPath.c_str()) != 0) fail();
  mPartialPath.clear();
}

void OutputFile::fail() const {
  throw Error(mPath + ": cannot be written: " + std::strerror(errno), ExitCode::CannotWrite);
}

void writeFile(const std::string& path, std::string_view bytes) {
  OutputFile file(path);
  file.write(bytes.data(), bytes.size());
  file.commit();
}

}  // namespace rectiline::tool
