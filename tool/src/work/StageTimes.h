#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>

namespace rectiline::tool {

/// What the threads of a batch spend their time on, summed over all of them.
class StageTimes {
 public:
  enum Stage : std::size_t { Read, Remap, Write };

  /// Runs `work`, counts its time, and returns what it returns.
  template <typename Work>
  auto measure(Stage stage, const Work& work) {
    const Sum sum(mNanoseconds[stage]);
    return work();
  }

  [[nodiscard]] double milliseconds(Stage stage) const {
    return static_cast<double>(mNanoseconds[stage]) * 1e-6;
  }

 private:
  using Clock = std::chrono::steady_clock;

  class Sum {
   public:
    explicit Sum(std::atomic<long long>& sum) : mSum(sum) {}
    ~Sum() {
      mSum += std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - mStart).count();
    }
    Sum(const Sum&) = delete;
    Sum& operator=(const Sum&) = delete;

   private:
    std::atomic<long long>& mSum;
    Clock::time_point mStart = Clock::now();
  };

  std::array<std::atomic<long long>, 3> mNanoseconds{};
};

}  // namespace rectiline::tool
