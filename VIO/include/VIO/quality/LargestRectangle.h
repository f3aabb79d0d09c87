#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace VIO {

/// Pixels of an image. Width and height 0: none.
struct Rectangle {
  std::int32_t x = 0, y = 0;
  std::int32_t width = 0, height = 0;
};

/// Finds the largest rectangle of pixels that have something, row by row; of equal ones the
/// topmost, then leftmost, then widest. It keeps the heights of the columns of such pixels that end
/// in the row, and looks for the largest rectangle under that histogram with a stack.
class LargestRectangle {
 public:
  explicit LargestRectangle(std::int32_t width)
      : mHeights(static_cast<std::size_t>(width), 0), mStack(mHeights.size() + 1) {}

  void addPixel(std::int32_t x, bool has) {
    std::int32_t& height = mHeights[static_cast<std::size_t>(x)];
    height = has ? height + 1 : 0;
  }

  void finishRow(std::int32_t y) {
    mDepth = 0;
    std::int32_t x = 0;
    for (const std::int32_t height : mHeights) addBar(x++, y, height);
    addBar(x, y, 0);  // ends what is still open
  }

  [[nodiscard]] const Rectangle& largest() const { return mLargest; }

 private:
  struct Bar {
    std::int32_t left;
    std::int32_t height;
  };

  /// Ends the bars that are higher than the new one, which reaches back to where they began.
  void addBar(std::int32_t x, std::int32_t y, std::int32_t height) {
    if (mDepth > 0 && mStack[mDepth - 1].height == height) return;  // that bar goes on
    std::int32_t left = x;
    while (mDepth > 0 && mStack[mDepth - 1].height > height) {
      const Bar& bar = mStack[--mDepth];
      left = bar.left;
      consider(bar.left, y - bar.height + 1, x - bar.left, bar.height);
    }
    mStack[mDepth++] = {left, height};
  }

  void consider(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height) {
    const std::int64_t area = static_cast<std::int64_t>(width) * height;
    const bool earlier = y < mLargest.y || (y == mLargest.y && x < mLargest.x);
    if (area < mArea || area == 0 || (area == mArea && !earlier)) return;
    mArea = area;
    mLargest = {x, y, width, height};
  }

  std::vector<std::int32_t> mHeights;  // of the columns
  std::vector<Bar> mStack;             // open bars of rising height, at most one a column and one 0
  std::size_t mDepth = 0;
  std::int64_t mArea = 0;
  Rectangle mLargest;
};

}  // namespace VIO
