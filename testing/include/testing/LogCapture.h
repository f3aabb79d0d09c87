#pragma once

#include <android/log.h>

#include <string>
#include <vector>

namespace rectiline::testing {

/// One line as it reached the platform's log.
struct LogLine {
  int priority;
  std::string tag;
  std::string text;
};

/// Collects every line that reaches the platform's log while the object lives, from all threads,
/// and keeps it off standard error. One at a time; the log's own settings are restored at the end.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  [[nodiscard]] std::vector<LogLine> lines() const;
  void clear();

  /// Number of captured lines whose text contains `part`.
  [[nodiscard]] int count(const std::string& part) const;

  /// Number of failed checks logged; such a line reads "AR_ASSERT expression source(line)
  /// function".
  [[nodiscard]] int failedChecks() const { return count("AR_ASSERT"); }

  /// All captured lines, one per row, for a failure message.
  [[nodiscard]] std::string text() const;

 private:
  int mOldPriority;
};

}  // namespace rectiline::testing
