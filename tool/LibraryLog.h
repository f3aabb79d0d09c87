#pragma once

#include <string>
#include <vector>

#include "AR/Common/LogTarget.h"
#include "AR/Common/Logger.h"

namespace rectiline::tool {

/// Collects what the library logs while the object lives, so that a command can print one line of
/// its own instead.
class LibraryLog : public AR::Common::LogTarget {
 public:
  LibraryLog() { AR::Common::Logger::getInstance().addTarget(this); }
  ~LibraryLog() override { AR::Common::Logger::getInstance().removeTarget(this); }
  LibraryLog(const LibraryLog&) = delete;
  LibraryLog& operator=(const LibraryLog&) = delete;

  void logLine(const char* line) override {
    std::string text(line);
    while (!text.empty() && text.back() == '\n') text.pop_back();
    mLines.push_back(text);
  }

  /// The text of the first error, without its prefix; empty when there was none.
  [[nodiscard]] std::string firstError() const {
    const std::string prefix = "AR ERROR: ";
    for (const std::string& line : mLines) {
      if (line.compare(0, prefix.size(), prefix) == 0) return line.substr(prefix.size());
    }
    return "";
  }

  /// Number of failed checks.
  [[nodiscard]] int failedChecks() const {
    int count = 0;
    for (const std::string& line : mLines) {
      count += line.find("AR_ASSERT") != std::string::npos ? 1 : 0;
    }
    return count;
  }

 private:
  std::vector<std::string> mLines;
};

}  // namespace rectiline::tool
