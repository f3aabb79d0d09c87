#include "Image.h"

#include <algorithm>
#include <utility>

namespace rectiline::check {
namespace {

Image half(const Image& image) {
  Image reduced(image.width / 2, image.height / 2);
  for (int y = 0; y < reduced.height; ++y) {
    for (int x = 0; x < reduced.width; ++x) {
      const std::size_t from = image.index(2 * x, 2 * y);
      const std::size_t below = from + image.width;
      const std::size_t to = reduced.index(x, y);
      reduced.grey[to] =
          (image.grey[from] + image.grey[from + 1] + image.grey[below] + image.grey[below + 1]) / 4;
      reduced.seen[to] =
          image.seen[from] & image.seen[from + 1] & image.seen[below] & image.seen[below + 1];
    }
  }
  return reduced;
}

}  // namespace

Pyramid::Pyramid(Image image, int maxWidth) {
  mLevels.push_back(std::move(image));
  while (mLevels.back().width > maxWidth) mLevels.push_back(half(mLevels.back()));
  mLevels.push_back(half(mLevels.back()));
}

std::vector<float> windowSums(const std::vector<float>& values, int width, int height, int radius) {
  std::vector<float> sums(values.size());
  std::vector<float> columns(width);
  for (int y = radius; y < height - radius; ++y) {
    std::fill(columns.begin(), columns.end(), 0.F);
    for (int j = y - radius; j <= y + radius; ++j) {
      const float* row = &values[static_cast<std::size_t>(j) * width];
      for (int x = 0; x < width; ++x) columns[x] += row[x];
    }
    float* target = &sums[static_cast<std::size_t>(y) * width];
    for (int i = -radius; i <= radius; ++i) {
      for (int x = radius; x < width - radius; ++x) target[x] += columns[x + i];
    }
  }
  return sums;
}

}  // namespace rectiline::check
