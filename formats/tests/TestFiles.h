#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "rectiline_formats/Calibration.h"

namespace rectiline::formats {

/// A folder of its own for each test, gone afterwards.
class FilesTest : public ::testing::Test {
 protected:
  FilesTest()
      : mDir(std::filesystem::temp_directory_path() /
             ("rectiline_formats_test_" + std::to_string(getpid()))) {
    std::filesystem::create_directories(mDir);
  }
  ~FilesTest() override { std::filesystem::remove_all(mDir); }

  /// Writes a text to a file of the folder, and says where it is.
  [[nodiscard]] std::string file(const std::string& name, const std::string& text) const {
    const std::filesystem::path path = mDir / name;
    std::ofstream(path, std::ios::binary) << text;
    return path.string();
  }

  /// The texts as files "0", "1", ...
  [[nodiscard]] std::vector<std::string> filesOf(const std::vector<std::string>& texts) const {
    std::vector<std::string> names;
    for (const std::string& text : texts) {
      names.push_back(file(std::to_string(names.size()), text));
    }
    return names;
  }

  /// The line of the refusal; empty when the files are read.
  [[nodiscard]] static std::string refusalOf(const std::vector<std::string>& files,
                                             const ReadOptions& options = {}) {
    try {
      (void)readCalibration(files, options);
    } catch (const FormatError& error) {
      return error.what();
    }
    return "";
  }

 private:
  std::filesystem::path mDir;
};

/// `text` with its first `from` replaced.
inline std::string edited(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

inline std::string replacedAll(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

}  // namespace rectiline::formats
