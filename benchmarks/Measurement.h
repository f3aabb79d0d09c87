#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "BenchCameras.h"

namespace rectiline::bench {

/// Where the work that the library hands to its worker pool runs.
enum class Threads {
  Caller,  ///< on the calling thread, as everything of the peer does
  Pool,    ///< on the worker pool, as for any caller
};

/// An instruction set by Highway's number; the widest that there is.
inline constexpr std::int64_t kWidest = 0;

/// One thing to be timed.
struct Measurement {
  std::string name;  // subject / size / case / whose
  Size size;         // its pixels are what the time is divided by
  std::function<void()> call;
  std::int64_t instructionSet = kWidest;
  Threads threads = Threads::Caller;
};

/// Registers a measurement. Before it is timed it is called once, so that memory and caches are as
/// for the second frame of a stream. On the caller's thread it is the thread's own time that
/// counts, without what other programs take; with the pool it is the time that passes.
void add(const Measurement& measurement);

/// The instruction sets that both this machine and the library's kernels have, widest first,
/// without the plain one.
[[nodiscard]] std::vector<std::int64_t> vectorInstructionSets();

/// Highway's name: "AVX2".
[[nodiscard]] std::string instructionSetName(std::int64_t instructionSet);

/// Makes an instruction set the one in use while it lives. kWidest: changes nothing.
class ForcedInstructionSet {
 public:
  explicit ForcedInstructionSet(std::int64_t instructionSet);
  ~ForcedInstructionSet();
  ForcedInstructionSet(const ForcedInstructionSet&) = delete;
  ForcedInstructionSet& operator=(const ForcedInstructionSet&) = delete;

 private:
  bool mForced;
};

}  // namespace rectiline::bench
