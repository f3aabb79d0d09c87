#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace rectiline::tool {

/// Where a command writes its results: made when it is missing, never on top of the command's own
/// input.
class OutputDirectory {
 public:
  /// @param inputs  the files that the command reads; an empty name is none
  OutputDirectory(const std::string& path, std::vector<std::string> inputs);

  /// The path of a result. Throws Error when `name` would leave the directory, or when the result
  /// would replace an input: ask for every path before the first is written.
  [[nodiscard]] std::string file(const std::string& name) const;

 private:
  std::filesystem::path mPath;
  std::vector<std::string> mInputs;
};

}  // namespace rectiline::tool
