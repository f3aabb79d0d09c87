#pragma once

#include <atomic>
#include <cstdint>

#include "testing/Faults.h"

namespace rectiline::testing {

/// Counts operations down to the one to refuse. Needs nothing to be constructed before it is used.
class FaultCounter {
 public:
  void arm(std::int64_t n, Refused refused) {
    mAll = refused == Refused::AllFromThere;
    mHit = false;
    mLeft = n;
  }
  bool disarm() {
    mLeft = kNever;
    return mHit;
  }
  [[nodiscard]] bool refusesNext() {
    if (mLeft == kNever) return false;
    const std::int64_t left = --mLeft;
    const bool refused = left == 0 || (left < 0 && mAll);
    if (refused) mHit = true;
    return refused;
  }

 private:
  static constexpr std::int64_t kNever = INT64_MAX;
  std::atomic<std::int64_t> mLeft{kNever};
  std::atomic<bool> mAll{false};
  std::atomic<bool> mHit{false};
};

}  // namespace rectiline::testing
