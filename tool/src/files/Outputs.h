#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace rectiline::tool {

/// Where a subcommand's results go.
struct OutputArgument {
  std::string path;
  bool force = false;

  void declareDirectory(CLI::App& command);
  void declareFile(CLI::App& command, const std::string& help);
};

/// What a camera is called, as a part of a file's name: a slash, as in names of ROS, is replaced.
std::string fileNameOf(std::string camera);

/// Decides where a subcommand may write: never on top of its own inputs, on top of other files only
/// when it was told to. Ask for every result before the first is written, so that a refusal leaves
/// nothing half done.
class Outputs {
 public:
  /// @param inputs  the files that the subcommand reads; an empty name is none
  Outputs(OutputArgument where, const std::vector<std::string>& inputs);

  /// The path of a result in the directory, or in a folder of it; both are made when missing.
  /// Throws Error when the result may not be written.
  [[nodiscard]] std::string file(const std::string& name, const std::string& folder = "");

  /// The path of a result that was asked for by its file's name.
  [[nodiscard]] std::string singleFile();

 private:
  using FileId = std::pair<dev_t, ino_t>;

  [[nodiscard]] std::string claim(const std::filesystem::path& file);

  OutputArgument mWhere;
  std::set<FileId> mInputs;
  std::set<std::filesystem::path> mClaimed;
};

/// A file in the making: under its own name it appears whole, by commit(), or not at all.
class OutputFile {
 public:
  explicit OutputFile(std::string path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// Throw Error with ExitCode::CannotWrite.
  void write(const void* data, std::size_t bytes);
  void commit();

 private:
  [[noreturn]] void fail() const;

  std::string mPath;
  std::string mPartialPath;
  std::FILE* mFile;
};

/// A whole file at once.
void writeFile(const std::string& path, std::string_view bytes);

}  // namespace rectiline::tool
