#pragma once

#include <string>

namespace rectiline::tool {

// The results of the command are the only thing on its standard output. What anybody else prints
// there, as a library does when it refuses a camera, is lost: the command's own line says it.

/// Call it first in the process. Streams that were closed stay unusable: no file is opened
/// in their place.
void claimStandardOutput();

/// From here on what others print goes to standard error.
void showLibraryOutput();

/// As printf, for people: silent after expectJson(). What cannot be written shows in
/// finishStandardOutput().
[[gnu::format(printf, 1, 2)]] void print(const char* format, ...);

/// From here on only printJson() prints.
void expectJson();
void printJson(const std::string& object);

/// Throws Error when not all of what was printed was written.
void finishStandardOutput();

/// A line on standard error for the user, who may want to know, as "rectiline: note: TEXT".
void note(const std::string& text);
void warn(const std::string& text);

}  // namespace rectiline::tool
