#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace rectiline::check {

/// A grey image and which of its pixels were seen.
struct Image {
  Image(int w, int h) : width(w), height(h), grey(size()), seen(size()) {}

  [[nodiscard]] std::size_t size() const { return static_cast<std::size_t>(width) * height; }
  [[nodiscard]] std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * width + x;
  }
  [[nodiscard]] float operator()(int x, int y) const { return grey[index(x, y)]; }

  int width;
  int height;
  std::vector<float> grey;
  std::vector<std::uint8_t> seen;  // 1 or 0
};

/// The image and its reductions to half, quarter, ... of its size. A pixel of a reduction is the
/// mean of four, so that position x there is 2 x + 0.5 one level below.
class Pyramid {
 public:
  /// Reduced until `maxWidth` is reached, and once more for a coarse look.
  Pyramid(Image image, int maxWidth);

  [[nodiscard]] int levels() const { return static_cast<int>(mLevels.size()); }
  [[nodiscard]] const Image& level(int i) const { return mLevels[i]; }

 private:
  std::vector<Image> mLevels;
};

/// Sum of the values of a square window of 2 radius + 1 about every pixel that is as far from all
/// borders; 0 elsewhere.
std::vector<float> windowSums(const std::vector<float>& values, int width, int height, int radius);

}  // namespace rectiline::check
