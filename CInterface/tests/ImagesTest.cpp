// Images through the C interface: remap, gains.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "Errors.h"
#include "Kel/kelRemapu8.h"
#include "VIO/Gains.h"
#include "rectiline/rectiline.h"
#include "testing/GuardedBuffer.h"

namespace {

using rectiline::capi::testing::expectOk;
template <typename T>
using Guarded = rectiline::testing::GuardedBuffer<T>;

constexpr int kWidth = 61, kHeight = 43;  // of the source
constexpr int kMapWidth = 37, kMapHeight = 29;

/// A plane of floats whose rows are padded.
struct FloatPlane {
  FloatPlane() : values(kStride * kMapHeight) {}
  float& operator()(int x, int y) { return values[static_cast<std::size_t>(y) * kStride + x]; }
  static constexpr std::size_t kStride = kMapWidth + 3;
  std::vector<float> values;
};

/// A turned, scaled view of the source, with positions outside and values that are none.
struct Warp {
  FloatPlane x, y;

  Warp() {
    constexpr float kHostile[] = {-1,
                                  -0.25F,
                                  -0.0F,
                                  kWidth - 1,
                                  kWidth - 0.5F,
                                  kWidth,
                                  1e9F,
                                  -1e9F,
                                  std::numeric_limits<float>::infinity(),
                                  std::numeric_limits<float>::quiet_NaN()};
    for (int v = 0; v < kMapHeight; ++v) {
      for (int u = 0; u < kMapWidth; ++u) {
        const float du = static_cast<float>(u), dv = static_cast<float>(v);
        x(u, v) = -4.3F + 1.9F * du - 0.2F * dv;
        y(u, v) = 2.1F + 0.15F * du + 1.55F * dv;
      }
      x(v % kMapWidth, v) = kHostile[v % std::size(kHostile)];
      if (v % 3 == 0) y((v + 5) % kMapWidth, v) = kHostile[(v + 1) % std::size(kHostile)];
    }
  }

