#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

#include "remapRow.h"
#include "testing/GuardedBuffer.h"
#include "testing/InstructionSets.h"

namespace kel {
namespace {

using Bytes = rectiline::testing::GuardedBuffer<std::uint8_t>;

/// Positions about the image's centre: (x, y) = [xx xy; yx yy] (u, v) + shift, in pixels.
struct Warp {
  const char* name;
  float xx, xy, yx, yy, shift;
};

constexpr Warp kWarps[] = {{"copy", 1, 0, 0, 1, 0},
                           {"shift by parts", 0.97F, 0, 0, 0.97F, 0.3F},
                           {"across the border", 1.01F, 0, 0, 1.01F, 5.6F},
                           {"slight turn", 0.95F, -0.03F, 0.03F, 0.95F, 0.1F},
                           {"mirrored", -1, 0, 0, -1, 0.25F},
                           {"half the size", 2, 0, 0, 2, 0.5F},
                           {"quarter turn", 0, -1, 1, 0, 0.75F},
                           {"far outside", 1, 0, 0, 1, -500}};

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

/// The source ends where `noise` ends, and the maps where their allocations end.
void checkRows(const Warp& warp, int width, int height, const std::vector<std::uint8_t>& noise) {
  const int pad = width % 4;
  std::minstd_rand random(static_cast<unsigned>(width * 100 + height));
  const SourceImage src{noise.data() + noise.size() - ((width + pad) * height - pad), width, height,
                        width + pad};
  const auto count = static_cast<std::size_t>(width);
  const float w = static_cast<float>(width), h = static_cast<float>(height);
  const float hostile[] = {kNan,  -kNan, kInf, -kInf, -0.0F, -1e-40F, -0.5F,   w,
                           w - 1, h - 1, h,    3e9F,  -3e9F, 3.4e38F, 8388608, 1e-40F};
  for (const int v : {0, height / 2, height - 1}) {
    std::vector<float> mapX(count), mapY(count);
    for (std::size_t u = 0; u < count; ++u) {
      const float du = static_cast<float>(u) - w / 2, dv = static_cast<float>(v) - h / 2;
      mapX[u] = w / 2 + warp.xx * du + warp.xy * dv + warp.shift;
      mapY[u] = h / 2 + warp.yx * du + warp.yy * dv + warp.shift;
    }
    if (v % 2 == 1) (v % 4 == 1 ? mapX : mapY)[random() % count] = hostile[random() % 16];
    const auto* const x = reinterpret_cast<const std::uint8_t*>(mapX.data());
    const auto* const y = reinterpret_cast<const std::uint8_t*>(mapY.data());
    std::vector<std::uint8_t> plain(count);
    Bytes dst(count, 9, static_cast<std::size_t>(height % 5));
    remapRowScalar(src, x, y, plain.data(), width);
    remapRow(src, x, y, dst.data(), width);
    const auto u = std::mismatch(plain.begin(), plain.end(), dst.data()).first - plain.begin();
    ASSERT_EQ(u, width) << "first difference in row " << v;
    ASSERT_TRUE(dst.intact());
  }
}

TEST(RemapRow, EqualsThePlainFormForEverySizeAndWarp) {
  std::vector<std::uint8_t> noise(641 * 482);
  std::generate(noise.begin(), noise.end(), std::mt19937(5));
  rectiline::testing::forEachInstructionSet([&] {
    for (const Warp& warp : kWarps) {
      SCOPED_TRACE(warp.name);
      for (int size = 0; size < 67 * 67; ++size) {
        const int width = 1 + size % 67, height = 1 + size / 67;
        ASSERT_NO_FATAL_FAILURE(checkRows(warp, width, height, noise)) << width << " x " << height;
      }
      checkRows(warp, 641, 480, noise);
    }
  });
}

}  // namespace
}  // namespace kel
