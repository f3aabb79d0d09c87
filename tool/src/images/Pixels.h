#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace rectiline::tool {

/// Dense pixels of one or more channels.
template <typename T>
struct Pixels {
  Pixels() = default;
  Pixels(int w, int h, int channels = 1)
      : width(w),
        height(h),
        data(static_cast<std::size_t>(w) * static_cast<std::size_t>(h) *
             static_cast<std::size_t>(channels)) {}

  [[nodiscard]] std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
           static_cast<std::size_t>(x);
  }
  T& operator()(int x, int y) { return data[index(x, y)]; }
  const T& operator()(int x, int y) const { return data[index(x, y)]; }

  int width = 0;
  int height = 0;
  std::vector<T> data;
};

using GreyImage = Pixels<std::uint8_t>;
using DepthImage = Pixels<std::uint16_t>;

}  // namespace rectiline::tool
