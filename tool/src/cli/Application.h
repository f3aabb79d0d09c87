#pragma once

#include "cli/Error.h"

namespace rectiline::tool {

/// Parses the command line and runs the subcommand that it names. Whatever goes wrong is one line
/// on standard error and the exit code that belongs to it.
ExitCode runCommandLine(int argc, char** argv);

}  // namespace rectiline::tool
