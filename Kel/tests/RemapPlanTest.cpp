#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "Kel/RemapPlan.h"
#include "plan/Apply.h"
#include "plan/Arithmetic.h"
#include "plan/PlanCompiler.h"
#include "plan/Positions.h"
#include "testing/GuardPages.h"
#include "testing/GuardedBuffer.h"
#include "testing/InstructionSets.h"

namespace kel {
namespace {

using rectiline::testing::GuardedBuffer;
using rectiline::testing::GuardPages;
using Bytes = std::vector<std::uint8_t>;

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

/// Positions about the image's centre: (x, y) = [xx xy; yx yy] (u, v) + shift, in pixels.
struct Warp {
  const char* name;
  float xx, xy, yx, yy, shift;
  int hostileShare;  // one pixel in so many is no position, or anywhere; 0: none
};

constexpr Warp kWarps[] = {{"copy", 1, 0, 0, 1, 0, 0},
                           {"shift by parts", 0.97F, 0, 0, 0.97F, 0.3F, 0},
                           {"slight turn across the border", 1.05F, -0.06F, 0.06F, 1.05F, 5.6F, 50},
                           {"mirrored", -1, 0, 0, 1, 0.25F, 0},
                           {"quarter turn", 0, -1, 1, 0, 0.75F, 0},
                           {"half turn", -1, 0.02F, -0.02F, -1, 0.5F, 0},
                           {"three quarter turn, mirrored", 0.03F, 1.02F, 1.02F, 0, 0.2F, 90},
                           {"half the size", 2.1F, 0.2F, 0.1F, 2, 0.5F, 0},
                           {"an eighth of the size", 8, 1, 1, 8, 0.5F, 0},
                           {"eighth turn", 0.7F, -0.7F, 0.7F, 0.7F, 0.5F, 7},
                           {"far outside", 1, 0, 0, 1, -500, 0},
                           {"hostile", 1, 0, 0, 1, 0, 1}};

float hostile(std::minstd_rand& random, int size) {
  const float s = static_cast<float>(size);
  const float values[] = {kNan,  -kNan, kInf, -kInf, -0.0F,   -1e-40F, -0.5F,
                          -1,    s,     3e9F, -3e9F, 3.4e38F, 8388608, std::nextafter(s, 0.0F),
                          s - 1, 1e-40F};
  if (random() % 2 == 0) return values[random() % std::size(values)];
  return static_cast<float>(random() % 4096) / 4096 * s;
}

struct Maps {
  Maps(const Warp& warp, int sourceWidth, int sourceHeight, int w, int h)
      : width(w), height(h), x(static_cast<std::size_t>(w * h)), y(x.size()) {
    std::minstd_rand random(static_cast<unsigned>(w * 100 + h + sourceWidth));
    for (int i = 0; i < w * h; ++i) {
      const float du = static_cast<float>(i % w) - static_cast<float>(w) / 2;
      const float dv = static_cast<float>(i / w) - static_cast<float>(h) / 2;
      x[i] = static_cast<float>(sourceWidth) / 2 + warp.xx * du + warp.xy * dv + warp.shift;
      y[i] = static_cast<float>(sourceHeight) / 2 + warp.yx * du + warp.yy * dv + warp.shift;
      if (warp.hostileShare == 0 || random() % warp.hostileShare != 0) continue;
      if (random() % 2 == 0) x[i] = hostile(random, sourceWidth);
      if (random() % 2 == 0) y[i] = hostile(random, sourceHeight);
    }
  }

  [[nodiscard]] ConstMap view() const {
    return {x.data(), y.data(), width, height, static_cast<std::ptrdiff_t>(width * sizeof(float))};
  }

  int width, height;
  std::vector<float> x, y;
};

/// A source that may be read where it has pixels and nowhere else before, after or behind them.
struct Source {
  Source(PixelFormat format, int width, int height, int gap)
      : channels(format == PixelFormat::Rgb8    ? 3
                 : format == PixelFormat::Rgba8 ? 4
                                                : 1),
        layout{format, width, height, width * channels + gap, {7, 8, 9, 10}},
        memory(static_cast<std::size_t>(layout.stride * (height - 1) + width * channels)) {
    std::generate_n(memory.data(), memory.size(), std::mt19937(5));
  }

  [[nodiscard]] int at(int x, int y, int channel) const {
    return memory.data()[std::min(y, layout.height - 1) * layout.stride +
                         std::min(x, layout.width - 1) * channels + channel];
  }

  /// Interpolated in double; the border outside.
  [[nodiscard]] double exact(float x, float y, int channel) const {
    if (!(x >= 0 && y >= 0 && double{x} < layout.width && double{y} < layout.height)) {
      return layout.border[channel];
    }
    const int u = static_cast<int>(x), v = static_cast<int>(y);
    const double s = double{x} - u, t = double{y} - v;
    return (1 - t) * ((1 - s) * at(u, v, channel) + s * at(u + 1, v, channel)) +
           t * ((1 - s) * at(u, v + 1, channel) + s * at(u + 1, v + 1, channel));
  }

  int channels;
  PlanLayout layout;
  GuardPages memory;
};

/// Gains of the source that rise from its left upper corner on, some of them hostile.
struct SomeGains {
  explicit SomeGains(const PlanLayout& layout)
      : values(static_cast<std::size_t>(layout.width * layout.height)),
        view{values.data(), static_cast<std::ptrdiff_t>(layout.width * sizeof(float))} {
    constexpr float kHostile[] = {kNan, kInf, -kInf, -3, 1e-30F, 1e30F, 0, 255};
    for (std::size_t i = 0; i < values.size(); ++i) {
      values[i] = i % 7 == 3 ? kHostile[i % 8] : 0.5F + 0.01F * static_cast<float>(i % 200);
    }
  }

