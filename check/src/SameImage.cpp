#include "SameImage.h"

#include <algorithm>

#include "Corners.h"
#include "PatchSearch.h"

namespace rectiline::check {
namespace {

Image wholeImage(const GreyView& view) {
  Image image(view.width, view.height);
  const std::size_t stride = view.stride == 0 ? view.width : view.stride;
  for (int y = 0; y < view.height; ++y) {
    const std::uint8_t* row = view.data + y * stride;
    std::copy(row, row + view.width, &image.grey[image.index(0, y)]);
  }
  std::fill(image.seen.begin(), image.seen.end(), std::uint8_t{1});
  return image;
}

}  // namespace

bool isSameImage(const PairImages& images) {
  constexpr int kCorners = 256;
  constexpr int kFewest = 10;     // corners: fewer say nothing
  constexpr float kSame = 0.98F;  // correlation
  constexpr int kPercent = 90;    // of the corners
  const GreyView& l = images.left;
  const GreyView& r = images.right;
  if (l.width != r.width || l.height != r.height) return false;
  const Image left = wholeImage(l);
  const Image right = wholeImage(r);
  const std::vector<Corner> corners = findCorners(left, kCorners, kPatchRadius);
  const auto same = std::count_if(corners.begin(), corners.end(), [&](const Corner& c) {
    return correlate(left, c, right, c) > kSame;
  });
  return std::ssize(corners) >= kFewest && 100 * same >= kPercent * std::ssize(corners);
}

}  // namespace rectiline::check
