#pragma once

#include <cstdint>

// What the system may refuse, refused at a chosen place. Only programs that link
// rectiline_allocation_faults or rectiline_file_faults have these: they replace functions of the C
// library, for all threads and libraries of the process.

namespace rectiline::testing {

/// How much is refused from the chosen operation on.
enum class Refused { One, AllFromThere };

/// Refuses memory: malloc and its kin, and with them operator new. Under the sanitizers, whose
/// malloc cannot be replaced, operator new alone.
namespace allocationFaults {
/// Refuses the n-th allocation from now, n from 1.
void arm(std::int64_t n, Refused refused);
/// Refuses what would make the blocks allocated from now on hold more than `bytes` together.
void armBudget(std::int64_t bytes);
/// Grants everything again. Whether anything was refused.
bool disarm();
/// Allocations of the process so far, and the bytes that they asked for together.
std::int64_t count();
std::int64_t bytes();
/// Blocks that are allocated and not freed.
std::int64_t liveBlocks();

/// While it lives, the leak sanitizer passes over what the calling thread allocates.
class LeaksAllowed {
 public:
  explicit LeaksAllowed(bool allowed);
  ~LeaksAllowed();
  LeaksAllowed(const LeaksAllowed&) = delete;
  LeaksAllowed& operator=(const LeaksAllowed&) = delete;

 private:
  [[maybe_unused]] bool mAllowed;  // where there is a leak sanitizer
};
}  // namespace allocationFaults

/// Refuses file operations: opening, reading, writing, closing, by the C library's streams or, as
/// C++'s do, past them. What is refused to close is closed all the same.
namespace fileFaults {
void arm(std::int64_t n, Refused refused);
bool disarm();
}  // namespace fileFaults

}  // namespace rectiline::testing
