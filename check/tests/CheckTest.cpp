#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <stdexcept>
#include <utility>

#include "Scene.h"
#include "rectiline_check/Check.h"

namespace rectiline::check {
namespace {

using testing::renderImage;
using Device = DeviceCalibrationZEL;

constexpr int kRadial2 = 1;
constexpr int kFisheye4 = 5;
constexpr double kDegree = 3.14159265358979 / 180;

CameraCalibrationZEL makeCamera(double cx, double cy, double f, double k0, double k1) {
  CameraCalibrationZEL camera{};
  IntrinsicCameraCalibrationZEL& in = camera.intrinsics;
  in.width = 376;
  in.height = 240;
  in.principal_point_x = cx;
  in.principal_point_y = cy;
  in.focal_length_x = in.focal_length_y = f;
  in.distortion_model = kRadial2;
  in.distortion[0] = k0;
  in.distortion[1] = k1;
  camera.pose.orientation.w = 1;
  return camera;
}

/// A right rig, its first camera the reference, with a relative turn of about two degrees.
Device rightRig() {
  Device device{};
  device.num_cameras = 2;
  device.cameras[0] = makeCamera(183, 124, 230, -0.28, 0.07);
  device.cameras[1] = makeCamera(190, 117, 234, -0.29, 0.08);
  device.cameras[1].pose = {rotationOf(0.025, -0.02, 0.015), {-0.12, 0.003, -0.002}};
  return device;
}

/// A rig and what its cameras really saw.
struct Scenario {
  explicit Scenario(const Device& rig) : device(rig) {
    left = renderImage(rig.cameras[0], rig.cameras[0].pose);
    right = renderImage(rig.cameras[1], rig.cameras[1].pose);
  }
  [[nodiscard]] PairImages images() const {
    const auto& l = device.cameras[0].intrinsics;
    const auto& r = device.cameras[1].intrinsics;
    return {{left.data(), l.width, l.height, 0}, {right.data(), r.width, r.height, 0}};
  }
  [[nodiscard]] CheckResult check(const Device& claimed) const {
    const PairImages pair = images();
    return checkPairs(claimed, {}, {&pair, 1});
  }

