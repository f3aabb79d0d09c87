// Images through the C interface: remap, gains.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "OwnMap.h"
#include "rectiline/rectiline.h"
#include "testing/GuardedBuffer.h"

namespace {

using namespace rectiline::capi::testing;
template <typename T>
using Guarded = rectiline::testing::GuardedBuffer<T>;

constexpr int kWidth = 61, kHeight = 43;  // of the source
constexpr int kMapWidth = 37, kMapHeight = 29;
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// A turned, scaled view of the source, with positions outside and values that are none.
struct Warp : OwnMap {
  Warp() : OwnMap(kMapWidth, kMapHeight) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kHostile[] = {-1,     -0.25F, -0.0F, kWidth - 1, kWidth - 0.5F,
                                  kWidth, 1e9F,   -1e9F, kInfinity,  kNaN};
    for (int v = 0; v < kMapHeight; ++v) {
      for (int u = 0; u < kMapWidth; ++u) {
        const float du = static_cast<float>(u), dv = static_cast<float>(v);
        set(u, v, -4.3F + 1.9F * du - 0.2F * dv, 2.1F + 0.15F * du + 1.55F * dv);
      }
      x[index(v % kMapWidth, v)] = kHostile[v % std::size(kHostile)];
      if (v % 3 == 0) y[index((v + 5) % kMapWidth, v)] = kHostile[(v + 1) % std::size(kHostile)];
    }
  }
};

/// An image in guarded memory, `gap` values between its rows.
template <typename T>
struct OwnImage {
  OwnImage(rectiline_format format, int channels, int width, int height, int gap)
      : row(static_cast<std::size_t>(width * channels)),
        stride(row + static_cast<std::size_t>(gap)),
        values(stride * static_cast<std::size_t>(height - 1) + row, T{77}),
        image{sizeof image, format,        width,
              height,       values.data(), gap == 0 ? 0 : stride * sizeof(T)} {}
  void fillWithNoise() {
    std::mt19937 random(11);
    std::generate_n(values.data(), values.size(), [&] { return static_cast<T>(random()); });
  }

  std::size_t row, stride;  // values
  Guarded<T> values;
  rectiline_image image;
};

/// What a position has, by the definition. Beyond the last centres the image goes on as there.
template <typename T>
double bilinear(const OwnImage<T>& source, int channels, int channel, double x, double y) {
  if (!(x >= 0 && x < kWidth && y >= 0 && y < kHeight)) return 0;
  const int x0 = static_cast<int>(x), y0 = static_cast<int>(y);
  const auto at = [&](int i, int j) {
    const int column = std::min(i, kWidth - 1) * channels + channel;
    return source.values[std::min(j, kHeight - 1) * source.stride + column];
  };
  return std::lerp(std::lerp(at(x0, y0), at(x0 + 1, y0), x - x0),
                   std::lerp(at(x0, y0 + 1), at(x0 + 1, y0 + 1), x - x0), y - y0);
}

template <typename T>
void checkRemap(rectiline_format format, int channels) {
  const Warp warp;
  OwnImage<T> source(format, channels, kWidth, kHeight, 5);
  source.fillWithNoise();
  // Half a level to the nearest, and what single precision leaves.
  const double tolerance = 0.5 + 3e-7 * std::numeric_limits<T>::max();
  for (const int gap : {0, 7}) {
    OwnImage<T> target(format, channels, kMapWidth, kMapHeight, gap);
    expectOk(rectiline_remap(&source.image, &warp.map, &target.image));
    for (std::size_t i = 0; i < target.values.size(); ++i) {
      const int x = static_cast<int>(i % target.stride), y = static_cast<int>(i / target.stride);
      if (i % target.stride >= target.row) {
        ASSERT_EQ(target.values[i], 77) << "behind row " << y;
        continue;
      }
      const std::size_t at = warp.index(x / channels, y);
      const double exact = bilinear(source, channels, x % channels, warp.x[at], warp.y[at]);
      ASSERT_NEAR(target.values[i], exact, tolerance) << "value " << x << " of row " << y;
    }
    EXPECT_TRUE(target.values.intact());
  }
}

