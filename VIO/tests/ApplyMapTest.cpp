#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <vector>

#include "VIO/Gains.h"
#include "VIO/StereoRectifyWrapper.h"
#include "testing/GuardedBuffer.h"
#include "testing/InstructionSets.h"

namespace VIO {
namespace {

using rectiline::testing::GuardedBuffer;

constexpr std::uint32_t kWidth = 5, kHeight = 3, kCount = kWidth * kHeight;
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr int kNull = -12, kNoMatch = 1999999, kWrongSize = 1999998, kRefused = 1999997;

/// Two cameras whose maps turn the image by half a turn, in guarded buffers at odd addresses.
struct Call {
  explicit Call(float gain = 1) {
    for (int i = 0; i < 2; ++i) {
      source.emplace_back(kCount, std::uint8_t{200}, 1);
      target.emplace_back(kCount, std::uint8_t{7}, 3);
      for (auto* values : {&X, &Y, &gains}) values->emplace_back(kCount, gain, 4);
    }
    for (std::size_t i = 0; i < 2; ++i) {
      for (std::uint32_t k = 0; k < kCount; ++k) {
        X[i].data()[k] = static_cast<float>(kWidth - 1 - k % kWidth);
        Y[i].data()[k] = static_cast<float>(kHeight - 1 - k / kWidth);
      }
      source[i].data()[0] = 201;
      sources[i] = {source[i].data(), kWidth, kHeight, 0};
      targets[i] = {target[i].data(), kWidth, kHeight, 8};
      maps[i] = {X[i].data(), kWidth, kHeight, Y[i].data(), kWidth, kHeight};
      vignetting[i] = {gains[i].data(), kWidth, kHeight};
    }
  }

  int run(bool withGains) {
    const auto apply = withGains ? ApplyCalibrationMap : ApplyUndistortionMap;
    return apply(noSources ? nullptr : sources, count, map, noTargets ? nullptr : targets);
  }
  [[nodiscard]] bool intact() const {
    bool ok = true;
    for (const auto* images : {&source, &target}) {
      for (const auto& image : *images) ok &= image.intact();
    }
    for (const auto* floats : {&X, &Y, &gains}) {
      for (const auto& values : *floats) ok &= values.intact();
    }
    return ok;
  }
  [[nodiscard]] bool isWritten(std::size_t i) const { return target[i][kCount - 1] != 7; }

