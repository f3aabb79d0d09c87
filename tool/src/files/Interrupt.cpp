#include "files/Interrupt.h"

#include <csignal>

#include "cli/Error.h"

namespace rectiline::tool {
namespace {

volatile std::sig_atomic_t isInterrupted = 0;

void remember(int /*signal*/) { isInterrupted = 1; }

}  // namespace

void catchInterrupts() {
  struct sigaction action {};
  action.sa_handler = remember;
  action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

void throwIfInterrupted() {
  if (isInterrupted != 0) throw Error("interrupted", ExitCode::Interrupted);
}

}  // namespace rectiline::tool
