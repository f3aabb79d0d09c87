#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "Kel/kelRemapu8.h"
#include "testing/GuardedBuffer.h"
#include "testing/InstructionSets.h"

namespace {

using rectiline::testing::GuardedBuffer;

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr std::uint8_t kUntouched = 0x5C;

struct Shape {
  int width, height, pad, byteOffset;
};

/// The definition: a weighted sum of four neighbours, in double.
double exactValue(const GuardedBuffer<std::uint8_t>& src, const Shape& s, float x, float y) {
  const bool inside = x >= 0 && y >= 0 && double{x} < s.width && double{y} < s.height;
  if (!inside) return 0;
  double sum = 0;
  for (int dy = 0; dy < 2; ++dy) {
    for (int dx = 0; dx < 2; ++dx) {
      const double u = std::floor(double{x}) + dx, v = std::floor(double{y}) + dy;
      const double weight = (1 - std::abs(double{x} - u)) * (1 - std::abs(double{y} - v));
      const int column = std::min(int(u), s.width - 1), row = std::min(int(v), s.height - 1);
      sum += weight * src[row * (s.width + s.pad) + column];
    }
  }
  return sum;
}

float hostileOrNearby(std::mt19937& random, int size) {
  const float width = float(size);
  const float edges[] = {-1,           -0.0F, -1e-38F, 0.5F,  width, std::nextafter(width, 0.0F),
                         width - 1,    kNan,  kInf,    -kInf, 3e38F, -3e9F,
                         width - 0.5F, 2.5e9F};
  if (random() % 4 == 0) return edges[random() % std::size(edges)];
  return std::uniform_real_distribution<float>(-0.25F, width + 0.25F)(random);
}

void checkAgainstExact(const Shape& source, const Shape& target) {
  using Bytes = GuardedBuffer<std::uint8_t>;
  const auto rows = [](const Shape& s, int pixelBytes, std::uint8_t fill, int offset) {
    return Bytes(std::size_t((s.width * pixelBytes + s.pad) * s.height), fill, std::size_t(offset));
  };
  Bytes src = rows(source, 1, 0, source.byteOffset);
  Bytes dst = rows(target, 1, kUntouched, target.byteOffset);
  Bytes mapX = rows(target, 4, 0, target.byteOffset), mapY = rows(target, 4, 0, 1);
  const int dstStride = target.width + target.pad, mapStride = 4 * target.width + target.pad;
  std::mt19937 random(7);
  std::generate_n(src.data(), src.size(), [&] { return std::uint8_t(random()); });
  std::vector<double> exact;
  for (int i = 0; i < target.width * target.height; ++i) {
    const float x = hostileOrNearby(random, source.width);
    const float y = hostileOrNearby(random, source.height);
    const int offset = i / target.width * mapStride + i % target.width * 4;
    std::memcpy(mapX.data() + offset, &x, 4);
    std::memcpy(mapY.data() + offset, &y, 4);
    exact.push_back(exactValue(src, source, x, y));
  }
  rectiline::testing::forEachInstructionSet([&] {
    std::fill_n(dst.data(), dst.size(), kUntouched);
    ASSERT_EQ(0, kelRemapu8(src.data(), source.width, source.height, source.width + source.pad,
                            dst.data(), target.width, target.height, dstStride,
                            reinterpret_cast<const float*>(mapX.data()),
                            reinterpret_cast<const float*>(mapY.data()), mapStride, 1));
    for (int i = 0; i < dstStride * target.height; ++i) {
      const int u = i % dstStride, v = i / dstStride;
      const bool between = u >= target.width;
      const double expected = between ? kUntouched : exact[v * target.width + u];
      const double error = std::abs(expected - dst[i]);
      if (error > (between ? 0 : 0.50005)) FAIL() << u << ", " << v << " is off by " << error;
    }
  });
  EXPECT_TRUE(src.intact() && dst.intact() && mapX.intact() && mapY.intact());
}

// Every other size and instruction set: the vector form of a row gives the plain one's bytes.
TEST(KelRemapu8, IsExactBilinearInterpolationForEverySizeStrideAndAlignment) {
  const Shape shapes[] = {{1, 1, 0, 0},  {1, 9, 3, 1},  {9, 1, 0, 3},   {2, 2, 1, 2},
                          {16, 3, 0, 0}, {17, 4, 5, 1}, {67, 5, 13, 3}, {640, 7, 0, 0}};
  for (const Shape& source : shapes) {
    for (const Shape& target : shapes) {
      SCOPED_TRACE(::testing::Message() << source.width << " -> " << target.width);
      checkAgainstExact(source, target);
    }
  }
}

/// A valid call on 2x2 images; each test case spoils one argument.
struct Call {
  using Bytes = std::vector<std::uint8_t>;
  Bytes source = Bytes(4, 9), target = Bytes(4, 5);
  std::vector<float> ones = std::vector<float>(4, 1.0F);
  const std::uint8_t* src = source.data();
  std::uint8_t* dst = target.data();
  const float *mapX = ones.data(), *mapY = ones.data();
  int srcWidth = 2, srcHeight = 2, dstWidth = 2, dstHeight = 2;
  int srcStride = 2, dstStride = 2, mapStride = 8, interpolation = 1;

  /// Runs; true for success. Expects the destination untouched.
  bool succeedsUntouched() {
    const int result = kelRemapu8(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight,
                                  dstStride, mapX, mapY, mapStride, interpolation);
    EXPECT_EQ(Call().target, target);
    return result == 0;
  }
};

TEST(KelRemapu8, RefusedCallsTouchNothing) {
  const std::pair<int Call::*, int> kNumbers[] = {
      {&Call::srcWidth, 0},     {&Call::srcHeight, 0},  {&Call::srcHeight, -2},
      {&Call::dstWidth, -2},    {&Call::dstHeight, -2}, {&Call::srcStride, 1},
      {&Call::dstStride, -2},   {&Call::mapStride, 7},  {&Call::interpolation, 0},
      {&Call::interpolation, 2}};
  for (const auto& [number, value] : kNumbers) {
    Call call;
    call.*number = value;
    EXPECT_FALSE(call.succeedsUntouched()) << value;
  }
  for (const float* Call::*const map : {&Call::mapX, &Call::mapY}) {
    Call absent, overlapping;
    absent.*map = nullptr;
    overlapping.*map = reinterpret_cast<const float*>(overlapping.dst);
    EXPECT_FALSE(absent.succeedsUntouched() || overlapping.succeedsUntouched());
  }
  Call absent;
  absent.dst = nullptr;
  EXPECT_FALSE(absent.succeedsUntouched());
  for (const int offset : {-1, 0, 3}) {
    Call call;
    call.src = offset < 0 ? nullptr : call.dst + offset;
    EXPECT_FALSE(call.succeedsUntouched()) << offset;
  }
}

TEST(KelRemapu8, EmptyDestinationIsASuccess) {
  for (int Call::*const size : {&Call::dstWidth, &Call::dstHeight}) {
    Call call;
    call.*size = 0;
    EXPECT_TRUE(call.succeedsUntouched());
    call.dst = nullptr;
    EXPECT_TRUE(call.succeedsUntouched());
  }
}

}  // namespace
