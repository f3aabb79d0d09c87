#include "Kel/remapImage.h"

#include "AR/Common/RowBands.h"
#include "bilinear.h"
#include "remapColour.h"

namespace kel {
namespace {

template <typename T>
const T* rowOf(const ConstImage& image, int y) {
  return reinterpret_cast<const T*>(image.pixels + y * image.stride);
}

/// The pixel at (x, y), channel by channel; black outside.
template <typename T, int channels>
void remapPixel(const ConstImage& source, float x, float y, T* target) {
  if (!(isInside(x, source.width) && isInside(y, source.height))) {
    std::fill_n(target, channels, T{0});
    return;
  }
  const Neighbours nx = neighboursOf(x, source.width);
  const Neighbours ny = neighboursOf(y, source.height);
  const T* const upper = rowOf<T>(source, ny.i0);
  const T* const lower = rowOf<T>(source, ny.i1);
  const std::ptrdiff_t left = std::ptrdiff_t{channels} * nx.i0;
  const std::ptrdiff_t right = std::ptrdiff_t{channels} * nx.i1;
  for (int c = 0; c < channels; ++c) {
    const float above = interpolate(upper[left + c], upper[right + c], nx.weight1);
    const float below = interpolate(lower[left + c], lower[right + c], nx.weight1);
    target[c] = static_cast<T>(interpolate(above, below, ny.weight1) + 0.5F);
  }
}

template <typename T, int channels>
void remapRowScalar(const ConstImage& source, const float* x, const float* y, T* target,
                    int count) {
  for (int u = 0; u < count; ++u) {
    remapPixel<T, channels>(source, x[u], y[u], target + std::ptrdiff_t{channels} * u);
  }
}

/// Calls remapRow(x, y, target) for every row.
template <typename RemapRow>
void forEachRow(const ConstMap& map, std::uint8_t* target, std::ptrdiff_t targetStride,
                RemapRow&& remapRow) {
  const std::ptrdiff_t mapStride = map.stride / static_cast<std::ptrdiff_t>(sizeof(float));
  AR::Common::forEachRowBand(map.height, map.width, [&](int firstRow, int endRow) {
    for (int v = firstRow; v < endRow; ++v) {
      remapRow(map.x + v * mapStride, map.y + v * mapStride, target + v * targetStride);
    }
  });
}

}  // namespace

void remapColourRowScalar(const ConstImage& source, int channels, const float* x, const float* y,
                          std::uint8_t* target, int count) {
  if (channels == 3) return remapRowScalar<std::uint8_t, 3>(source, x, y, target, count);
  remapRowScalar<std::uint8_t, 4>(source, x, y, target, count);
}

void remapImage(PixelFormat format, const ConstImage& source, const ConstMap& map,
                std::uint8_t* target, std::ptrdiff_t targetStride) {
  forEachRow(map, target, targetStride, [&](const float* x, const float* y, std::uint8_t* row) {
    switch (format) {
      case PixelFormat::Grey8:
        return remapRowScalar<std::uint8_t, 1>(source, x, y, row, map.width);
      case PixelFormat::Grey16:
        return remapRowScalar<std::uint16_t, 1>(source, x, y, reinterpret_cast<std::uint16_t*>(row),
                                                map.width);
      case PixelFormat::Rgb8:
        return remapColourRow(source, 3, x, y, row, map.width);
      case PixelFormat::Rgba8:
        return remapColourRow(source, 4, x, y, row, map.width);
    }
  });
}

}  // namespace kel
