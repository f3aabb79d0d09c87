#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "remapColour.h"
#include "testing/GuardedBuffer.h"
#include "testing/InstructionSets.h"

namespace kel {
namespace {

/// A source that ends where its allocation ends, and rows of positions in and about it.
struct Case {
  Case(int channelCount, int w, int h)
      : channels(channelCount),
        width(w),
        height(h),
        bytes(static_cast<std::size_t>(w * h * channels)) {
    std::mt19937 random(static_cast<unsigned>(w * 100 + h));
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    const auto position = [&](int size) {
      return static_cast<float>(random() % 1000) * 0.0012F * static_cast<float>(size) - 0.6F;
    };
    for (int u = 0; u < 64; ++u) {
      x.push_back(position(w));
      y.push_back(position(h));
    }
    x[3] = NAN;
    y[5] = INFINITY;
    x[7] = static_cast<float>(w) - 0.5F;
    y[7] = static_cast<float>(h) - 0.5F;
  }

  [[nodiscard]] ConstImage source() const {
    return {bytes.data(), width, height, std::ptrdiff_t{width} * channels};
  }

  int channels, width, height;
  std::vector<std::uint8_t> bytes;
  std::vector<float> x, y;
};

TEST(RemapColour, EqualsThePlainFormForEveryInstructionSet) {
  rectiline::testing::forEachInstructionSet([&] {
    for (const int channels : {3, 4}) {
      for (int size = 0; size < 90; ++size) {
        const Case c(channels, 1 + size % 10, 1 + size / 10);
        const std::size_t n = c.x.size() * static_cast<std::size_t>(channels);
        std::vector<std::uint8_t> plain(n);
        rectiline::testing::GuardedBuffer<std::uint8_t> target(n, 9);
        const int count = static_cast<int>(c.x.size());
        remapColourRowScalar(c.source(), channels, c.x.data(), c.y.data(), plain.data(), count);
        remapColourRow(c.source(), channels, c.x.data(), c.y.data(), target.data(), count);
        ASSERT_TRUE(std::equal(plain.begin(), plain.end(), target.data())) << size;
        ASSERT_TRUE(target.intact());
      }
    }
  });
}

}  // namespace
}  // namespace kel
