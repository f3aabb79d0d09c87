#include "files/Interrupt.h"

#include <atomic>
#include <csignal>

#include "cli/Error.h"

namespace rectiline::tool {
namespace {

// Written by a signal's handler, which may only touch what takes no lock, and read by all threads.
std::atomic<bool> isInterrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free);

void remember(int /*signal*/) { isInterrupted = true; }

}  // namespace

void catchInterrupts() {
  struct sigaction action {};
  action.sa_handler = remember;
  action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

void throwIfInterrupted() {
  if (isInterrupted) throw Error("interrupted", ExitCode::Interrupted);
}

}  // namespace rectiline::tool
