#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <string>
#include <type_traits>

namespace rectiline::fuzz {

/// The bytes of one run, taken as the values that it needs. Bytes that run out read as zeros, which
/// everywhere choose what is ordinary. Compilers order a call's arguments as they like: what is
/// taken for them is taken before, or in braces, so that an input is the same run everywhere.
class FuzzInput {
 public:
  FuzzInput(const std::uint8_t* data, std::size_t size) : mBytes(data, size) {}

  /// A whole number from `least` to `most`.
  template <typename T>
  T from(T least, T most) {
    return mBytes.ConsumeIntegralInRange<T>(least, most);
  }

  template <typename E, std::size_t N>
  const E& oneOf(const E (&choices)[N]) {
    return choices[from<std::size_t>(0, N - 1)];
  }

  bool flip() { return mBytes.ConsumeBool(); }

  /// Seldom true, and never of bytes that have run out.
  bool once(int outOf) { return from(0, outOf - 1) == outOf - 1; }

  double between(double least, double most) {
    return mBytes.ConsumeFloatingPointInRange(least, most);
  }

  /// A number that code may not have been written for, or any at all.
  double hostileNumber() {
    using Limits = std::numeric_limits<double>;
    static const double kHostile[] = {0,
                                      -0.0,
                                      1,
                                      -1,
                                      Limits::quiet_NaN(),
                                      Limits::infinity(),
                                      -Limits::infinity(),
                                      Limits::max(),
                                      Limits::denorm_min(),
                                      1e-30,
                                      3.5e38,
                                      1e-45,
                                      2147483647,
                                      2147483648,
                                      4294967296,
                                      0.5};
    if (flip()) return oneOf(kHostile);
    const auto bits = any<std::uint64_t>();
    double number;
    std::memcpy(&number, &bits, sizeof number);
    return number;
  }

  template <typename T>
  T any() {
    return mBytes.ConsumeIntegral<T>();
  }

  /// Overwrites one member of a record, wherever it lies, with something it should not hold.
  template <typename Record>
  void spoil(Record& record) {
    static_assert(std::is_trivially_copyable_v<Record>);
    auto* const bytes = reinterpret_cast<std::uint8_t*>(&record);
    if (flip()) {
      const double number = hostileNumber();
      const std::size_t at = from<std::size_t>(0, sizeof record / sizeof number - 1);
      std::memcpy(bytes + at * sizeof number, &number, sizeof number);
    } else {
      const auto number = any<std::int32_t>();
      const std::size_t at = from<std::size_t>(0, sizeof record / sizeof number - 1);
      std::memcpy(bytes + at * sizeof number, &number, sizeof number);
    }
  }

  std::string text(std::size_t longest) { return mBytes.ConsumeRandomLengthString(longest); }
  std::string rest() { return mBytes.ConsumeRemainingBytesAsString(); }
  [[nodiscard]] bool isEmpty() { return mBytes.remaining_bytes() == 0; }

 private:
  FuzzedDataProvider mBytes;
};

}  // namespace rectiline::fuzz
