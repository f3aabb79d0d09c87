#include "work/Progress.h"

#include <unistd.h>

#include <cstdio>

namespace rectiline::tool {
namespace {

constexpr char kClearLine[] = "\r\033[K";

}  // namespace

Progress::Progress(std::size_t count, const char* unit)
    : mCount(count), mUnit(unit), mIsTerminal(isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
  if (mIsShown) std::fputs(kClearLine, stderr);
}

void Progress::show(std::size_t done) {
  if (!mIsTerminal || done == 0) return;
  mIsShown = true;
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - mStart;
  const double rate = static_cast<double>(done) / elapsed.count();
  const auto left = static_cast<unsigned long>(static_cast<double>(mCount - done) / rate + 0.5);
  std::fprintf(stderr, "%s%zu of %zu %s, %.1f per second, %lu:%02lu left", kClearLine, done, mCount,
               mUnit, rate, left / 60, left % 60);
  std::fflush(stderr);
}

}  // namespace rectiline::tool
