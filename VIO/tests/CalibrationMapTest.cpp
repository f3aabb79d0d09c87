#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "PairCall.h"
#include "TestModels.h"
#include "VIO/StereoRectify.h"

namespace VIO {
namespace {

using testing::content;
using testing::device;
using testing::GuardedBuffer;
using testing::kPixels;
using testing::LogCapture;
using testing::ModelCase;
using Rig = AR::CV::FullStereoCameraCalibration<float>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// The maps of two cameras both ways and their gains, of one size, in guarded buffers.
struct Maps {
  explicit Maps(std::uint32_t width = testing::kWidth, std::uint32_t height = testing::kHeight) {
    for (int i = 0; i < 8; ++i) floats.emplace_back(std::size_t{width} * height, -7.0F, 4);
    for (int i = 0; i < 2; ++i) gains.emplace_back(std::size_t{width} * height, -7.0F, 4);
    for (int i = 0; i < 4; ++i) planes.emplace_back(std::size_t{width} * height);
    for (std::size_t i = 0; i < 2; ++i) {
      const auto data = [&](std::size_t k) { return floats[4 * i + k].data(); };
      forward[i] = {data(0), width, height, data(1), width, height};
      inverse[i] = {data(2), width, height, data(3), width, height};
      vignetting[i] = {gains[i].data(), width, height};
      const auto plane = [&](std::size_t k) {
        return ReasonPlane{planes[2 * i + k].data(), width * height};
      };
      forwardReasons[i] = plane(0);
      inverseReasons[i] = plane(1);
    }
  }

  /// Of each camera forward X, Y, inverse X, Y.
  [[nodiscard]] std::string contents() const {
    std::string all;
    for (std::size_t i = 0; i < 8; ++i) all += content(floats[i], i % 2 == 0);
    return all;
  }
  [[nodiscard]] std::string gainContents() const {
    std::string all;
    for (const auto& g : gains) all += g[0] == -7 ? '.' : g[0] > 0 ? 'g' : '?';
    return all;
  }
  [[nodiscard]] bool intact() const {
    bool ok = true;
    for (const auto& values : floats) ok &= values.intact();
    for (const auto& values : gains) ok &= values.intact();
    for (const auto& plane : planes) ok &= plane.intact();
    return ok;
  }

  std::vector<GuardedBuffer<float>> floats, gains;
  std::vector<GuardedBuffer<std::uint8_t>> planes;
  UndistortionMap forward[2], inverse[2];
  VignettingMap vignetting[2];
  ReasonPlane forwardReasons[2], inverseReasons[2];
  CalibrationMap map{forward, inverse, vignetting, 2};
};

struct Call : Maps {
  int run(bool withReasons) {
    return withReasons ? CreateCalibrationMapWithReasons(source, target, config, map,
                                                         forwardReasons, inverseReasons)
                       : CreateCalibrationMap(source, target, config, map);
  }