  rectiline_map map() {
    rectiline_map map{};
    map.struct_size = sizeof map;
    map.width = kMapWidth;
    map.height = kMapHeight;
    map.x = x.values.data();
    map.y = y.values.data();
    map.stride = FloatPlane::kStride * sizeof(float);
    return map;
  }
};

rectiline_image imageOf(rectiline_format format, int width, int height, void* data,
                        std::size_t stride) {
  rectiline_image image{};
  image.struct_size = sizeof image;
  image.format = format;
  image.width = width;
  image.height = height;
  image.data = data;
  image.stride = stride;
  return image;
}

std::vector<std::uint8_t> noise(std::size_t count) {
  std::mt19937 random(11);
  std::vector<std::uint8_t> bytes(count);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return bytes;
}

/// What the 8-bit remap makes of every channel alone: the bytes that are expected.
std::vector<std::uint8_t> expectedChannels(const std::vector<std::uint8_t>& source, int channels,
                                           std::size_t stride, Warp& warp) {
  std::vector<std::uint8_t> expected(static_cast<std::size_t>(kMapWidth * kMapHeight * channels));
  std::vector<std::uint8_t> plane(kWidth * kHeight), mapped(kMapWidth * kMapHeight);
  for (int c = 0; c < channels; ++c) {
    for (int i = 0; i < kWidth * kHeight; ++i) {
      plane[i] =
          source[static_cast<std::size_t>(i / kWidth) * stride + (i % kWidth) * channels + c];
    }
    EXPECT_EQ(kelRemapu8(plane.data(), kWidth, kHeight, kWidth, mapped.data(), kMapWidth,
                         kMapHeight, kMapWidth, warp.x.values.data(), warp.y.values.data(),
                         FloatPlane::kStride * sizeof(float), 1),
              0);
    for (std::size_t i = 0; i < mapped.size(); ++i) expected[i * channels + c] = mapped[i];
  }
  return expected;
}

TEST(ImagesTest, EveryChannelIsRemappedAsAnImageOfItsOwn) {
  Warp warp;
  const rectiline_map map = warp.map();
  for (const auto& [format, channels] :
       {std::pair(RECTILINE_GREY8, 1), {RECTILINE_RGB8, 3}, {RECTILINE_RGBA8, 4}}) {
    SCOPED_TRACE(format);
    const std::size_t stride = kWidth * channels + 5;
    std::vector<std::uint8_t> source = noise(stride * kHeight);
    const auto expected = expectedChannels(source, channels, stride, warp);
    for (const std::size_t gap : {0U, 7U}) {
      const std::size_t row = static_cast<std::size_t>(kMapWidth * channels);
      Guarded<std::uint8_t> target((row + gap) * (kMapHeight - 1) + row, 0xC7);
      const rectiline_image from = imageOf(format, kWidth, kHeight, source.data(), stride);
      const rectiline_image to =
          imageOf(format, kMapWidth, kMapHeight, target.data(), gap == 0 ? 0 : row + gap);
      expectOk(rectiline_remap(&from, &map, &to));
      for (std::size_t i = 0; i < target.size(); ++i) {
        const std::size_t y = i / (row + gap), x = i % (row + gap);
        const int wanted = x < row ? expected[y * row + x] : 0xC7;
        ASSERT_EQ(target[i], wanted) << "byte " << x << " of row " << y;
      }
      EXPECT_TRUE(target.intact());
    }
  }
}

TEST(ImagesTest, SixteenBitsAreInterpolatedToHalfALevel) {
  Warp warp;
  const rectiline_map map = warp.map();
  const std::vector<std::uint8_t> bytes = noise(kWidth * kHeight * 2);
  std::vector<std::uint16_t> source(kWidth * kHeight), target(kMapWidth * kMapHeight);
  std::memcpy(source.data(), bytes.data(), bytes.size());
  const rectiline_image from = imageOf(RECTILINE_GREY16, kWidth, kHeight, source.data(), 0);
  const rectiline_image to = imageOf(RECTILINE_GREY16, kMapWidth, kMapHeight, target.data(), 0);
  expectOk(rectiline_remap(&from, &map, &to));
  int inside = 0;
  for (int v = 0; v < kMapHeight; ++v) {
    for (int u = 0; u < kMapWidth; ++u) {
      const double x = warp.x(u, v), y = warp.y(u, v);
      double exact = 0;
      if (x >= 0 && x < kWidth && y >= 0 && y < kHeight) {
        const int x0 = static_cast<int>(x), y0 = static_cast<int>(y);
        const auto at = [&](int i, int j) {
          return source[std::min(j, kHeight - 1) * kWidth + std::min(i, kWidth - 1)];
        };
        const double s = x - x0, t = y - y0;
        exact = (1 - t) * ((1 - s) * at(x0, y0) + s * at(x0 + 1, y0)) +
                t * ((1 - s) * at(x0, y0 + 1) + s * at(x0 + 1, y0 + 1));
        ++inside;
      }
      // Half a level to the nearest, and what single precision leaves of values up to 65535.
      ASSERT_NEAR(target[v * kMapWidth + u], exact, 0.52) << u << ", " << v;
    }
  }
  EXPECT_GT(inside, 300);
}

TEST(ImagesTest, ATargetMayLieBesideItsSourceInOneBuffer) {
  Warp warp;
  const rectiline_map map = warp.map();
  constexpr std::size_t kStride = kWidth + kMapWidth;
  std::vector<std::uint8_t> alone = noise(kWidth * kHeight), both(kStride * kHeight);
  for (int y = 0; y < kHeight; ++y) std::copy_n(&alone[y * kWidth], kWidth, &both[y * kStride]);
  std::vector<std::uint8_t> expected(kMapWidth * kMapHeight);
  const rectiline_image from = imageOf(RECTILINE_GREY8, kWidth, kHeight, alone.data(), 0);
  const rectiline_image to = imageOf(RECTILINE_GREY8, kMapWidth, kMapHeight, expected.data(), 0);
  const rectiline_image left = imageOf(RECTILINE_GREY8, kWidth, kHeight, both.data(), kStride);
  const rectiline_image right =
      imageOf(RECTILINE_GREY8, kMapWidth, kMapHeight, both.data() + kWidth, kStride);
  expectOk(rectiline_remap(&from, &map, &to));
  expectOk(rectiline_remap(&left, &map, &right));
  for (const int off : {-1, 1}) {
    const rectiline_image meeting =
        imageOf(RECTILINE_GREY8, kMapWidth, kMapHeight, both.data() + kWidth + off, kStride);
    EXPECT_EQ(rectiline_remap(&left, &map, &meeting), RECTILINE_BAD_ARGUMENT);
  }
  for (int y = 0; y < kMapHeight; ++y) {
    EXPECT_TRUE(std::equal(&expected[y * kMapWidth], &expected[y * kMapWidth] + kMapWidth,
                           &both[y * kStride + kWidth]));
    EXPECT_TRUE(std::equal(&alone[y * kWidth], &alone[y * kWidth] + kWidth, &both[y * kStride]));
  }
}

/// Corrects an image of T and compares every channel with the gain times its value.
template <typename T>
void checkCorrection(rectiline_format format, int channels) {
  constexpr float kGains[] = {0, 0.3F, 1, 1.7F, 3000, -2, std::numeric_limits<float>::quiet_NaN()};
  const std::size_t row = static_cast<std::size_t>(kWidth * channels), stride = row + 2;
  Guarded<T> pixels(stride * kHeight, T{77});
  std::vector<float> gains((kWidth + 1) * kHeight);
  for (std::size_t i = 0; i < gains.size(); ++i) gains[i] = kGains[i % std::size(kGains)];
  const rectiline_image image = imageOf(format, kWidth, kHeight, pixels.data(), stride * sizeof(T));
  expectOk(rectiline_correct(&image, gains.data(), (kWidth + 1) * sizeof(float)));
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const std::size_t y = i / stride, x = i % stride;
    double wanted = 77;  // between the rows
    if (x < row) {
      const float gain = gains[y * (kWidth + 1) + x / channels];
      const double exact = gain > 0 ? std::floor(static_cast<double>(gain * 77)) : 0.0;
      wanted = std::min<double>(exact, std::numeric_limits<T>::max());
    }
    ASSERT_EQ(pixels[i], wanted) << "value " << x << " of row " << y;
  }
  EXPECT_TRUE(pixels.intact());
}

TEST(ImagesTest, AllChannelsOfAPixelShareItsGain) {
  checkCorrection<std::uint8_t>(RECTILINE_GREY8, 1);
  checkCorrection<std::uint8_t>(RECTILINE_RGB8, 3);
  checkCorrection<std::uint8_t>(RECTILINE_RGBA8, 4);
  checkCorrection<std::uint16_t>(RECTILINE_GREY16, 1);
}

TEST(ImagesTest, VignettingGainsAreThoseOfTheSensorsCentre) {
  Guarded<float> gains(650 * 479 + 640, -7);
  expectOk(rectiline_vignetting_gains(640, 480, gains.data(), 650 * sizeof(float)));
  EXPECT_TRUE(gains.intact());
  EXPECT_EQ(gains[240 * 650 + 320], 1);
  EXPECT_EQ(gains[640], -7) << "the gap between rows";
  for (const std::size_t i : {0U, 1U, 100U, 300U}) {
    EXPECT_GT(gains[240 * 650 + i], 1) << "towards the border gains rise";
    EXPECT_EQ(gains[(240 - i % 240) * 650 + 320], gains[(240 + i % 240) * 650 + 320]);
  }
}

}  // namespace
