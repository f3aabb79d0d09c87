#pragma once

#include <chrono>
#include <cstddef>

namespace rectiline::tool {

/// A line on the terminal that says how far the work is, at what rate, and how long it will take.
/// Silent when standard error is no terminal. The line goes with the object.
class Progress {
 public:
  Progress(std::size_t count, const char* unit);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void show(std::size_t done);

 private:
  std::size_t mCount;
  const char* mUnit;
  bool mIsTerminal;
  bool mIsShown = false;
  std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
};

}  // namespace rectiline::tool