  Device device;
  std::vector<std::uint8_t> left;
  std::vector<std::uint8_t> right;
};

const Scenario& rightScenario() {
  static const Scenario scenario(rightRig());
  return scenario;
}

XrPosedZEL_t& rightPose(Device& device) { return device.cameras[1].pose; }

/// The rig in another reference frame.
Device seenFrom(Device device, const XrPosedZEL_t& T_ref_other) {
  for (int i = 0; i < 2; ++i) {
    device.cameras[i].pose = compose(device.cameras[i].pose, T_ref_other);
  }
  return device;
}

const XrPosedZEL_t kImuFrame{rotationOf(0.2, -0.3, 1.5), {0.05, -0.02, 0.03}};

void setDistortion(Device& device, int model, double scale) {
  for (int i = 0; i < 2; ++i) {
    IntrinsicCameraCalibrationZEL& in = device.cameras[i].intrinsics;
    in.distortion_model = model;
    for (double& k : in.distortion) k *= scale;
  }
}

struct Mistake {
  const char* name;
  Verdict verdict;
  std::function<void(Device&)> make;
};

TEST(CheckPairs, NamesEachMistake) {
  const Mistake mistakes[] = {
      {"none", Verdict::Ok, [](Device&) {}},
      {"another reference", Verdict::Ok, [](Device& d) { d = seenFrom(d, kImuFrame); }},
      {"cameras", Verdict::SwappedCameras,
       [](Device& d) { std::swap(d.cameras[0], d.cameras[1]); }},
      {"intrinsics", Verdict::SwappedCameras,
       [](Device& d) { std::swap(d.cameras[0].intrinsics, d.cameras[1].intrinsics); }},
      {"relative pose", Verdict::InvertedPoses,
       [](Device& d) { rightPose(d) = inverse(rightPose(d)); }},
      {"each pose", Verdict::InvertedPoses,
       [](Device& d) {
         d = seenFrom(d, kImuFrame);
         for (int i = 0; i < 2; ++i) d.cameras[i].pose = inverse(d.cameras[i].pose);
       }},
      {"rotation", Verdict::TransposedRotation,
       [](Device& d) { rightPose(d).orientation = inverse(rightPose(d).orientation); }},
      {"each rotation", Verdict::TransposedRotation,
       [](Device& d) {
         d = seenFrom(d, kImuFrame);
         for (int i = 0; i < 2; ++i) {
           d.cameras[i].pose.orientation = inverse(d.cameras[i].pose.orientation);
         }
       }},
      {"translation", Verdict::NegatedTranslation,
       [](Device& d) {
         PositionZEL& t = rightPose(d).position;
         t = {-t.x, -t.y, -t.z};
       }},
      {"no distortion", Verdict::WrongDistortion, [](Device& d) { setDistortion(d, kRadial2, 0); }},
      {"fisheye", Verdict::WrongDistortion, [](Device& d) { setDistortion(d, kFisheye4, 1); }},
  };
  for (const Mistake& mistake : mistakes) {
    SCOPED_TRACE(mistake.name);
    Device device = rightRig();
    mistake.make(device);
    const CheckResult result = rightScenario().check(device);
    EXPECT_STREQ(verdictText(result.verdict), verdictText(mistake.verdict));
    EXPECT_GE(result.matches, 60);
    const bool ok = mistake.verdict == Verdict::Ok;
    EXPECT_LT(ok ? result.rowErrorMedian : result.rowErrorMedianUndone, 0.2);
    EXPECT_EQ(result.rowErrorMedian < 0.2 && result.positiveDisparities > 0.9, ok);
  }
}

TEST(CheckPairs, NamesSwappedAndRepeatedImages) {
  const Scenario& scenario = rightScenario();
  const PairImages right = scenario.images();
  const PairImages swapped{right.right, right.left};
  const CheckResult result = checkPairs(rightRig(), {}, {&swapped, 1});
  EXPECT_STREQ(verdictText(result.verdict), "swapped-images");
  EXPECT_EQ(result.alternatives, std::vector{Verdict::SwappedCameras});

  const CheckOptions rightFirst{.leftCamera = 1, .rightCamera = 0};
  EXPECT_STREQ(verdictText(checkPairs(rightRig(), rightFirst, {&swapped, 1}).verdict), "ok");

  std::vector<std::uint8_t> again = scenario.left;
  for (std::size_t i = 0; i < again.size(); i += 2) again[i] ^= 1;  // as if compressed once more
  PairImages same = right;
  same.right.data = again.data();
  EXPECT_STREQ(verdictText(checkPairs(rightRig(), {}, {&same, 1}).verdict), "same-image");
}

TEST(CheckPairs, MeasuresTheTurnOfTheRightCamera) {
  // Small, and so far that points must be searched off their rows. The rectified axes differ from
  // the camera's by the rig's own two degrees.
  for (const double degrees : {0.4, -5.0}) {
    for (int axis = 0; axis < 3; ++axis) {
      if (axis == 1 && degrees < 0) continue;  // hardly moves rows
      SCOPED_TRACE(::testing::Message() << degrees << " degrees about axis " << axis);
      double w[3] = {};
      w[axis] = degrees * kDegree;
      Device device = rightRig();
      rightPose(device) = compose({rotationOf(w[0], w[1], w[2]), {0, 0, 0}}, rightPose(device));
      const CheckResult result = rightScenario().check(device);
      EXPECT_STREQ(verdictText(result.verdict), "inaccurate");
      EXPECT_GE(result.matches, 60);
      const double tolerance = 0.03 * std::fabs(degrees);
      EXPECT_NEAR(result.turnDegrees[axis], degrees, tolerance + 4 * result.turnSigma[axis]);
    }
  }
}

TEST(CheckPairs, MeasuresColumnsOfAVerticalPair) {
  Device device = rightRig();
  const XrPosedZEL_t quarter{rotationOf(0, 0, 90 * kDegree), {0, 0, 0}};
  for (int i = 0; i < 2; ++i) device.cameras[i].pose = compose(quarter, device.cameras[i].pose);
  const Scenario scenario(device);
  const CheckResult result = scenario.check(device);
  EXPECT_STREQ(verdictText(result.verdict), "ok");
  EXPECT_EQ(result.rectification.axis, 1);
  for (const Match& m : result.pairs.at(0)) {
    EXPECT_DOUBLE_EQ(m.rowError, m.left.x - m.right.x);
  }
  rightPose(device) = compose({rotationOf(0, 0.5 * kDegree, 0), {0, 0, 0}}, rightPose(device));
  EXPECT_NEAR(scenario.check(device).turnDegrees[1], 0.5, 0.03);
}

TEST(CheckPairs, JudgesWideLensesToo) {
  Device device = rightRig();
  for (int i = 0; i < 2; ++i) {
    IntrinsicCameraCalibrationZEL& in = device.cameras[i].intrinsics;
    in.focal_length_x = in.focal_length_y = 140;
  }
  setDistortion(device, kFisheye4, 0.05);
  const Scenario scenario(device);
  const CheckResult result = scenario.check(device);
  EXPECT_STREQ(verdictText(result.verdict), "ok");
  EXPECT_EQ(result.rectification.left.projection, RECTILINE_LATITUDE_LONGITUDE);
  rightPose(device) = compose({rotationOf(0.5 * kDegree, 0, 0), {0, 0, 0}}, rightPose(device));
  EXPECT_NEAR(scenario.check(device).turnDegrees[0], 0.5, 0.03);
}

TEST(CheckPairs, TakesPairsThatAreInMemoryOneAtATime) {
  const PairImages pair = rightScenario().images();
  std::vector<std::uint8_t> left;
  std::vector<std::uint8_t> right;
  const PairSource one{3, [&](std::size_t i) {
                         std::fill(left.begin(), left.end(), std::uint8_t{0});
                         left = i == 1 ? rightScenario().right : rightScenario().left;
                         right = i == 1 ? rightScenario().left : rightScenario().right;
                         return PairImages{{left.data(), pair.left.width, pair.left.height, 0},
                                           {right.data(), pair.left.width, pair.left.height, 0}};
                       }};
  const PairImages all[] = {pair, {pair.right, pair.left}, pair};
  const CheckResult fetched = checkFetchedPairs(rightRig(), {}, one);
  const CheckResult together = checkPairs(rightRig(), {}, all);
  EXPECT_EQ(fetched.sentence, together.sentence);
  EXPECT_EQ(fetched.matches, together.matches);
  EXPECT_EQ(fetched.pairs.at(2).size(), together.pairs.at(0).size());
}

TEST(CheckPairs, SaysWhenThereIsNothingToMeasure) {
  const std::vector<std::uint8_t> grey(rightScenario().left.size(), 90);
  PairImages flat = rightScenario().images();
  flat.left.data = flat.right.data = grey.data();
  const CheckResult result = checkPairs(rightRig(), {}, {&flat, 1});
  EXPECT_STREQ(verdictText(result.verdict), "too-few-matches");
  EXPECT_TRUE(std::isnan(result.rowErrorMedian));
  EXPECT_STREQ(verdictText(checkPairs(rightRig(), {}, {}).verdict), "too-few-matches");
}

TEST(CheckPairs, RefusesWhatItCannotJudge) {
  const PairImages right = rightScenario().images();
  const auto refused = [&](const std::function<void(Device&, CheckOptions&, PairImages&)>& spoil) {
    Device device = rightRig();
    CheckOptions options;
    PairImages pair = right;
    spoil(device, options, pair);
    EXPECT_THROW(checkPairs(device, options, {&pair, 1}), std::invalid_argument);
  };
  refused([](auto&, auto&, PairImages& p) { p.right.width -= 1; });
  refused([](auto&, auto&, PairImages& p) { p.left.data = nullptr; });
  refused([](auto&, auto&, PairImages& p) { p.left.stride = 100; });
  refused([](auto&, CheckOptions& o, auto&) { o.rightCamera = 2; });
  refused([](auto&, CheckOptions& o, auto&) { o.leftCamera = 1; });
  refused([](Device& d, auto&, auto&) { d.cameras[1].pose = d.cameras[0].pose; });
  refused([](Device& d, auto&, auto&) { d.cameras[0].intrinsics.focal_length_x = 0; });
}

}  // namespace
}  // namespace rectiline::check