  DeviceCalibrationZEL source = device(), target = device();
  CalibrationMapConfig config{0, true, nullptr, 2};
};

constexpr char kMap[] = "undistortionMap ";
constexpr char kX[] = "undistortionMap[cameraIdx].X ";
constexpr char kY[] = "undistortionMap[cameraIdx].Y ";
constexpr char kSize[] = "undistortionMap[cameraIdx] size == target camera size ";
constexpr char kGains[] = "calibrationMap.vignettingMaps ";
constexpr char kFactors[] = "calibrationMap.vignettingMaps[cameraIdx].scaleFactors ";
constexpr char kGainSize[] = "calibrationMap.vignettingMaps[cameraIdx] size == source camera size ";

struct BadInput {
  const char* name;
  std::function<void(Call&)> spoil;
  int status;
  std::vector<const char*> checks;
  const char* maps = "........";
  const char* gains = "..";
};

std::vector<BadInput> badInputs() {
  static constexpr char kAll[] = "mmmmmmmm";
  constexpr std::uint32_t kHuge = 65536;
  const int wrong = 1999998;
  return {
      {"nothing wrong", [](Call&) {}, 0, {}, kAll, "gg"},
      {"no gains wanted", [](Call& c) { c.config.vignetting = false; }, 0, {}, kAll},
      {"one camera", [](Call& c) { c.config.numCameras = 1; }, 0, {}, "mmmm....", "gg"},
      {"no camera", [](Call& c) { c.config.numCameras = 0; }, 0, {}, "........", "gg"},
      {"nothing there",
       [](Call& c) { c.config.numCameras = 0, c.map = {}; },
       0,
       {kMap, kMap, kGains}},
      {"one gain map", [](Call& c) { c.map.numCameras = 1; }, 0, {}, kAll, "g."},
      {"bad source", [](Call& c) { c.source.num_cameras = 7; }, wrong, {}},
      {"bad target", [](Call& c) { c.target.cameras[0].pose.orientation.w = 0; }, wrong, {}},
      {"bad target, no map",
       [](Call& c) { c.target.num_cameras = -1, c.map.undistortion = nullptr; },
       wrong,
       {}},
      {"more than the target has", [](Call& c) { c.config.numCameras = 3; }, wrong, {}},
      {"255 cameras", [](Call& c) { c.config.numCameras = 255; }, wrong, {}},
      {"no maps", [](Call& c) { c.map.undistortion = nullptr; }, -12, {kMap}},
      {"X width", [](Call& c) { c.forward[1].X_width = 63; }, wrong, {}},
      {"X height", [](Call& c) { c.forward[0].X_height = 1; }, wrong, {}},
      {"Y width", [](Call& c) { c.forward[0].Y_width = 65; }, wrong, {}},
      {"Y height", [](Call& c) { c.forward[1].Y_height = 0; }, wrong, {}},
      {"no inverse", [](Call& c) { c.map.inverse = nullptr; }, 0, {kMap}, "mm..mm..", "gg"},
      {"no X", [](Call& c) { c.forward[1].X = nullptr; }, 0, {kX}, "mmmm.-mm", "gg"},
      {"no Y", [](Call& c) { c.inverse[0].Y = nullptr; }, 0, {kY}, "mm-.mmmm", "gg"},
      {"inverse width",
       [](Call& c) { c.inverse[0].X_width = 32, c.inverse[0].X_height = 96; },
       0,
       {kSize},
       "mm--mmmm",
       "gg"},
      {"inverse height",
       [](Call& c) { c.inverse[1].X_height = c.inverse[1].Y_height = 0; },
       0,
       {kSize},
       "mmmmmm..",
       "gg"},
      {"huge inverse",
       [](Call& c) {
         c.inverse[0] = {c.inverse[0].X, kHuge, kHuge, c.inverse[0].Y, UINT32_MAX, UINT32_MAX};
       },
       0,
       {kSize},
       "mm..mmmm",
       "gg"},
      {"source lacks a camera",
       [](Call& c) { c.source.num_cameras = 1; },
       0,
       {"index<current_size ", "index<current_size ", "index<current_size "},
       "mmmm----",
       "g."},
      {"no gain maps", [](Call& c) { c.map.vignettingMaps = nullptr; }, 0, {kGains}, kAll},
      {"no gains",
       [](Call& c) { c.vignetting[0].scaleFactors = nullptr; },
       0,
       {kFactors},
       kAll,
       ".g"},
      {"gain width", [](Call& c) { c.vignetting[1].width = 1; }, 0, {kGainSize}, kAll, "g."},
      {"huge gains",
       [](Call& c) { c.vignetting[0].width = c.vignetting[0].height = UINT32_MAX; },
       0,
       {kGainSize},
       kAll,
       ".g"},
      {"NaN rotations",
       [](Call& c) {
         static constexpr float kNaNs[] = {kNaN, 0, 0, 1e38F, 0, 0};
         c.config.rotations = kNaNs;
       },
       0,
       {},
       "--------",
       "gg"},
  };
}

TEST(CalibrationMap, GoesOnSafelyFromEveryBadInput) {
  for (const BadInput& input : badInputs()) {
    for (const bool withReasons : {false, true}) {
      SCOPED_TRACE(input.name);
      Call call;
      input.spoil(call);
      LogCapture log;
      EXPECT_EQ(call.run(withReasons), input.status);
      EXPECT_EQ(call.contents(), input.maps);
      EXPECT_EQ(call.gainContents(), input.gains);
      EXPECT_TRUE(call.intact());
      std::size_t position = 0;
      for (const char* check : input.checks) {
        position = log.text().find("AR_ASSERT " + std::string(check), position);
        ASSERT_NE(position, std::string::npos) << check << log.text();
        ++position;
      }
      EXPECT_EQ(log.failedChecks(), input.checks.size()) << log.text();
    }
  }
}

TEST(CalibrationMap, RigsThatLackACameraGetNone) {
  const Rig one = testing::rigOf(device(1)), two = testing::rigOf(device());
  Rig empty = testing::emptyRig();
  empty.setupEmptyCalibrationWithDefaultIds(2);
  const CalibrationMapConfig config{0, true, nullptr, 2};
  const struct {
    const Rig &source, &target;
    const char *maps, *gains, *check;
    int times;
  } kCases[] = {{two, two, "mm..mm..", "gg", "AR_ASSERT", 0},
                {one, two, "mm..--..", "g.", "index<current_size", 1},
                {two, one, "mm..--..", "g.", "index<current_size", 1},
                {empty, two, "--..--..", "..", "AR_ASSERT isInitialized() VIO/src/StereoRect", 2}};
  for (const auto& c : kCases) {
    Maps maps;
    LogCapture log;
    CreateUndistortMap(c.source, c.target, config, maps.forward);
    EXPECT_EQ(maps.contents(), c.maps);
    EXPECT_EQ(log.count(c.check), c.times) << log.text();
    CreateVignettingMap(c.source, c.target, false, maps.map);
    EXPECT_EQ(maps.gainContents(), "..");
    CreateVignettingMap(c.source, c.target, true, maps.map);
    EXPECT_EQ(maps.gainContents(), c.gains);
    EXPECT_EQ(log.count(c.check), 2 * c.times) << log.text();
    CreateUndistortMap(c.source, c.target, config, nullptr);
    EXPECT_EQ(log.count(std::string("AR_ASSERT ") + kMap + "VIO/src/StereoRectifyWrapper("), 1);
    EXPECT_TRUE(maps.intact());
  }
}

TEST(CalibrationMap, RotationsTurnTheTargetFrameIntoTheSourceFrame) {
  const float rotations[] = {0, 0, 0, 0, 0, 0.3F};
  for (const std::uint32_t keepOutside : {0U, 1U}) {
    Call call;
    call.target.cameras[1].intrinsics.focal_length_x = 25;
    call.source.cameras[1].pose.orientation = {1, 0, 0, 0};  // poses do not enter
    call.config = {keepOutside, true, rotations, 2};
    ASSERT_EQ(call.run(false), 0);
    EXPECT_EQ(call.contents().substr(0, 4), "mmmm");
    // Ideal (0.2, 0) turned by 0.3 about z, forward and, as written, also back.
    const std::size_t row = 24 * testing::kWidth;
    EXPECT_NEAR(call.floats[4][row + 37], 32 + 50 * 0.2 * std::cos(0.3), 1e-3);
    EXPECT_NEAR(call.floats[5][row + 37], 24 + 50 * 0.2 * std::sin(0.3), 1e-3);
    EXPECT_NEAR(call.floats[6][row + 42], 32 + 25 * 0.2 * std::cos(0.3), 1e-3);
    EXPECT_NEAR(call.floats[7][row + 42], 24 + 50 * 0.2 * std::sin(0.3), 1e-3);
    EXPECT_EQ(call.floats[4][row] == -1, keepOutside == 0);
  }
}

/// A map of 320 x 240 between its pixels; false where one of the four has no source.
bool tryLookUp(const Maps& maps, std::size_t first, float x, float y, double* result) {
  const float x0 = std::floor(x), y0 = std::floor(y);
  if (!(x0 >= 0 && x0 < 319 && y0 >= 0 && y0 < 239)) return false;
  const std::size_t i = static_cast<std::size_t>(y0) * 320 + static_cast<std::size_t>(x0);
  const double a = static_cast<double>(x - x0), b = static_cast<double>(y - y0);
  for (std::size_t axis = 0; axis < 2; ++axis) {
    const GuardedBuffer<float>& m = maps.floats[first + axis];
    double corners[4];
    const std::size_t at[] = {i, i + 1, i + 320, i + 321};
    for (std::size_t k = 0; k < 4; ++k) {
      if (m[at[k]] == -1) return false;
      corners[k] = static_cast<double>(m[at[k]]);
    }
    result[axis] = (1 - b) * ((1 - a) * corners[0] + a * corners[1]) +
                   b * ((1 - a) * corners[2] + a * corners[3]);
  }
  return true;
}

TEST(CalibrationMap, ThereAndBackWithTheOppositeRotationIsTheSamePixel) {
  const float there[] = {0.05F, -0.1F, 0.2F};
  const float back[] = {-0.05F, 0.1F, -0.2F};
  DeviceCalibrationZEL linear = device(testing::kModels[0], 160);
  for (const ModelCase& c : testing::kModels) {
    SCOPED_TRACE(c.name);
    const Rig source = testing::rigOf(device(c)), target = testing::rigOf(linear);
    Maps maps(320, 240);
    CreateUndistortMap(source, target, {0, false, there, 1}, maps.forward);
    CreateUndistortMap(target, source, {0, false, back, 1}, maps.inverse);
    const double bound =
        std::max(0.02, 2 * testing::tableError(source.at(0).getIntrinsics()) * 204);
    int tested = 0;
    double worst = 0;
    for (std::size_t i = 0; i < 320 * 240; ++i) {
      double pixel[2];
      if (!tryLookUp(maps, 2, maps.floats[0][i], maps.floats[1][i], pixel)) continue;
      worst = std::max({worst, std::fabs(pixel[0] - static_cast<double>(i % 320)),
                        std::fabs(pixel[1] - static_cast<double>(i / 320))});
      ++tested;
    }
    std::printf("%s: %.4f px there and back\n", c.name, worst);
    EXPECT_LT(worst, bound);
    EXPECT_GT(tested, 30000);
  }
}

}  // namespace
}  // namespace VIO
