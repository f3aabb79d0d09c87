#include "Rectifier.h"

#include <utility>

#include "Calls.h"

namespace rectiline::check {
namespace {

template <typename T>
std::vector<T> transposed(const std::vector<T>& plane, int width, int height) {
  std::vector<T> result;
  result.reserve(plane.size());
  for (int x = 0; x < width; ++x) {
    for (int y = 0; y < height; ++y) {
      result.push_back(plane[static_cast<std::size_t>(y) * width + x]);
    }
  }
  return result;
}

rectiline_image imageOf(const GreyView& grey) {
  auto image = sized<rectiline_image>();
  image.format = RECTILINE_GREY8;
  image.width = grey.width;
  image.height = grey.height;
  image.data = const_cast<std::uint8_t*>(grey.data);  // sources are not written
  image.stride = grey.stride;
  return image;
}

}  // namespace

Rectifier::Map::Map(int w, int h)
    : width(w), height(h), x(static_cast<std::size_t>(w) * h), y(x.size()), reasons(x.size()) {}

rectiline_map Rectifier::Map::view() {
  auto map = sized<rectiline_map>();
  map.width = width;
  map.height = height;
  map.x = x.data();
  map.y = y.data();
  map.reasons = reasons.data();
  return map;
}

void Rectifier::Map::transpose() {
  x = transposed(x, width, height);
  y = transposed(y, width, height);
  reasons = transposed(reasons, width, height);
  std::swap(width, height);
}

Rectifier::Rectifier(const Frame& frame)
    : mFrame(frame),
      mLeft(frame.rectification().left.width, frame.rectification().left.height),
      mRight(frame.rectification().right.width, frame.rectification().right.height) {
  const rectiline_map left = mLeft.view();
  const rectiline_map right = mRight.view();
  require(rectiline_rectify(&frame.device(), &frame.options(), &left, &right, nullptr));
  if (!frame.isVertical()) return;
  mLeft.transpose();
  mRight.transpose();
}

Image Rectifier::rectified(const GreyView& source, Map& map) {
  std::vector<std::uint8_t> bytes(map.x.size());
  const rectiline_image from = imageOf(source);
  const rectiline_image to = imageOf({bytes.data(), map.width, map.height, 0});
  const rectiline_map through = map.view();
  require(rectiline_remap(&from, &through, &to));
  Image image(map.width, map.height);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    image.grey[i] = bytes[i];
    image.seen[i] = map.reasons[i] == RECTILINE_PIXEL_OK;
  }
  return image;
}

std::vector<RawMatch> Rectifier::match(const PairImages& images, int pair, Search search,
                                       int maxCorners) {
  constexpr int kMaxWidth = 480;  // of the images that are searched
  const Pyramid left(rectified(images.left, mLeft), kMaxWidth);
  const Pyramid right(rectified(images.right, mRight), kMaxWidth);
  const std::vector<ImageMatch> found = matchImages(left, right, search, maxCorners);
  std::vector<Position> lefts;
  std::vector<Position> rights;
  const auto placed = [&](const Position& p) {
    return mFrame.isVertical() ? Position{p.y, p.x} : p;
  };
  for (const ImageMatch& m : found) {
    lefts.push_back(placed(m.left));
    rights.push_back(placed(m.right));
  }
  lefts = mFrame.leftInImage(lefts);
  rights = mFrame.rightInImage(rights);
  std::vector<RawMatch> matches;
  for (std::size_t i = 0; i < found.size(); ++i) matches.push_back({lefts[i], rights[i], pair});
  return matches;
}

}  // namespace rectiline::check
