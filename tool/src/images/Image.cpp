#include "images/Image.h"

#include <cstring>

#include "maps/Calls.h"

namespace rectiline::tool {
namespace {

std::vector<std::uint8_t> bytesOf(const DepthImage& depth) {
  std::vector<std::uint8_t> bytes(depth.data.size() * sizeof(std::uint16_t));
  if (!bytes.empty()) std::memcpy(bytes.data(), depth.data.data(), bytes.size());
  return bytes;
}

std::uint8_t luma(const std::uint8_t* rgb) {
  return static_cast<std::uint8_t>((299 * rgb[0] + 587 * rgb[1] + 114 * rgb[2] + 500) / 1000);
}

}  // namespace

std::size_t ImageHeader::channels() const {
  if (format == RECTILINE_RGB8) return 3;
  return format == RECTILINE_RGBA8 ? 4 : 1;
}

std::size_t ImageHeader::bytesPerPixel() const {
  return format == RECTILINE_GREY16 ? 2 : channels();
}

Image::Image(const ImageHeader& header)
    : ImageHeader(header), data(static_cast<std::size_t>(height) * stride()) {}

Image::Image(const GreyImage& grey)
    : ImageHeader{grey.width, grey.height, RECTILINE_GREY8}, data(grey.data) {}

Image::Image(const DepthImage& depth)
    : ImageHeader{depth.width, depth.height, RECTILINE_GREY16}, data(bytesOf(depth)) {}

rectiline_image Image::view() const {
  auto view = sized<rectiline_image>();
  view.format = format;
  view.width = width;
  view.height = height;
  view.data = const_cast<std::uint8_t*>(data.data());
  return view;
}

GreyImage greyOf(const Image& image) {
  GreyImage grey(image.width, image.height);
  if (image.format == RECTILINE_GREY8) {
    grey.data = image.data;
    return grey;
  }
  const std::uint8_t* pixel = image.data.data();
  for (std::uint8_t& value : grey.data) {
    if (image.format == RECTILINE_GREY16) {
      std::uint16_t sample = 0;
      std::memcpy(&sample, pixel, sizeof sample);
      value = static_cast<std::uint8_t>(sample >> 8);
    } else {
      value = luma(pixel);
    }
    pixel += image.bytesPerPixel();
  }
  return grey;
}

Image colourOf(const Image& image) {
  if (image.channels() > 1) return withoutAlpha(image);
  Image rgb(ImageHeader{image.width, image.height, RECTILINE_RGB8});
  const GreyImage grey = greyOf(image);
  for (std::size_t i = 0; i < rgb.data.size(); ++i) rgb.data[i] = grey.data[i / 3];
  return rgb;
}

Image withoutAlpha(const Image& image) {
  if (image.format != RECTILINE_RGBA8) return image;
  Image rgb(ImageHeader{image.width, image.height, RECTILINE_RGB8});
  for (std::size_t i = 0; i < rgb.data.size() / 3; ++i) {
    std::memcpy(&rgb.data[3 * i], &image.data[4 * i], 3);
  }
  return rgb;
}

}  // namespace rectiline::tool
