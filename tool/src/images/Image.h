#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "images/Pixels.h"
#include "rectiline/rectiline.h"

namespace rectiline::tool {

/// What an image file says before its pixels are decoded. Samples are 8-bit grey, red-green-blue or
/// red-green-blue-alpha, or 16-bit grey.
struct ImageHeader {
  int width = 0;
  int height = 0;
  rectiline_format format = RECTILINE_GREY8;

  /// Of 8 or 16 bits.
  [[nodiscard]] std::size_t channels() const;
  [[nodiscard]] std::size_t bytesPerPixel() const;
  [[nodiscard]] std::size_t stride() const {
    return static_cast<std::size_t>(width) * bytesPerPixel();
  }
};

/// An image in memory of its own, rows without gaps, 16-bit samples in the machine's order.
struct Image : ImageHeader {
  Image() = default;
  explicit Image(const ImageHeader& header);
  explicit Image(const GreyImage& grey);
  explicit Image(const DepthImage& depth);

  [[nodiscard]] std::uint8_t* row(int y) { return &data[static_cast<std::size_t>(y) * stride()]; }
  [[nodiscard]] const std::uint8_t* row(int y) const {
    return &data[static_cast<std::size_t>(y) * stride()];
  }

  /// The image as the library sees it, which writes to its targets only.
  [[nodiscard]] rectiline_image view() const;

  std::vector<std::uint8_t> data;
};

/// The upper eight bits of the luma (0.299 red, 0.587 green, 0.114 blue: ITU-R BT.601).
GreyImage greyOf(const Image& image);

/// 8-bit red, green and blue, of 16-bit grey the upper eight bits.
Image colourOf(const Image& image);

/// The same image without its alpha channel, if it has one.
Image withoutAlpha(const Image& image);

}  // namespace rectiline::tool
