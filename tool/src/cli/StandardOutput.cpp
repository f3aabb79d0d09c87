#include "cli/StandardOutput.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

#include "cli/Error.h"

namespace rectiline::tool {
namespace {

std::FILE* results = nullptr;
int firstError = 0;
bool isTextShown = true;

void keep(bool written) {
  if (!written && firstError == 0) firstError = errno;
}

}  // namespace

void claimStandardOutput() {
  // Files get the lowest free number. Closed streams are taken by what refuses to be written to.
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) == -1) {
      [[maybe_unused]] const int taken = open("/dev/null", O_RDONLY);
    }
  }
  // A reader that went away, or a file that may not grow, is an error of the write and not the end
  // of the process.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  const int own = dup(STDOUT_FILENO);
  const int nowhere = open("/dev/null", O_WRONLY);
  dup2(nowhere, STDOUT_FILENO);
  if (nowhere > STDERR_FILENO) close(nowhere);
  results = fdopen(own, "w");
  if (results == nullptr) firstError = EBADF;
}

void showLibraryOutput() { dup2(STDERR_FILENO, STDOUT_FILENO); }

void print(const char* format, ...) {
  if (results == nullptr || !isTextShown) return;
  va_list arguments;
  va_start(arguments, format);
  keep(std::vfprintf(results, format, arguments) >= 0);
  va_end(arguments);
}

void expectJson() { isTextShown = false; }

void printJson(const std::string& object) {
  if (results != nullptr) keep(std::fprintf(results, "%s\n", object.c_str()) >= 0);
}

void finishStandardOutput() {
  if (results != nullptr) keep(std::fclose(std::exchange(results, nullptr)) == 0);
  if (firstError == 0) return;
  throw Error(std::string("standard output cannot be written: ") + std::strerror(firstError),
              ExitCode::CannotWrite);
}

void note(const std::string& text) { std::fprintf(stderr, "rectiline: note: %s\n", text.c_str()); }

void warn(const std::string& text) {
  std::fprintf(stderr, "rectiline: warning: %s\n", text.c_str());
}

}  // namespace rectiline::tool
