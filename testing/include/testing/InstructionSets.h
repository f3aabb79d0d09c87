#pragma once

#include <gtest/gtest.h>
#include <hwy/targets.h>

namespace rectiline::testing {

/// Runs `check` once for every instruction set that this machine has and the kernels are built for,
/// the plain one without vector instructions included, with that set in force.
template <typename Check>
void forEachInstructionSet(Check&& check) {
  const auto targets = hwy::SupportedAndGeneratedTargets();
  ASSERT_FALSE(targets.empty());
  for (const auto target : targets) {
    SCOPED_TRACE(hwy::TargetName(target));
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(target);
    check();
  }
  hwy::SetSupportedTargetsForTest(0);
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

}  // namespace rectiline::testing
