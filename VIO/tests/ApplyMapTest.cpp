#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <vector>

#include "VIO/StereoRectifyWrapper.h"
#include "testing/GuardedBuffer.h"

namespace VIO {
namespace {

using rectiline::testing::GuardedBuffer;

constexpr std::uint32_t kWidth = 5, kHeight = 3, kCount = kWidth * kHeight;
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
  constexpr float kInf = std::numeric_limits<float>::infinity();
  const struct {
    float gain;
    std::uint8_t of200, of201;
  } kCases[] = {{1, 200, 201},
                {1.5F, 255, 255},
                {0.5F, 100, 100},
                {0.7475F, 149, 150},
                {-1, 0, 0},
                {1.2749F, 254, 255},
                {kInf, 255, 255},
                {-kInf, 0, 0},
                {1e38F, 255, 255},
                {0, 0, 0},
                {std::numeric_limits<float>::quiet_NaN(), 0, 0}};
  for (const auto& c : kCases) {
    Call call(c.gain);
    ASSERT_EQ(call.run(true), 0);
    EXPECT_EQ(call.source[0][0], c.of201) << c.gain;
    EXPECT_EQ(call.source[1][1], c.of200) << c.gain;
    EXPECT_EQ(call.target[0][kCount - 1], c.of201) << c.gain;
    EXPECT_EQ(call.target[1][0], c.of200) << c.gain;
    EXPECT_TRUE(call.intact());
  }
  Call call(0.5F);
  ASSERT_EQ(call.run(false), 0);
  EXPECT_EQ(call.source[0][0], 201);
  EXPECT_EQ(call.target[0][kCount - 1], 201);
}

enum Functions { Both, WithGains };

struct BadInput {
  const char* name;
  std::function<void(Call&)> spoil;
  int status;
  int written;  // images
  Functions functions = Both;
};

const BadInput kBadInputs[] = {
    {"nothing wrong", [](Call&) {}, 0, 2},
    {"no sources", [](Call& c) { c.noSources = true; }, kNull, 0},
    {"no targets", [](Call& c) { c.noTargets = true; }, kNull, 0},
    {"no targets, no image", [](Call& c) { c.noTargets = true, c.count = 0; }, kNull, 0},
    {"no maps", [](Call& c) { c.map.undistortion = nullptr; }, kNull, 0},
    {"no gain maps", [](Call& c) { c.map.vignettingMaps = nullptr; }, kNull, 0, WithGains},
    {"no image, no camera", [](Call& c) { c.count = c.map.numCameras = 0; }, 0, 0},
    {"no image", [](Call& c) { c.count = 0; }, kNoMatch, 0},
    {"too few images", [](Call& c) { c.count = 1; }, kNoMatch, 0},
    {"too many images", [](Call& c) { c.map.numCameras = 1; }, kNoMatch, 1},
    {"one image", [](Call& c) { c.count = c.map.numCameras = 1; }, 0, 1},
    {"format 1", [](Call& c) { c.targets[0].format = 1; }, kNoMatch, 0},
    {"format 4", [](Call& c) { c.targets[1].format = 4; }, kNoMatch, 1},
    {"format 1, no map", [](Call& c) { c.targets[0].format = 1, c.maps[0].X = nullptr; }, kNoMatch,
     0},
    {"no X", [](Call& c) { c.maps[1].X = nullptr; }, kNull, 1},
    {"no Y, wrong X", [](Call& c) { c.maps[0].Y = nullptr, c.maps[0].X_width = 1; }, kNull, 0},
    {"no source pixels", [](Call& c) { c.sources[1].data = nullptr; }, kNull, 1},
    {"no target pixels", [](Call& c) { c.targets[0].data = nullptr; }, kNull, 0},
    {"no gains", [](Call& c) { c.vignetting[1].scaleFactors = nullptr; }, kNull, 1, WithGains},
    {"X width", [](Call& c) { c.maps[1].X_width = 4; }, kWrongSize, 1},
    {"X height", [](Call& c) { c.maps[0].X_height = 4; }, kWrongSize, 0},
    {"Y width", [](Call& c) { c.maps[1].Y_width = 6; }, kWrongSize, 1},
    {"Y height", [](Call& c) { c.maps[0].Y_height = 2; }, kWrongSize, 0},
    {"target", [](Call& c) { c.targets[0].width = 3, c.targets[0].height = 5; }, kWrongSize, 0},
    {"gain width", [](Call& c) { c.vignetting[1].width = 3; }, kWrongSize, 1, WithGains},
    {"gain height", [](Call& c) { c.vignetting[0].height = 1; }, kWrongSize, 0, WithGains},
    {"empty source", [](Call& c) { c.sources[1].width = c.vignetting[1].width = 0; }, kRefused, 1},
    {"target is source", [](Call& c) { c.targets[0].data = c.sources[0].data; }, kRefused, 0},
    {"target in source", [](Call& c) { c.targets[1].data = c.sources[1].data + 4; }, kRefused, 1},
};

TEST(ApplyMap, StopsAtTheFirstImageThatIsBad) {
  for (const BadInput& input : kBadInputs) {
    for (const bool withGains : {true, false}) {
      if (!withGains && input.functions == WithGains) continue;
      SCOPED_TRACE(input.name);
      Call call(0.5F);
      input.spoil(call);
      EXPECT_EQ(call.run(withGains), input.status);
      EXPECT_EQ(call.isWritten(0), input.written > 0);
      EXPECT_EQ(call.isWritten(1), input.written > 1);
      // Only a refusal of the remap itself comes after the gains.
      const int corrected = withGains ? input.written + (input.status == kRefused) : 0;
      if (input.status != kRefused) {
        EXPECT_EQ(call.source[0][1], corrected > 0 ? 100 : 200);
        EXPECT_EQ(call.source[1][1], corrected > 1 ? 100 : 200);
      }
      EXPECT_TRUE(call.intact());
    }
  }
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

TEST(ApplyMap, AnEmptyTargetIsFilledWithNothing) {
  Call call;
  call.targets[0].height = call.maps[0].X_height = call.maps[0].Y_height = 0;
  EXPECT_EQ(call.run(true), 0);
  EXPECT_FALSE(call.isWritten(0));
  EXPECT_TRUE(call.isWritten(1));
}

}  // namespace
}  // namespace VIO