/// Corrects an image of T and compares every channel with the gain times its value.
template <typename T>
void checkCorrection(rectiline_format format, int channels) {
  constexpr float kGains[] = {0, 0.3F, 1, 1.7F, 3000, -2, kNaN};
  OwnImage<T> pixels(format, channels, kWidth, kHeight, 2);
  std::vector<float> gains((kWidth + 1) * kHeight);
  for (std::size_t i = 0; i < gains.size(); ++i) gains[i] = kGains[i % std::size(kGains)];
  expectOk(rectiline_correct(&pixels.image, gains.data(), (kWidth + 1) * sizeof(float)));
  for (std::size_t i = 0; i < pixels.values.size(); ++i) {
    const std::size_t y = i / pixels.stride, x = i % pixels.stride;
    double wanted = 77;  // between the rows
    if (x < pixels.row) {
      const float gain = gains[y * (kWidth + 1) + x / static_cast<std::size_t>(channels)];
      const double exact = gain > 0 ? std::floor(static_cast<double>(gain * 77)) : 0.0;
      wanted = std::min<double>(exact, std::numeric_limits<T>::max());
    }
    ASSERT_EQ(pixels.values[i], wanted) << "value " << x << " of row " << y;
  }
  EXPECT_TRUE(pixels.values.intact());
}

TEST(ImagesTest, EveryFormatIsRemappedAndCorrectedChannelByChannel) {
  for (const auto& [format, channels] :
       {std::pair(RECTILINE_GREY8, 1), {RECTILINE_RGB8, 3}, {RECTILINE_RGBA8, 4}}) {
    SCOPED_TRACE(format);
    checkRemap<std::uint8_t>(format, channels);
    checkCorrection<std::uint8_t>(format, channels);
  }
  SCOPED_TRACE("16 bits");
  checkRemap<std::uint16_t>(RECTILINE_GREY16, 1);
  checkCorrection<std::uint16_t>(RECTILINE_GREY16, 1);
}

TEST(ImagesTest, ATargetMayLieBesideItsSourceInOneBuffer) {
  const Warp warp;
  OwnImage<std::uint8_t> both(RECTILINE_GREY8, 1, kWidth + kMapWidth, kHeight, 0);
  OwnImage<std::uint8_t> expected(RECTILINE_GREY8, 1, kMapWidth, kMapHeight, 0);
  both.fillWithNoise();
  const auto from = [&](int column, int width, int height) {
    return rectiline_image{sizeof(rectiline_image),     RECTILINE_GREY8, width, height,
                           both.values.data() + column, both.stride};
  };
  const rectiline_image left = from(0, kWidth, kHeight);
  const rectiline_image right = from(kWidth, kMapWidth, kMapHeight);
  expectOk(rectiline_remap(&left, &warp.map, &expected.image));
  for (const int meeting : {kWidth - 1, kWidth + 1}) {
    const rectiline_image target = from(meeting, kMapWidth, kMapHeight);
    expectBadArgument(rectiline_remap(&left, &warp.map, &target), "target.data");
  }
  expectOk(rectiline_remap(&left, &warp.map, &right));
  for (std::size_t i = 0; i < expected.values.size(); ++i) {
    const std::size_t y = i / kMapWidth, x = kWidth + i % kMapWidth;
    ASSERT_EQ(both.values[y * both.stride + x], expected.values[i]) << x << ", " << y;
  }
}

TEST(ImagesTest, VignettingGainsAreThoseOfTheSensorsCentre) {
  Guarded<float> gains(650 * 479 + 640, -7);
  expectOk(rectiline_vignetting_gains(640, 480, gains.data(), 650 * sizeof(float)));
  EXPECT_TRUE(gains.intact());
  EXPECT_EQ(gains[240 * 650 + 320], 1);
  EXPECT_EQ(gains[640], -7) << "the gap between rows";
  for (const std::size_t i : {1U, 100U, 239U}) {
    EXPECT_GT(gains[240 * 650 + i], 1) << "towards the border gains rise";
    EXPECT_EQ(gains[(240 - i) * 650 + 320], gains[(240 + i) * 650 + 320]);
  }
}

}  // namespace
