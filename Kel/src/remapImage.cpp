#include "Kel/remapImage.h"

#include "AR/Common/RowBands.h"
#include "bilinear.h"

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
void remapAll(const ConstImage& source, const ConstMap& map, std::uint8_t* target,
              std::ptrdiff_t targetStride) {
  const std::ptrdiff_t mapStride = map.stride / static_cast<std::ptrdiff_t>(sizeof(float));
  AR::Common::forEachRowBand(map.height, map.width, [&](int firstRow, int endRow) {
    for (int v = firstRow; v < endRow; ++v) {
      const float* const x = map.x + v * mapStride;
      const float* const y = map.y + v * mapStride;
      T* const row = reinterpret_cast<T*>(target + v * targetStride);
      for (int u = 0; u < map.width; ++u) {
        remapPixel<T, channels>(source, x[u], y[u], row + std::ptrdiff_t{channels} * u);
      }
    }
  });
}

}  // namespace

void remapImage(PixelFormat format, const ConstImage& source, const ConstMap& map,
                std::uint8_t* target, std::ptrdiff_t targetStride) {
  switch (format) {
    case PixelFormat::Grey8: return remapAll<std::uint8_t, 1>(source, map, target, targetStride);
    case PixelFormat::Rgb8: return remapAll<std::uint8_t, 3>(source, map, target, targetStride);
    case PixelFormat::Rgba8: return remapAll<std::uint8_t, 4>(source, map, target, targetStride);
    case PixelFormat::Grey16: return remapAll<std::uint16_t, 1>(source, map, target, targetStride);
  }
}

}  // namespace kel
