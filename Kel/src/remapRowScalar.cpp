#include <cstddef>
#include <cstring>

#include "bilinear.h"
#include "remapRow.h"

namespace kel {
namespace {

const std::uint8_t* rowOf(const SourceImage& src, int y) {
  return src.pixels + static_cast<std::ptrdiff_t>(std::int64_t{y} * src.stride);
}

float interpolateRow(const std::uint8_t* row, const Neighbours& nx) {
  return interpolate(row[nx.i0], row[nx.i1], nx.weight1);
}

float loadFloat(const std::uint8_t* bytes, int index) {
  float value;
  std::memcpy(&value, bytes + static_cast<std::ptrdiff_t>(std::int64_t{index} * 4), sizeof(value));
  return value;
}

}  // namespace

std::uint8_t remapPixel(const SourceImage& src, float x, float y) {
  if (!(isInside(x, src.width) && isInside(y, src.height))) return 0;
  const Neighbours nx = neighboursOf(x, src.width);
  const Neighbours ny = neighboursOf(y, src.height);
  const float upper = interpolateRow(rowOf(src, ny.i0), nx);
  const float lower = interpolateRow(rowOf(src, ny.i1), nx);
  const float rounded = interpolate(upper, lower, ny.weight1) + 0.5F;
  return static_cast<std::uint8_t>(rounded);
}

void remapRowScalar(const SourceImage& src, const std::uint8_t* mapX, const std::uint8_t* mapY,
                    std::uint8_t* dst, int count) {
  for (int u = 0; u < count; ++u) {
    dst[u] = remapPixel(src, loadFloat(mapX, u), loadFloat(mapY, u));
  }
}

}  // namespace kel
