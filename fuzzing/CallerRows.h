#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Finding.h"
#include "FuzzInput.h"
#include "testing/GuardPages.h"

namespace rectiline::fuzz {

/// Rows of a caller's buffer. The last one ends, up to a few bytes that make it unaligned, where
/// memory ends; when the object goes, nothing between the rows may have been written.
template <typename T>
class CallerRows {
 public:
  /// Dense rows that are aligned for their elements, unless the input has it otherwise.
  CallerRows(FuzzInput& input, int width, int height)
      : CallerRows{width, height, input.once(3) ? input.from<std::size_t>(0, 40) : 0,
                   input.once(6) ? input.from<std::size_t>(0, 7) : 0} {}

  CallerRows(int width, int height, std::size_t gap = 0, std::size_t behind = 0)
      : mRowBytes(static_cast<std::size_t>(width) * sizeof(T)),
        mStride(mRowBytes + gap),
        mRows(static_cast<std::size_t>(height)),
        mMemory(mStride * mRows - gap + behind) {
    std::memset(mMemory.data(), kUntouched, mMemory.size());
  }

  ~CallerRows() { FUZZ_EXPECT(isUntouchedBetweenRows()); }

  CallerRows(const CallerRows&) = delete;
  CallerRows& operator=(const CallerRows&) = delete;

  [[nodiscard]] T* data() const { return reinterpret_cast<T*>(mMemory.data()); }
  [[nodiscard]] std::size_t stride() const { return mStride; }
  [[nodiscard]] std::size_t count() const { return mRowBytes / sizeof(T) * mRows; }
  [[nodiscard]] bool isDense() const { return mStride == mRowBytes; }
  [[nodiscard]] bool isAligned() const {
    return reinterpret_cast<std::uintptr_t>(mMemory.data()) % alignof(T) == 0 &&
           mStride % alignof(T) == 0;
  }

  [[nodiscard]] T at(int column, int row) const {
    T value;
    std::memcpy(&value, place(column, row), sizeof value);
    return value;
  }
  void set(int column, int row, T value) { std::memcpy(place(column, row), &value, sizeof value); }

  /// Calls f(column, row) for every element.
  template <typename F>
  void forEach(F&& f) const {
    for (int y = 0; y < static_cast<int>(mRows); ++y) {
      for (int x = 0; x < static_cast<int>(mRowBytes / sizeof(T)); ++x) f(x, y);
    }
  }

  /// Whether every element has this value.
  [[nodiscard]] bool holdOnly(T value) const {
    bool all = true;
    forEach([&](int x, int y) { all = all && at(x, y) == value; });
    return all;
  }

 private:
  static constexpr std::uint8_t kUntouched = 0xA5;

  [[nodiscard]] std::uint8_t* place(int column, int row) const {
    return mMemory.data() + static_cast<std::size_t>(row) * mStride +
           static_cast<std::size_t>(column) * sizeof(T);
  }

  [[nodiscard]] bool isUntouchedBetweenRows() const {
    for (std::size_t i = 0; i < mMemory.size(); ++i) {
      const bool isInRow = i % mStride < mRowBytes && i / mStride < mRows;
      if (!isInRow && mMemory.data()[i] != kUntouched) return false;
    }
    return true;
  }

  std::size_t mRowBytes;
  std::size_t mStride;
  std::size_t mRows;
  testing::GuardPages mMemory;
};

}  // namespace rectiline::fuzz
