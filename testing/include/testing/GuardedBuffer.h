#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace rectiline::testing {

/// A caller's buffer of `count` elements at any byte offset, with guard bytes on both sides.
/// Elements start out as `fill`; `intact()` tells whether the guards survived.
template <typename T>
class GuardedBuffer {
 public:
  explicit GuardedBuffer(std::size_t count, T fill = T(-7), std::size_t byteOffset = 0)
      : mCount(count),
        mStart(kGuard + byteOffset),
        mBytes(2 * kGuard + byteOffset + count * sizeof(T), kByte) {
    for (std::size_t i = 0; i < count; ++i) std::memcpy(address(i), &fill, sizeof(T));
  }

  T* data() { return reinterpret_cast<T*>(mBytes.data() + mStart); }
  [[nodiscard]] std::size_t size() const { return mCount; }

  T operator[](std::size_t i) const {
    T value;
    std::memcpy(&value, mBytes.data() + mStart + i * sizeof(T), sizeof(T));
    return value;
  }

  [[nodiscard]] bool intact() const {
    for (std::size_t i = 0; i < mBytes.size(); ++i) {
      const bool inside = i >= mStart && i < mStart + mCount * sizeof(T);
      if (!inside && mBytes[i] != kByte) return false;
    }
    return true;
  }

 private:
  static constexpr std::size_t kGuard = 64;
  static constexpr std::uint8_t kByte = 0xA5;

  void* address(std::size_t i) { return mBytes.data() + mStart + i * sizeof(T); }

  std::size_t mCount;
  std::size_t mStart;
  std::vector<std::uint8_t> mBytes;
};

}  // namespace rectiline::testing
