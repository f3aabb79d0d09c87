#include "Corners.h"

#include <algorithm>
#include <cmath>

namespace rectiline::check {
namespace {

constexpr int kWindow = 2;       // radius in which gradients are summed
constexpr int kApart = 3;        // a corner is the best within this distance
constexpr float kMinValue = 60;  // about a contrast of 2 grey levels in both directions

/// The smaller eigenvalue of the gradient products at every pixel, 0 near what was not seen.
std::vector<float> cornerness(const Image& image, int margin) {
  std::vector<float> xx(image.size());
  std::vector<float> xy(image.size());
  std::vector<float> yy(image.size());
  for (int y = 1; y < image.height - 1; ++y) {
    for (int x = 1; x < image.width - 1; ++x) {
      const std::size_t i = image.index(x, y);
      const float gx = (image.grey[i + 1] - image.grey[i - 1]) / 2;
      const float gy = (image.grey[i + image.width] - image.grey[i - image.width]) / 2;
      xx[i] = gx * gx;
      xy[i] = gx * gy;
      yy[i] = gy * gy;
    }
  }
  for (std::vector<float>* products : {&xx, &xy, &yy}) {
    *products = windowSums(*products, image.width, image.height, kWindow);
  }
  const std::vector<float> seen(image.seen.begin(), image.seen.end());
  const std::vector<float> count = windowSums(seen, image.width, image.height, margin);
  const auto whole = static_cast<float>((2 * margin + 1) * (2 * margin + 1));
  std::vector<float> values(image.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (count[i] < whole) continue;
    values[i] = (xx[i] + yy[i]) / 2 - std::hypot((xx[i] - yy[i]) / 2, xy[i]);
  }
  return values;
}

bool isMaximum(const std::vector<float>& values, int width, std::size_t i) {
  for (int dy = -kApart; dy <= kApart; ++dy) {
    for (int dx = -kApart; dx <= kApart; ++dx) {
      const std::ptrdiff_t offset = static_cast<std::ptrdiff_t>(dy) * width + dx;
      const float other = values[i + offset];
      if (other > values[i] || (other == values[i] && offset < 0)) return false;
    }
  }
  return true;
}

}  // namespace

std::vector<Corner> findCorners(const Image& image, int count, int margin) {
  constexpr int kCells = 8;  // along each side
  margin = std::max(margin, kApart);
  const std::vector<float> values = cornerness(image, margin);
  std::vector<std::vector<Corner>> cells(kCells * kCells);
  for (int y = margin; y < image.height - margin; ++y) {
    for (int x = margin; x < image.width - margin; ++x) {
      const std::size_t i = image.index(x, y);
      if (values[i] < kMinValue || !isMaximum(values, image.width, i)) continue;
      cells[y * kCells / image.height * kCells + x * kCells / image.width].push_back({x, y});
    }
  }
  std::vector<Corner> corners;
  const auto value = [&](const Corner& c) { return values[image.index(c.x, c.y)]; };
  const std::size_t share = (count + cells.size() - 1) / cells.size();
  for (std::vector<Corner>& cell : cells) {
    std::stable_sort(cell.begin(), cell.end(),
                     [&](const Corner& a, const Corner& b) { return value(a) > value(b); });
    const std::size_t taken = std::min(share, cell.size());
    corners.insert(corners.end(), cell.begin(), cell.begin() + static_cast<std::ptrdiff_t>(taken));
  }
  return corners;
}

}  // namespace rectiline::check
