#pragma once

// Callers' structs and maps for the functions of rectiline/rectiline.h, in memory that ends where
// they end.

#include <algorithm>
#include <cmath>
#include <cstring>

#include "CallerRows.h"
#include "FuzzInput.h"
#include "Records.h"
#include "rectiline/rectiline.h"

namespace rectiline::fuzz {

/// A struct of the size that it claims, which need not be this version's.
template <typename Struct>
class CallerStruct {
 public:
  CallerStruct(FuzzInput& input, Struct value)
      : mMemory(input.once(12) ? 8 * input.from<std::size_t>(1, sizeof value / 8 + 3)
                               : sizeof value),
        mIsNull(input.once(40)) {
    value.struct_size = static_cast<std::uint32_t>(mMemory.size());
    std::memset(mMemory.data(), 0, mMemory.size());
    std::memcpy(mMemory.data(), &value, std::min(sizeof value, mMemory.size()));
  }

  [[nodiscard]] Struct* get() const {
    return mIsNull ? nullptr : reinterpret_cast<Struct*>(mMemory.data());
  }
  /// What it holds, members that it has no room for zero.
  [[nodiscard]] Struct value() const {
    Struct value{};
    std::memcpy(static_cast<void*>(&value), mMemory.data(), std::min(sizeof value, mMemory.size()));
    value.struct_size = sizeof value;
    return value;
  }

 private:
  testing::GuardPages mMemory;
  bool mIsNull;
};

/// A map with reasons.
struct CallerMap {
  CallerMap(FuzzInput& input, int width, int height)
      : x{width, height, 4 * gapFrom(input), behindFrom(input)},
        y{width, height, x.stride() - 4 * static_cast<std::size_t>(width), behindFrom(input)},
        reasons(width, height, gapFrom(input)),
        map(input,
            {0, width, height, 0, x.data(), y.data(), x.isDense() && input.once(3) ? 0 : x.stride(),
             input.once(4) ? nullptr : reasons.data(), reasons.stride()}) {}

  static std::size_t gapFrom(FuzzInput& input) {
    return input.once(3) ? input.from<std::size_t>(0, 9) : 0;
  }
  static std::size_t behindFrom(FuzzInput& input) {
    return input.once(12) ? input.from<std::size_t>(0, 7) : 0;
  }

  /// Whether the library has to fill it, as -1 at least.
  [[nodiscard]] bool isInOrder() const {
    return map.get() != nullptr && map.get()->struct_size >= sizeof(rectiline_map) &&
           x.isAligned() && y.isAligned();
  }
  [[nodiscard]] bool isNotMade() const {
    return x.holdOnly(-1) && y.holdOnly(-1) &&
           (map.value().reasons == nullptr || reasons.holdOnly(RECTILINE_PIXEL_NOT_MADE));
  }

  /// Whether each pixel has a position in an image of that size, or none, as its reason says.
  [[nodiscard]] bool holdsPositionsIn(int width, int height) const {
    bool all = true;
    x.forEach([&](int column, int row) {
      const float u = x.at(column, row), v = y.at(column, row);
      const bool hasSource =
          u >= 0 && u < static_cast<float>(width) && v >= 0 && v < static_cast<float>(height);
      const bool hasNone = u == -1 && v == -1;
      const bool isSo =
          map.value().reasons == nullptr ||
          (reasons.at(column, row) <= RECTILINE_PIXEL_OK_PAST_LAST_CENTRE) == hasSource;
      all = all && (hasSource || hasNone) && isSo;
    });
    return all;
  }

  CallerRows<float> x, y;
  CallerRows<std::uint8_t> reasons;
  CallerStruct<rectiline_map> map;
};

/// Calls that fail say why; none may find a fault of the library. Returns whether it succeeded.
inline bool succeeded(std::int32_t status) {
  FUZZ_EXPECT(status >= RECTILINE_OK && status < RECTILINE_INTERNAL_ERROR);
  FUZZ_EXPECT(status != RECTILINE_OUT_OF_MEMORY);
  if (status == RECTILINE_OK) return true;
  rectiline_error error{};
  error.struct_size = sizeof error;
  FUZZ_EXPECT(rectiline_last_error(&error) == RECTILINE_OK && error.status == status);
  FUZZ_EXPECT(error.text[0] != '\0');
  return false;
}

template <typename Struct>
Struct sized() {
  Struct s{};
  s.struct_size = sizeof s;
  return s;
}

}  // namespace rectiline::fuzz
