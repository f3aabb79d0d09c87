#include "Measurement.h"

#include <benchmark/benchmark.h>
#include <hwy/targets.h>

#include "AR/Common/WorkerPool.h"

namespace rectiline::bench {
namespace {

using AR::Common::WorkerPools;

/// Borrows every worker pool, so that dispatches run on their caller's thread.
class AllPoolsTaken {
 public:
  AllPoolsTaken() {
    for (WorkerPools::ScopedPool& pool : mPools) pool = WorkerPools::getScopedRealPool();
  }

 private:
  static constexpr std::size_t kPools = 5;
  WorkerPools::ScopedPool mPools[kPools];
};

void warmUpAndTime(const std::function<void()>& call, benchmark::State& state) {
  call();
  for ([[maybe_unused]] auto _ : state) {
    call();
    benchmark::ClobberMemory();
  }
}

void run(const Measurement& measurement, benchmark::State& state) {
  const ForcedInstructionSet forced(measurement.instructionSet);
  if (measurement.threads == Threads::Pool) {
    warmUpAndTime(measurement.call, state);
  } else {
    const AllPoolsTaken taken;
    warmUpAndTime(measurement.call, state);
  }
  state.counters["pixels"] = static_cast<double>(measurement.size.width) * measurement.size.height;
}

}  // namespace

void add(const Measurement& measurement) {
  auto* const registered = benchmark::RegisterBenchmark(
      measurement.name.c_str(),
      [measurement](benchmark::State& state) { run(measurement, state); });
  if (measurement.threads == Threads::Pool) registered->UseRealTime();
}

std::vector<std::int64_t> vectorInstructionSets() {
  std::vector<std::int64_t> sets;
  for (const std::int64_t set : hwy::SupportedAndGeneratedTargets()) {
    if (set != HWY_SCALAR && set != HWY_EMU128) sets.push_back(set);
  }
  return sets;
}

std::string instructionSetName(std::int64_t instructionSet) {
  return hwy::TargetName(instructionSet);
}

ForcedInstructionSet::ForcedInstructionSet(std::int64_t instructionSet)
    : mForced(instructionSet != kWidest) {
  if (!mForced) return;
  hwy::SetSupportedTargetsForTest(instructionSet);
  hwy::GetChosenTarget().Update(instructionSet);
}

ForcedInstructionSet::~ForcedInstructionSet() {
  if (!mForced) return;
  hwy::SetSupportedTargetsForTest(0);
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

}  // namespace rectiline::bench
