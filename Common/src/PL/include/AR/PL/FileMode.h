#pragma once

#include <array>

#include "AR/PL/File.h"

namespace AR::PL {

/// The stream functions' mode for a word of file open flags, at most three letters and a zero. All
/// zeros, so the empty text, when the flags (apart from binary and text) are no row of the table.
[[nodiscard]] std::array<char, 4> fileMode(unsigned flags);

/// Makes every write to a file that was just opened reach the system at once, so that nothing of it
/// is lost in a crash or written a second time by a forked child, and a full disk is known by the
/// write's result. Needs no memory.
void setUnbuffered(ARFile* file);

}  // namespace AR::PL
