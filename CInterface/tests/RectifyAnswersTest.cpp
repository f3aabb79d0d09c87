// What rectiline_rectify warns of, what becomes of false claims, and the maps of single cameras and
// eyes.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>

#include "TestPairs.h"
#include "VIO/StereoRectifyWrapper.h"

namespace {

using namespace rectiline::capi::testing;

// ---- warnings -----------------------------------------------------------------------------------

struct Pair {
  DeviceCalibrationZEL device = smallFisheye();
  rectiline_options options = sized<rectiline_options>();
};
using Change = std::function<void(Pair&)>;

/// The right camera turned and moved.
Change posed(const Vec3& rotation, const Vec3& translation = {-0.1, 0.0, 0.0}) {
  return [=](Pair& p) { setPose(p.device.cameras[1], rotation, translation); };
}
Change withFocalLength(double pixels) {
  return [=](Pair& p) { p.options.focal_length = pixels; };
}
/// Tables too coarse for so many pixels.
Change enlarged(double times) {
  return [=](Pair& p) {
    for (CameraCalibrationZEL& camera : p.device.cameras) {
      camera.intrinsics.focal_length_x *= times;
      camera.intrinsics.focal_length_y *= times;
      camera.intrinsics.distortion_limit = camera.intrinsics.undistortion_limit = 1.2;
    }
    p.options.focal_length = 100 * times;
  };
}

constexpr std::int32_t kNone = 0;
constexpr auto kRightIsLeft = RECTILINE_WARNING_RIGHT_IS_LEFT;
constexpr auto kTurned = RECTILINE_WARNING_TURNED;

struct WarningCase {
  const char* name;
  Change change;
  std::int32_t code;
  std::int32_t camera = -1;
  double value = 0;       // to a hundredth of itself
  const char* text = "";  // part of the sentence
};

/// Those of a threshold lie close to it on either side.
const WarningCase kWarnings[] = {
    {"swapped", [](Pair& p) { p.options.left_camera = 1; }, kRightIsLeft, -1, -0.1011, "left of"},
    {"inverted pose", posed({}, {0.1, 0.0, 0.0}), kRightIsLeft, -1, -0.1},
    {"above", posed({}, {0.0, 0.1, 0.0}), kRightIsLeft, -1, -0.1, "above"},
    {"below", posed({}, {0.0, -0.1, 0.0}), kNone},
    {"turned by half of 59 degrees", posed({1.03, 0.0, 0.0}), kNone},
    {"turned by half of 61 degrees", posed({1.065, 0.0, 0.0}), kTurned, 0, 0.5325},
    // On its head, it is to the right of the left one all the same.
    {"right one on its head", posed({0.0, 0.0, 3.1}, {0.1, 0.0, 0.0}), kTurned, 1, 3.1416},
    {"4.9 m", posed({}, {-4.9, 0.0, 0.0}), kNone},
    {"5.1 m", posed({}, {-5.1, 0.0, 0.0}), RECTILINE_WARNING_LONG_BASELINE, -1, 5.1},
    {"1.1 mm", posed({}, {0.0, -0.0011, 0.0}), kNone},
    {"0.9 mm", posed({}, {0.0, -0.0009, 0.0}), RECTILINE_WARNING_SHORT_BASELINE, -1, 0.0009},
    {"50.1 percent", withFocalLength(5.05), kNone},
    {"49.5 percent", withFocalLength(5), RECTILINE_WARNING_FEW_SOURCES, 0, 0.495},
    // So far magnified, nearly nothing of the image is seen.
    {"tables off by 0.0075", enlarged(100), RECTILINE_WARNING_FEW_SOURCES},
    {"tables off by 0.0113", enlarged(150), RECTILINE_WARNING_TABLE_ERROR, 0, 0.0113},
};

TEST(RectifyAnswersTest, WhatIsProbablyWrongIsSaid) {
  for (const WarningCase& expected : kWarnings) {
    SCOPED_TRACE(expected.name);
    Pair pair;
    expected.change(pair);
    OwnMap left(128, 128), right(128, 128);
    auto result = sized<rectiline_rectification>();
    expectOk(rectiline_rectify(&pair.device, &pair.options, &left.map, &right.map, &result));
    EXPECT_EQ(result.failed_checks, 0U);
    const rectiline_warning& first = result.warnings[0];
    const std::string text = first.text;
    EXPECT_EQ(first.code, expected.code) << text;
    if (result.warning_count == 0 || expected.value == 0) continue;
    EXPECT_EQ(first.camera, expected.camera);
    EXPECT_NEAR(first.value / expected.value, 1, 0.01);
    EXPECT_EQ(text.back(), '.') << "a whole sentence: " << text;
    EXPECT_NE(text.find(expected.text), std::string::npos) << text;
  }
}

// ---- claims -------------------------------------------------------------------------------------

TEST(RectifyAnswersTest, FalseClaimsAreFoundOut) {
  const Pair pair;
  OwnMap left(128, 128), right(128, 128);
  auto truth = sized<rectiline_rectification>();
  expectOk(rectiline_rectify(&pair.device, nullptr, &left.map, &right.map, &truth));
  auto measured = sized<rectiline_certificate>();
  const auto certify = [&](const std::function<void(rectiline_rectification&)>& change) {
    rectiline_rectification claim = truth;
    change(claim);
    return rectiline_certify_rectification(&pair.device, &claim, &left.map, &right.map, &measured);
  };
  expectOk(certify([](auto& claim) { claim.depth_constant *= 1.1; }));
  EXPECT_NEAR(measured.max_depth_error, 0.1, 0.01);
  expectOk(certify(
      [](auto& claim) { std::copy_n(claim.left.R_camera_view, 9, claim.right.R_camera_view); }));
  EXPECT_GT(measured.max_map_error_right, 0.5);
  EXPECT_LT(measured.max_map_error_left, 0.001);
  expectOk(certify([](auto& claim) { claim.left.cx += 1, claim.right.cx += 1; }));
  EXPECT_GT(measured.max_map_error_left, 0.5);

  expectBadArgument(certify([](auto& claim) { claim.left.cx += 1; }), "claim.right");
  expectBadArgument(certify([](auto& claim) { claim.left_camera = -1; }), "claim.left_camera");
  expectBadArgument(certify([](auto& claim) { claim.right_camera = 2; }), "claim.right_camera");
  right.map.height = 127;
  expectBadArgument(certify([](auto&) {}), "right.height");
}

// ---- single cameras and eyes --------------------------------------------------------------------

TEST(UndistortTest, AutomaticMapsAreThoseOfCreateUndistortMap) {
  const DeviceCalibrationZEL device = exampleRig("radtan_752x480");
  const auto expected = exportedPlanes(
      752, 480, [&](auto... planes) { return CreateUndistortMap(&device, 1, 1.0F, planes...); });
  auto options = sized<rectiline_options>();
  options.keep_outside = 1;
  for (const std::size_t i : {0U, 1U}) {
    OwnMap map(752, 480);
    auto view = sized<rectiline_view>();
    expectOk(rectiline_undistort(&device.cameras[i], &options, &map.map, &view));
    expectPlanes(map, expected[2 * i], expected[2 * i + 1]);
    EXPECT_EQ(view.cx, static_cast<float>(device.cameras[i].intrinsics.principal_point_x));
  }
}

TEST(UndistortTest, EveryOptionGivesTheMapOfItsView) {
  const CameraCalibrationZEL camera = smallFisheye().cameras[0];
  for (const std::int32_t projection : {RECTILINE_PINHOLE, RECTILINE_LATITUDE_LONGITUDE}) {
    for (const OptionCase& option : kOptions) {
      SCOPED_TRACE(testing::Message() << option.name << ", " << projection);
      rectiline_options options = option.options;
      options.struct_size = sizeof options;
      options.projection = projection;
      auto view = sized<rectiline_view>();
      expectOk(rectiline_undistort(&camera, &options, nullptr, &view));
      OwnMap map(view);
      expectOk(rectiline_undistort(&camera, &options, &map.map, &view));
      if (options.keep_outside != 0) continue;
      const int withSource = expectMapOf(camera, view, map);
      const bool isFull = options.coverage == RECTILINE_COVERAGE_VALID;
      EXPECT_TRUE(!isFull || withSource == view.width * view.height);
    }
  }
  // Another size adds as much on either side.
  rectiline_options wider{sizeof wider, 0, 0, 0, 148, 98};
  auto view = sized<rectiline_view>();
  expectOk(rectiline_undistort(&camera, &wider, nullptr, &view));
  EXPECT_NEAR(view.cx - camera.intrinsics.principal_point_x, 10, 1e-4);
  EXPECT_NEAR(view.cy - camera.intrinsics.principal_point_y, -15, 1e-4);
}

TEST(SeeThroughTest, MapsAreThoseOfCreateFixedPlaneVSTMaps) {
  const DeviceCalibrationZEL device = smallFisheye();
  DeviceCalibrationZEL eyes = smallRadtan();
  eyes.cameras[0].pose.position.z = 0.02;
  for (const int keepOutside : {0, 1}) {
    const auto expected = exportedPlanes(188, 120, [&](auto... planes) {
      return CreateFixedPlaneVSTMaps(&device, &eyes, keepOutside, 1.5F, planes...);
    });
    OwnMap left(188, 120), right(188, 120);
    expectOk(rectiline_see_through(&device, &eyes, 1.5, keepOutside, &left.map, nullptr));
    expectOk(rectiline_see_through(&device, &eyes, 1.5, keepOutside, nullptr, &right.map));
    expectPlanes(left, expected[0], expected[1]);
    expectPlanes(right, expected[2], expected[3]);
  }
}

}  // namespace
