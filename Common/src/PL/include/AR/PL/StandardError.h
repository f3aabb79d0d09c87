#pragma once

namespace AR::PL {

/// Writes the text to standard error past all streams and their locks. What cannot be written is
/// lost.
void writeStandardError(const char* text);

}  // namespace AR::PL
