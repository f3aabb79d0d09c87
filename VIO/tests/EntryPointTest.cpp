// What every entry point answers to bad input, what it leaves behind and what it logs.

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "EntryCall.h"
#include "testing/LogCapture.h"

namespace VIO {
namespace {

using enum testing::Entry;
using testing::Entry;
using testing::kPixels;
using C = testing::EntryCall&;
using Entries = std::vector<Entry>;
using Lines = std::vector<std::string>;

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr int kNull = -12, kNoMatch = 1999999, kWrongSize = 1999998, kRefused = 1999997;
constexpr std::uint32_t kMax = std::numeric_limits<std::uint32_t>::max();
// Of images that cannot be addressed, or not by all their counts of pixels and bytes.
constexpr std::pair<std::uint32_t, std::uint32_t> kHugeSizes[] = {
    {65536, 65536}, {kMax, kMax}, {1, kMax}, {kMax, 1}, {0x20000000, 1}, {0x10000000, 0x10}};

const Entries kPair = {Rectify, Undistort, FixedPlane}, kApply = {Apply, ApplyGains};

/// Makes the call at two alignments and compares everything; `lines` are the logged ones, or how
/// they begin behind "AR_ASSERT ", in their order.
void expect(const Entries& entries, const char* name, int answer, const std::string& left,
            const Lines& lines, const std::function<void(C)>& spoil) {
  for (const Entry entry : entries) {
    for (const std::size_t offset : {0U, 4U}) {
      SCOPED_TRACE(std::string(name) + ", entry point " + std::to_string(int(entry)));
      testing::EntryCall call(kPixels, offset);
      spoil(call);
      rectiline::testing::LogCapture log;
      EXPECT_EQ(call.run(entry), answer);
      EXPECT_EQ(call.left(entry), left);
      EXPECT_TRUE(call.intact());
      auto logged = log.lines();
      std::erase_if(logged, [](const auto& l) { return l.priority != ANDROID_LOG_ERROR; });
      ASSERT_EQ(logged.size(), lines.size()) << log.text();
      for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_TRUE(logged[i].text.starts_with(": AR_ASSERT " + lines[i] + " ") ||
                    logged[i].text.starts_with(": " + lines[i]))
            << lines[i] << log.text();
      }
      EXPECT_EQ(log.count("anonymous namespace"), 0) << "checks name the entry point" << log.text();
    }
  }
}

constexpr char kDevice[] = "deviceCalibration != nullptr && deviceCalibration->num_cameras == 2";
constexpr char kEyes[] =
    "seeThroughCalibration != nullptr && seeThroughCalibration->num_cameras == 2";
constexpr char kMaps[] =
    "mapLeftX != nullptr && mapLeftY != nullptr && mapRightX != nullptr && mapRightY != nullptr";
constexpr char kSizes[] =
    "mapLeftX_size==map_buffer_size && mapLeftY_size==map_buffer_size && "
    "mapRightX_size==map_buffer_size && mapRightY_size==map_buffer_size";

TEST(EntryPoints, MapsOfAPair) {
  const auto cameras = [](int k) { return [=](C c) { c.record.num_cameras = k; }; };
  const auto size = [](std::size_t i, std::uint32_t n) { return [=](C c) { c.sizes[i] = n; }; };
  expect(kPair, "nothing wrong", 1, "mmmm", {}, [](C) {});
  expect(kPair, "no device", 1, "----", {kDevice}, [](C c) { c.source = nullptr; });
  expect(kPair, "no camera", 1, "----", {kDevice}, cameras(0));
  expect(kPair, "one camera", 1, "----", {kDevice}, cameras(1));
  expect(kPair, "six cameras", 1, "mmmm", {kDevice}, cameras(6));
  expect(kPair, "fewer than none", 1, "----", {kDevice, "ret"}, cameras(-1));
  expect(kPair, "seven cameras", 1, "----", {kDevice, "ret"}, cameras(7));
  expect(kPair, "unknown model", 1, "----", {"ret"}, [](C c) {
    c.record.cameras[1].intrinsics.distortion_model = CamModel::kNumDistortionModels;
  });
  expect(kPair, "no left X", 1, ".-mm", {kMaps}, [](C c) { c.forward[0].X = nullptr; });
  expect(kPair, "no right X", 1, "mm.-", {kMaps}, [](C c) { c.forward[1].X = nullptr; });
  expect(kPair, "no right Y", 1, "mm-.", {kMaps}, [](C c) { c.forward[1].Y = nullptr; });
  expect(kPair, "no map, no device", 1, "---.", {kMaps, kDevice},
         [](C c) { c.forward[1].Y = {}, c.source = nullptr; });
  expect(kPair, "short left X", 1, "--mm", {kSizes}, size(0, kPixels - 1));
  expect(kPair, "short right Y", 1, "mm--", {kSizes}, size(3, 1));
  expect(kPair, "empty right", 1, "mm..", {kSizes}, [](C c) { c.sizes[2] = c.sizes[3] = 0; });
  expect(kPair, "long left", 1, "mmmm", {kSizes}, size(0, kPixels + 9));
  expect(kPair, "short, no device", 1, "----", {kDevice},
         [](C c) { c.sizes[0] = 5, c.sizes[2] += 2, c.source = nullptr; });

  expect({Undistort}, "a larger right camera", 1, "mm--",
         {"mapXY[0].size() == targetSize", "mapXY[1].size() == targetSize"},
         [](C c) { c.record.cameras[1].intrinsics.height *= 2; });
  expect({FixedPlane}, "a larger right eye", 1, "mm--", {kSizes},
         [](C c) { c.other.cameras[1].intrinsics.height *= 2; });
  expect({FixedPlane}, "no eyes", 1, "----", {kEyes}, [](C c) { c.target = nullptr; });
  expect({FixedPlane}, "one eye", 1, "----", {kEyes}, [](C c) { c.other.num_cameras = 1; });
  expect({FixedPlane}, "seven eyes", 1, "----", {kEyes, "ret"},
         [](C c) { c.other.num_cameras = 7; });
  expect({Rectify}, "unterminated name", 1, "mmmm", {},
         [](C c) { std::memset(c.record.cameras[0].name, 'x', sizeof c.camera.name); });
  expect({Rectify}, "centre column unseen", 1, "----", {"0"}, [](C c) {
    IntrinsicCameraCalibrationZEL& in = c.record.cameras[0].intrinsics;
    in.distortion_limit = in.undistortion_limit = 0.2;
  });
  expect({Rectify}, "endless baseline", 1, "----", {"result"}, [](C c) {
    c.record.cameras[1].pose.position = {-3e38, 3e38, 0};
  });
  expect({Rectify}, "no rectified camera", 1, "mmmm", {"rectifiedCam != nullptr"},
         [](C c) { c.rectifiedCam = nullptr; });
  expect({Rectify}, "a rectified camera that is the device's own", 1, "mmmm", {},
         [](C c) { c.rectifiedCam = &c.record.cameras[1]; });
  expect({Rectify}, "no depth constant", 1, "mmmm", {}, [](C c) { c.depthConstant = nullptr; });
}

TEST(EntryPoints, FactorsOfAPair) {
  for (const float factor : {0.0F, -kInf, kNaN}) {
    const std::string number = std::to_string(factor);
    const auto spoil = [=](C c) { c.factor = factor, c.forward[0].X = {}, c.source = nullptr; };
    expect({Undistort}, "factor", 0, "....",
           {kMaps, kDevice, "Invalid undistortion field of view factor " + number}, spoil);
    expect({FixedPlane}, "distance", 0, "....",
           {kMaps, kDevice, "Invalid fixed plane distance " + number}, spoil);
  }
  const char *const kNoFit = "Relative approximation error", *const kNoRange =
                                                                 "AR_ASSERT rangeForApprox";
  const auto factor = [](float value) { return [=](C c) { c.factor = value; }; };
  expect({Undistort}, "no such focal length", 1, "----", {kNoFit, "result", kNoFit, "result"},
         factor(1e-45F));
  expect({Undistort}, "endless focal length", 1, "----",
         {kNoRange, kNoFit, "result", kNoRange, kNoFit, "result"}, factor(kInf));
  expect({FixedPlane}, "no distance", 1, "----", {}, factor(1e-45F));
  expect({FixedPlane}, "great distance", 1, "mmmm", {}, factor(3e38F));
}

TEST(EntryPoints, MapsBetweenDevices) {
  const Entries kMap = {Calibration};
  const std::string kAll = "mmmmmmmm", kNone = "..........";
  const auto expectWrong = [&](const char* name, const std::function<void(C)>& spoil) {
    expect(kMap, name, kWrongSize, kNone, {}, spoil);
  };
  expect(kMap, "nothing wrong", 0, kAll + "gg", {}, [](C) {});
  expect(kMap, "no gains wanted", 0, kAll + "..", {}, [](C c) { c.config.vignetting = false; });
  expect(kMap, "one camera", 0, "mm..mm..gg", {}, [](C c) { c.config.numCameras = 1; });
  expect(kMap, "a target of one row less", 0, "mm??mm??gg", {}, [](C c) {
    c.other.cameras[1].intrinsics.height = c.forward[1].X_height = c.forward[1].Y_height = 47;
  });
  expect(kMap, "nothing there", 0, kNone,
         {"undistortionMap", "undistortionMap", "calibrationMap.vignettingMaps"},
         [](C c) { c.config.numCameras = 0, c.map = {}; });
  expectWrong("bad source", [](C c) { c.record.num_cameras = 7; });
  expectWrong("bad target", [](C c) { c.other.cameras[0].pose.orientation.w = 0; });
  expectWrong("more than the target has", [](C c) { c.config.numCameras = 3; });
  expectWrong("X width", [](C c) { c.forward[1].X_width = 63; });
  expectWrong("X height", [](C c) { c.forward[0].X_height = 1; });
  expectWrong("Y width", [](C c) { c.forward[0].Y_width = 65; });
  expectWrong("Y height", [](C c) { c.forward[1].Y_height = 0; });
  expect(kMap, "no maps", kNull, kNone, {"undistortionMap"},
         [](C c) { c.map.undistortion = nullptr; });
  expect(kMap, "no inverse", 0, "mmmm....gg", {"undistortionMap"},
         [](C c) { c.map.inverse = nullptr; });
  expect(kMap, "no X", 0, "mm.-mmmmgg", {"undistortionMap[cameraIdx].X"},
         [](C c) { c.forward[1].X = nullptr; });
  expect(kMap, "no inverse Y", 0, "mmmm-.mmgg", {"undistortionMap[cameraIdx].Y"},
         [](C c) { c.inverse[0].Y = nullptr; });
  const Lines kSize = {"undistortionMap[cameraIdx] size == target camera size"};
  expect(kMap, "inverse size", 0, "mmmm--mmgg", kSize,
         [](C c) { c.inverse[0].X_width = 32, c.inverse[0].X_height = 96; });
  expect(kMap, "huge inverse", 0, "mmmm..mmgg", kSize,
         [](C c) { c.inverse[0] = {c.inverse[0].X, 65536, 65537, c.inverse[0].Y, kMax, kMax}; });
  const char* const kIndex = "index<current_size";
  expect(kMap, "source lacks a camera", 0, "mm--mm--g.", {kIndex, kIndex, kIndex},
         [](C c) { c.record.num_cameras = 1; });
  expect(kMap, "no gain maps", 0, kAll + "..", {"calibrationMap.vignettingMaps"},
         [](C c) { c.map.vignettingMaps = nullptr; });
  expect(kMap, "no gains", 0, kAll + ".g",
         {"calibrationMap.vignettingMaps[cameraIdx].scaleFactors"},
         [](C c) { c.gains[0].scaleFactors = nullptr; });
  const Lines kGainSize = {"calibrationMap.vignettingMaps[cameraIdx] size == source camera size"};
  expect(kMap, "gain size", 0, kAll + "g.", kGainSize, [](C c) { c.gains[1].width = 1; });
  expect(kMap, "huge gains", 0, kAll + ".g", kGainSize,
         [](C c) { c.gains[0].width = c.gains[0].height = kMax; });
}

TEST(EntryPoints, RigsWithoutIntrinsics) {
  auto empty = testing::emptyRig();
  empty.setupEmptyCalibrationWithDefaultIds(2);
  testing::EntryCall call;
  const rectiline::testing::LogCapture log;
  CreateUndistortMap(empty, testing::rigOf(call.record), call.config, call.forward);
  CreateVignettingMap(empty, empty, true, call.map);
  EXPECT_EQ(call.left(Calibration), "----......");
  EXPECT_EQ(log.count("AR_ASSERT isInitialized() VIO/src/StereoRectifyWrapper("), 6) << log.text();
  EXPECT_EQ(log.failedChecks(), 6) << log.text();
}

TEST(EntryPoints, LinearCalibrations) {
  static constexpr std::int32_t kNoSize[] = {64, 48, 0, 48};
  static constexpr float kNoFocal[] = {50, 50, 32, 24, 0, 50, 32, 24};
  const Lines kInvalid = {"Cannot initialize camera from invalid intrinsics"};
  expect({Linear}, "nothing wrong", 0, "w", {}, [](C) {});
  expect({Linear}, "no source", 0, ".", {}, [](C c) { c.source = nullptr; });
  expect({Linear}, "no target", 0, ".", {}, [](C c) { c.linearTarget = nullptr; });
  expect({Linear}, "unknown model", 0, ".", {}, [](C c) {
    c.record.cameras[1].intrinsics.distortion_model = CamModel::kNumDistortionModels;
  });
  expect({Linear}, "no row at the bottom has a ray", 0, ".", kInvalid, [](C c) {
    IntrinsicCameraCalibrationZEL& in = c.record.cameras[1].intrinsics;
    in.distortion_limit = in.undistortion_limit = 0.4;
  });
  expect({Linear}, "no size", 0, ".", kInvalid, [](C c) { c.wish = {kNoSize, nullptr, 2}; });
  expect({Linear}, "no focal length", 0, ".", kInvalid, [](C c) {
    c.wish = {nullptr, kNoFocal, 2};
  });
}

TEST(EntryPoints, MapsAppliedToImages) {
  const Entries kGains = {ApplyGains};
  const auto expectWrong = [](const char* name, const char* left,
                              const std::function<void(C)>& spoil, const Entries& entries) {
    expect(entries, name, kWrongSize, left, {}, spoil);
  };
  expect(kApply, "nothing wrong", 0, "ww", {}, [](C) {});
  expect(kApply, "no sources", kNull, "..", {}, [](C c) { c.images = nullptr; });
  expect(kApply, "no targets", kNull, "..", {}, [](C c) { c.imagesOut = nullptr, c.count = 0; });
  expect(kApply, "no maps", kNull, "..", {}, [](C c) { c.map.undistortion = nullptr; });
  expect({Apply}, "no gain maps", 0, "ww", {}, [](C c) { c.map.vignettingMaps = nullptr; });
  expect(kGains, "no gain maps", kNull, "..", {}, [](C c) { c.map.vignettingMaps = nullptr; });
  expect(kApply, "nothing to do", 0, "..", {}, [](C c) { c.count = c.map.numCameras = 0; });
  expect(kApply, "too few images", kNoMatch, "..", {}, [](C c) { c.count = 1; });
  expect(kApply, "too many images", kNoMatch, "w.", {}, [](C c) { c.map.numCameras = 1; });
  expect(kApply, "format 1", kNoMatch, "..", {}, [](C c) { c.targetImages[0].format = 1; });
  expect(kApply, "format 4", kNoMatch, "w.", {}, [](C c) { c.targetImages[1].format = 4; });
  expect(kApply, "format before X", kNoMatch, "..", {},
         [](C c) { c.targetImages[0].format = 2, c.forward[0].X = nullptr; });
  expect(kApply, "no X", kNull, "w.", {}, [](C c) { c.forward[1].X = nullptr; });
  expect(kApply, "no Y before sizes", kNull, "..", {},
         [](C c) { c.forward[0].Y = nullptr, c.forward[0].X_width = 1; });
  expect(kApply, "no source", kNull, "w.", {}, [](C c) { c.sourceImages[1].data = nullptr; });
  expect(kApply, "no target", kNull, "..", {}, [](C c) { c.targetImages[0].data = nullptr; });
  expect(kGains, "no gains", kNull, "w.", {}, [](C c) { c.gains[1].scaleFactors = nullptr; });
  expectWrong(
      "X width", "w.", [](C c) { c.forward[1].X_width = 63; }, kApply);
  expectWrong(
      "X height", "..", [](C c) { c.forward[0].X_height = 49; }, kApply);
  expectWrong(
      "Y width", "w.", [](C c) { c.forward[1].Y_width = 65; }, kApply);
  expectWrong(
      "Y height", "..", [](C c) { c.forward[0].Y_height = 47; }, kApply);
  expectWrong(
      "target width", "..", [](C c) { c.targetImages[0].width = 3; }, kApply);
  expectWrong(
      "gain width", "w.", [](C c) { c.gains[1].width = 48; }, kGains);
  expectWrong(
      "gain height", "..", [](C c) { c.gains[0].height = 1; }, kGains);
  for (const auto& [w, h] : kHugeSizes) {
    const auto target = [width = w, height = h](C c) {
      c.forward[0] = {c.forward[0].X, width, height, c.forward[0].Y, width, height};
      c.targetImages[0] = {c.targetImages[0].data, width, height, 0};
    };
    const auto source = [width = w, height = h](C c) {
      c.sourceImages[0] = {c.sourceImages[0].data, width, height, 0};
      c.gains[0] = {c.gains[0].scaleFactors, width, height};
    };
    expectWrong("huge target", "..", target, kApply);
    expectWrong("huge source", "..", source, kApply);
  }
  expect(kApply, "empty source", kRefused, "w.", {},
         [](C c) { c.sourceImages[1].width = c.gains[1].width = 0; });
  const auto overlap = [](C c) { c.targetImages[1].data = c.sourceImages[1].data + 4; };
  expect({Apply}, "overlap", kRefused, "w.", {}, overlap);
  expect(kGains, "overlap", kRefused, "wc", {}, overlap);
}

}  // namespace
}  // namespace VIO
