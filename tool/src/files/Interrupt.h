#pragma once

namespace rectiline::tool {

/// From here on the first Ctrl-C (SIGINT, SIGTERM, SIGHUP) only makes throwIfInterrupted() throw;
/// the second ends the process.
void catchInterrupts();

/// Throws Error with ExitCode::Interrupted. Ask wherever work can be left without a trace, at least
/// several times a second.
void throwIfInterrupted();

}  // namespace rectiline::tool
