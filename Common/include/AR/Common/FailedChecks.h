#pragma once

#include <cstdint>

namespace AR::Common {

/// How many checks failed on the calling thread since it started. Counts at every log level, 0
/// too, and never goes back. Code inside the library compares two readings.
[[nodiscard]] std::uint64_t failedCheckCount() noexcept;

/// Adds `n` to the calling thread's count: the error reporter its one, a dispatch those that its
/// workers counted for it.
void addFailedChecks(std::uint64_t n) noexcept;

}  // namespace AR::Common