  std::vector<GuardedBuffer<std::uint8_t>> source, target;
  std::vector<GuardedBuffer<float>> X, Y, gains;
  Image sources[2], targets[2];
  UndistortionMap maps[2];
  VignettingMap vignetting[2];
  CalibrationMap map{maps, nullptr, vignetting, 2};
  unsigned count = 2;
  bool noSources = false, noTargets = false;
};

TEST(ApplyMap, GainsAreClampedAndCutInTheSource) {
  const auto expect = [](float gain, int of200, int of201) {
    Call call(gain);
    ASSERT_EQ(call.run(true), 0);
    EXPECT_EQ(call.source[0][0], of201) << gain;
    EXPECT_EQ(call.source[1][1], of200) << gain;
    EXPECT_EQ(call.target[0][kCount - 1], of201) << gain;
    EXPECT_EQ(call.target[1][0], of200) << gain;
    EXPECT_TRUE(call.intact());
  };
  expect(1, 200, 201);
  expect(1.5F, 255, 255);
  expect(0.5F, 100, 100);
  expect(0.7475F, 149, 150);
  expect(1.2749F, 254, 255);
  expect(0, 0, 0);
  expect(-1, 0, 0);
  expect(1e38F, 255, 255);
  expect(kInf, 255, 255);
  expect(-kInf, 0, 0);
  expect(kNaN, 0, 0);
  Call call(0.5F);
  ASSERT_EQ(call.run(false), 0);
  EXPECT_EQ(call.source[0][0], 201);
  EXPECT_EQ(call.target[0][kCount - 1], 201);
}

/// Every pixel value with every gain, in rows of every length up to four AVX-512 groups.
TEST(ApplyMap, GainsAreThoseOfThePlainFormUnderEveryInstructionSet) {
  const float gains[] = {0,     -0.0F, 1,     1.0039216F, 0.7475F, 1.2749F, 1e-40F, -1e-40F,
                         1e38F, kInf,  -kInf, -0.5F,      255,     kNaN,    -kNaN};
  rectiline::testing::forEachInstructionSet([&] {
    for (std::size_t i = 0; i < 256 * std::size(gains); ++i) {
      const std::size_t count = i % 65;
      GuardedBuffer<std::uint8_t> plain(count), pixels(count, 0, i % 3);
      GuardedBuffer<float> row(count, 0, 4);
      for (std::size_t k = 0; k < count; ++k) {
        plain.data()[k] = pixels.data()[k] = static_cast<std::uint8_t>(i + k);
        row.data()[k] = gains[(i / 256 + k) % std::size(gains)];
      }
      applyGainsScalar(plain.data(), row.data(), count);
      applyGains(pixels.data(), row.data(), count);
      for (std::size_t k = 0; k < count; ++k) {
        ASSERT_EQ(plain[k], pixels[k]) << int(i + k) % 256 << " * " << row[k];
      }
      ASSERT_TRUE(pixels.intact());
    }
  });
}

enum Functions { Both, WithGains };

/// Applies gains of 0.5 and expects `status` after `written` images.
void expectStop(const char* name, int status, int written, const std::function<void(Call&)>& spoil,
                Functions functions = Both) {
  SCOPED_TRACE(name);
  for (const bool withGains : {true, false}) {
    if (!withGains && functions == WithGains) continue;
    Call call(0.5F);
    spoil(call);
    EXPECT_EQ(call.run(withGains), status);
    EXPECT_EQ(call.isWritten(0) + call.isWritten(1), written);
    EXPECT_EQ(call.isWritten(1), written > 1);
    EXPECT_TRUE(call.intact());
    if (status == kRefused) continue;  // by the remap itself, after the gains
    EXPECT_EQ(call.source[0][1], withGains && written > 0 ? 100 : 200);
    EXPECT_EQ(call.source[1][1], withGains && written > 1 ? 100 : 200);
  }
}

TEST(ApplyMap, StopsAtTheFirstImageThatIsBad) {
  expectStop("nothing wrong", 0, 2, [](auto&) {});
  expectStop("no sources", kNull, 0, [](auto& c) { c.noSources = true; });
  expectStop("no targets", kNull, 0, [](auto& c) { c.noTargets = true, c.count = 0; });
  expectStop("no maps", kNull, 0, [](auto& c) { c.map.undistortion = nullptr; });
  expectStop(
      "no gain maps", kNull, 0, [](auto& c) { c.map.vignettingMaps = nullptr; }, WithGains);
  expectStop("nothing to do", 0, 0, [](auto& c) { c.count = c.map.numCameras = 0; });
  expectStop("no image", kNoMatch, 0, [](auto& c) { c.count = 0; });
  expectStop("too few images", kNoMatch, 0, [](auto& c) { c.count = 1; });
  expectStop("too many images", kNoMatch, 1, [](auto& c) { c.map.numCameras = 1; });
  expectStop("one image", 0, 1, [](auto& c) { c.count = c.map.numCameras = 1; });
  expectStop("format 1", kNoMatch, 0, [](auto& c) { c.targets[0].format = 1; });
  expectStop("format 4", kNoMatch, 1, [](auto& c) { c.targets[1].format = 4; });
  expectStop("format, X", kNoMatch, 0, [](auto& c) { c.targets[0].format = 2, c.maps[0].X = {}; });
  expectStop("no X", kNull, 1, [](auto& c) { c.maps[1].X = nullptr; });
  expectStop("Y, size", kNull, 0, [](auto& c) { c.maps[0].Y = nullptr, c.maps[0].X_width = 1; });
  expectStop("no source pixels", kNull, 1, [](auto& c) { c.sources[1].data = nullptr; });
  expectStop("no target pixels", kNull, 0, [](auto& c) { c.targets[0].data = nullptr; });
  expectStop(
      "no gains", kNull, 1, [](auto& c) { c.vignetting[1].scaleFactors = {}; }, WithGains);
  expectStop("X width", kWrongSize, 1, [](auto& c) { c.maps[1].X_width = 4; });
  expectStop("X height", kWrongSize, 0, [](auto& c) { c.maps[0].X_height = 4; });
  expectStop("Y width", kWrongSize, 1, [](auto& c) { c.maps[1].Y_width = 6; });
  expectStop("Y height", kWrongSize, 0, [](auto& c) { c.maps[0].Y_height = 2; });
  expectStop("target", kWrongSize, 0, [](auto& c) { c.targets[0].width = 3; });
  expectStop(
      "gains on their side", kWrongSize, 1,
      [](auto& c) { c.vignetting[1].width = kHeight, c.vignetting[1].height = kWidth; }, WithGains);
  expectStop(
      "gain height", kWrongSize, 0, [](auto& c) { c.vignetting[0].height = 1; }, WithGains);
  expectStop("empty source", kRefused, 1,
             [](auto& c) { c.sources[1].width = c.vignetting[1].width = 0; });
  expectStop("in place", kRefused, 0, [](auto& c) { c.targets[0].data = c.sources[0].data; });
  expectStop("overlap", kRefused, 1, [](auto& c) { c.targets[1].data = c.sources[1].data + 4; });
}

TEST(ApplyMap, SizesBeyondAddressingTouchNothing) {
  constexpr std::uint32_t kMax = std::numeric_limits<std::uint32_t>::max();
  const std::pair<std::uint32_t, std::uint32_t> kSizes[] = {
      {65536, 65536}, {kMax, kMax}, {1, kMax}, {kMax, 1}, {0x20000000, 1}, {0x10000000, 0x10}};
  for (const auto& [width, height] : kSizes) {
    for (const bool withGains : {true, false}) {
      Call call;
      call.maps[0] = {call.X[0].data(), width, height, call.Y[0].data(), width, height};
      call.targets[0] = {call.target[0].data(), width, height, 0};
      EXPECT_EQ(call.run(withGains), kWrongSize) << width << "x" << height;
      Call source;
      source.sources[0] = {source.source[0].data(), width, height, 0};
      source.vignetting[0] = {source.gains[0].data(), width, height};
      EXPECT_EQ(source.run(withGains), kWrongSize) << width << "x" << height;
      EXPECT_TRUE(call.intact() && source.intact());
    }
  }
}

}  // namespace
}  // namespace VIO
