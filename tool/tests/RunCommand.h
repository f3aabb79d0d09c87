#pragma once

// The command run as a user runs it, in a directory of the test's own.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>

namespace rectiline::tool {

/// A directory for a test, gone afterwards, and what happens in it.
class CommandTest : public ::testing::Test {
 protected:
  struct Outcome {
    int exitCode;
    std::string output;
    std::string errors;

    /// What was printed with --json; null when it was not one object.
    [[nodiscard]] nlohmann::json json() const {
      const nlohmann::json object = nlohmann::json::parse(output, nullptr, false);
      return object.is_discarded() ? nlohmann::json() : object;
    }
  };

  CommandTest() { std::filesystem::create_directories(mDir); }
  ~CommandTest() override { std::filesystem::remove_all(mDir); }

  [[nodiscard]] std::string path(const std::string& name) const { return (mDir / name).string(); }

  void writeText(const std::string& name, const std::string& text) const {
    std::ofstream(path(name)) << text;
  }

  [[nodiscard]] static std::string contentOf(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  }

  /// @param before    what the shell is given in front of the command
  /// @param outputTo  where standard output goes if not into Outcome::output
  [[nodiscard]] Outcome run(const std::string& arguments, const std::string& before = "",
                            const std::string& outputTo = "") const {
    const std::string command = before + RECTILINE_COMMAND + " " + arguments + " >" +
                                (outputTo.empty() ? path(".output") : outputTo) + " 2>" +
                                path(".errors");
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contentOf(path(".output")),
            contentOf(path(".errors"))};
  }

 private:
  std::filesystem::path mDir = std::filesystem::temp_directory_path() /
                               ("rectiline_command_test_" + std::to_string(getpid()));
};

}  // namespace rectiline::tool
