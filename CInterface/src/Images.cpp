// Images through maps and gains.

#include <climits>
#include <cstdint>

#include "AR/Common/RowBands.h"
#include "Boundary.h"
#include "Kel/kelRemapu8.h"
#include "Kel/remapImage.h"
#include "KernelFormat.h"
#include "Memory.h"
#include "VIO/Gains.h"
#include "rectiline/rectiline.h"

namespace {

using namespace rectiline::capi;

void requireSameFormat(const Image& source, const Image& target) {
  if (target.format != source.format) {
    refuseArgument("target.format", target.format, "is %d; it must be the source's, %d",
                   static_cast<int>(target.format), static_cast<int>(source.format));
  }
}

/// The platform's remap, where it can do it: it takes strides of an int, and refuses a target in
/// the gaps between the rows of its source.
bool tryPlatformRemap(const Image& source, const Map& map, const Image& target) {
  constexpr int kBilinear = 1;
  for (const Rows* rows : {&source.rows, &map.x, &map.y, &target.rows}) {
    if (rows->stride > INT_MAX) return false;
  }
  return kelRemapu8(source.rows.row<std::uint8_t>(0), source.width, source.height,
                    static_cast<int>(source.rows.stride), target.rows.row<std::uint8_t>(0),
                    target.width, target.height, static_cast<int>(target.rows.stride),
                    map.x.row<float>(0), map.y.row<float>(0), static_cast<int>(map.x.stride),
                    kBilinear) == 0;
}

void remap(const Image& source, const Map& map, const Image& target) {
  if (source.format == RECTILINE_GREY8 && tryPlatformRemap(source, map, target)) return;
  kel::remapImage(kernelFormat(source.format),
                  {source.rows.row<std::uint8_t>(0), source.width, source.height,
                   static_cast<std::ptrdiff_t>(source.rows.stride)},
                  {map.x.row<float>(0), map.y.row<float>(0), map.width, map.height,
                   static_cast<std::ptrdiff_t>(map.x.stride)},
                  target.rows.row<std::uint8_t>(0),
                  static_cast<std::ptrdiff_t>(target.rows.stride));
}

template <typename T>
void correctRow(T* pixels, const float* gains, std::size_t count, std::size_t channels) {
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t c = 0; c < channels; ++c) {
      T& value = pixels[i * channels + c];
      value = VIO::corrected(value, gains[i]);
    }
  }
}

void correctRow(const Image& image, std::size_t y, const float* gains) {
  const auto width = static_cast<std::size_t>(image.width);
  if (image.format == RECTILINE_GREY8) {
    VIO::applyGains(image.rows.row<std::uint8_t>(y), gains, width);
  } else if (image.format == RECTILINE_GREY16) {
    correctRow(image.rows.row<std::uint16_t>(y), gains, width, 1);
  } else {
    correctRow(image.rows.row<std::uint8_t>(y), gains, width, channelsOf(image.format));
  }
}

}  // namespace

std::int32_t rectiline_remap(const rectiline_image* source, const rectiline_map* map,
                             const rectiline_image* target) {
  return guarded([&] {
    const Image from = checkedImage(source, "source");
    const Map through = checkedMap(map, "map");
    const Image to = checkedImage(target, "target");
    requireSameFormat(from, to);
    requireSameSize("target.width", to.width, "map", through.width);
    requireSameSize("target.height", to.height, "map", through.height);
    for (const Rows* input : {&from.rows, &through.x, &through.y}) {
      requireApart(to.rows, *input, "target.data");
    }
    remap(from, through, to);
  });
}

std::int32_t rectiline_correct(const rectiline_image* image, const float* gains,
                               std::size_t stride) {
  return guarded([&] {
    const Image in = checkedImage(image, "image");
    const Rows by =
        checkedRows(gains, in.width, in.height, sizeof(float), alignof(float), stride, "gains");
    requireApart(in.rows, by, "image.data");
    AR::Common::forEachRowBand(in.height, in.width, [&](int first, int end) {
      for (auto y = static_cast<std::size_t>(first); y < static_cast<std::size_t>(end); ++y) {
        correctRow(in, y, by.row<float>(y));
      }
    });
  });
}

std::int32_t rectiline_vignetting_gains(std::int32_t width, std::int32_t height, float* gains,
                                        std::size_t stride) {
  return guarded([&] {
    requirePixels(width, "width");
    requirePixels(height, "height");
    const Rows rows =
        checkedRows(gains, width, height, sizeof(float), alignof(float), stride, "gains");
    for (int y = 0; y < height; ++y) {
      VIO::writeVignettingRow(y, width, rows.row<float>(static_cast<std::size_t>(y)));
    }
  });
}
