#pragma once

#include <array>

namespace AR::PL {

/// The stream functions' mode for a word of file open flags, at most three letters and a zero. All
/// zeros, so the empty text, when the flags (apart from binary and text) are no row of the table.
[[nodiscard]] std::array<char, 4> fileMode(unsigned flags);

}  // namespace AR::PL
