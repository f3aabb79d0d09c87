#pragma once

#include <stdexcept>
#include <string>

namespace rectiline::tool {

/// What the process returns; the help of the command lists them.
enum class ExitCode {
  Ok = 0,
  BadInput = 1,
  Usage = 2,
  Verdict = 3,  // all went well, and the answer is no
  CannotWrite = 4,
  Interrupted = 130  // as shells call the end by Ctrl-C
};

/// What the command prints as its one line before it exits with a failure.
class Error : public std::runtime_error {
 public:
  explicit Error(const std::string& text, ExitCode code = ExitCode::BadInput)
      : std::runtime_error(text), mCode(code) {}

  [[nodiscard]] ExitCode code() const { return mCode; }

 private:
  ExitCode mCode;
};

}  // namespace rectiline::tool