  std::vector<float> values;
  SourceGains view;
};

Bytes plainResult(const Maps& maps, const Source& source, const SourceGains& gains) {
  const auto content = plan::compile(maps.view(), source.layout, gains);
  const int row = maps.width * source.channels;
  Bytes result(static_cast<std::size_t>(row * maps.height));
  plan::applyRowsPlain(*content, {source.memory.data(), result.data(), row}, 0, content->blockRows);
  return result;
}

void expectWithinOneLevel(const Bytes& result, const Maps& maps, const Source& source) {
  for (std::size_t i = 0; i < result.size(); ++i) {
    const std::size_t pixel = i / static_cast<std::size_t>(source.channels);
    const double exact =
        source.exact(maps.x[pixel], maps.y[pixel], static_cast<int>(i) % source.channels);
    ASSERT_LE(std::abs(std::floor(exact + 0.5) - result[i]), 1)
        << exact << " at (" << maps.x[pixel] << ", " << maps.y[pixel] << ")";
  }
}

void check(const Warp& warp, const Source& source, int width, int height, bool withGains) {
  const Maps maps(warp, source.layout.width, source.layout.height, width, height);
  const SomeGains someGains(source.layout);
  const SourceGains gains = withGains ? someGains.view : SourceGains{};
  const Bytes plain = plainResult(maps, source, gains);
  if (!withGains) {
    ASSERT_NO_FATAL_FAILURE(expectWithinOneLevel(plain, maps, source));
  }
  const std::size_t row = static_cast<std::size_t>(width * source.channels), stride = row + 3;
  rectiline::testing::forEachInstructionSet([&] {
    const auto plan = RemapPlan::make(maps.view(), source.layout, gains);
    GuardedBuffer<std::uint8_t> target(stride * static_cast<std::size_t>(height - 1) + row, 0xEE,
                                       static_cast<std::size_t>(height % 5));
    plan->apply(source.memory.data(), target.data(), static_cast<std::ptrdiff_t>(stride));
    for (std::size_t i = 0; i < target.size(); ++i) {
      const std::size_t x = i % stride, y = i / stride;
      const int expected = x < row ? plain[y * row + x] : 0xEE;
      ASSERT_EQ(target[i], expected) << "byte " << x << " of row " << y;
    }
    ASSERT_TRUE(target.intact());
  });
}

constexpr PixelFormat kFormats[] = {PixelFormat::Grey8, PixelFormat::Rgb8, PixelFormat::Rgba8};

class EveryWarp : public ::testing::TestWithParam<Warp> {};
INSTANTIATE_TEST_SUITE_P(RemapPlan, EveryWarp, ::testing::ValuesIn(kWarps),
                         [](const auto& warp) { return "Warp" + std::to_string(warp.index); });

TEST_P(EveryWarp, EqualsThePlainFormWithinOneLevelForSmallSizes) {
  SCOPED_TRACE(GetParam().name);
  for (const PixelFormat format : kFormats) {
    for (int size = 0; size < 21 * 5; ++size) {
      const Source source(format, 1 + size % 21, 1 + size / 21, size % 4);
      for (const auto& [width, height] : {std::pair(1, 1), {5, 19}, {15, 2}, {16, 17}, {37, 3}}) {
        SCOPED_TRACE(::testing::Message() << source.layout.width << " x " << source.layout.height
                                          << " to " << width << " x " << height);
        ASSERT_NO_FATAL_FAILURE(check(GetParam(), source, width, height, size % 2 == 1));
      }
    }
  }
}

TEST_P(EveryWarp, EqualsThePlainFormWithinOneLevelForImages) {
  SCOPED_TRACE(GetParam().name);
  for (const PixelFormat format : kFormats) {
    const Source source(format, 203, 150, 5);
    for (const bool withGains : {false, true}) {
      check(GetParam(), source, 201, 141, withGains);
      check(GetParam(), source, 523, 70, withGains);
    }
  }
}

TEST(RemapPlan, DecidesPositionsAsThePlainFormForEveryInstructionSet) {
  rectiline::testing::forEachInstructionSet([] {
    std::minstd_rand random(3);
    for (int i = 0; i < 20000; ++i) {
      const plan::Extent source{1 + i % 40, 1 + i % 37};
      float x[plan::kGroup], y[plan::kGroup];
      for (int k = 0; k < plan::kGroup; ++k) {
        x[k] = hostile(random, source.width);
        y[k] = hostile(random, source.height);
      }
      plan::Positions plain{}, found{};
      plan::findGroupPlain(x, y, source, i % 16, plain);
      plan::findGroup(x, y, source, i % 16, found);
      ASSERT_EQ(std::memcmp(&plain, &found, sizeof plain), 0);
    }
  });
}

TEST(RemapPlan, RowsMayLieFartherApartThanSixteenBitsReach) {
  for (const PixelFormat format : kFormats) {
    const Source source(format, 40, 40, 70000);
    for (const int warp : {1, 4, 9}) check(kWarps[warp], source, 37, 50, warp == 4);
  }
}

TEST(RemapPlan, LargeImagesInBandsEqualThePlainForm) {
  const Source source(PixelFormat::Grey8, 640, 480, 0);
  for (const int warp : {1, 4}) check(kWarps[warp], source, 1003, 701, warp == 1);
}

TEST(RemapPlan, WideImagesInSeveralBlocksEqualThePlainForm) {
  const Source source(PixelFormat::Grey8, 640, 480, 0);
  check(kWarps[1], source, 8201, 18, false);
  check(kWarps[4], source, 2100, 35, false);
}

}  // namespace
}  // namespace kel
