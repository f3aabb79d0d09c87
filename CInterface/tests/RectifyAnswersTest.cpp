// What rectiline_rectify refuses and warns of, and the maps of single cameras and eyes.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>

#include "AR/Math/Constants.h"
#include "TestPairs.h"
#include "VIO/StereoRectifyWrapper.h"

namespace {

using namespace rectiline::capi::testing;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

DeviceCalibrationZEL pairOf(const SE3<double>& T_right_left) {
  DeviceCalibrationZEL device = exampleRig("fisheye_512x512", 0.25);
  device.cameras[1].pose = AR::CV::se32idl(T_right_left);
  return device;
}

SE3<double> turnedBy(const Vec3& rotation, const Vec3& translation = {-0.1, 0.0, 0.0}) {
  return {SO3<double>::exp(rotation), translation};
}

// ---- refusals -----------------------------------------------------------------------------------

struct Call {
  DeviceCalibrationZEL device = exampleRig("fisheye_512x512", 0.25);
  rectiline_options options = sized<rectiline_options>();
};

struct RefusalCase {
  const char* name;
  std::function<void(Call&)> spoil;
  std::int32_t status;
  const char* field;
  const char* text;  // part of the sentence
};

const RefusalCase kRefusals[] = {
    {"one camera", [](Call& c) { c.device.num_cameras = 1; }, RECTILINE_BAD_ARGUMENT,
     "device.num_cameras", "2"},
    {"no such camera", [](Call& c) { c.options.right_camera = 2; }, RECTILINE_BAD_ARGUMENT,
     "options.right_camera", "0 to 1"},
    {"negative camera", [](Call& c) { c.options.left_camera = -1; }, RECTILINE_BAD_ARGUMENT,
     "options.left_camera", "0 to 1"},
    {"a camera with itself", [](Call& c) { c.options.left_camera = c.options.right_camera = 1; },
     RECTILINE_BAD_ARGUMENT, "options.right_camera", "two cameras"},
    {"projection", [](Call& c) { c.options.projection = 2; }, RECTILINE_BAD_ARGUMENT,
     "options.projection", "0 or 1"},
    {"width alone", [](Call& c) { c.options.width = 100; }, RECTILINE_BAD_ARGUMENT,
     "options.height", "other side"},
    {"negative height", [](Call& c) { c.options.width = 9, c.options.height = -9; },
     RECTILINE_BAD_ARGUMENT, "options.height", "from 1"},
    {"a principal point that is not announced", [](Call& c) { c.options.cy = 3; },
     RECTILINE_BAD_ARGUMENT, "options.cy", "has_principal_point"},
    {"a principal point that is none",
     [](Call& c) { c.options.has_principal_point = 1, c.options.cx = kNaN; },
     RECTILINE_BAD_ARGUMENT, "options.cx", "pixels"},
    {"focal length", [](Call& c) { c.options.focal_length = -50; }, RECTILINE_BAD_ARGUMENT,
     "options.focal_length", "from 1e-7"},
    {"field of view", [](Call& c) { c.options.field_of_view = 3.2; }, RECTILINE_BAD_ARGUMENT,
     "options.field_of_view", "LATITUDE_LONGITUDE"},
    {"no field of view to speak of", [](Call& c) { c.options.field_of_view = 1e-320; },
     RECTILINE_BAD_ARGUMENT, "options.field_of_view", "focal length"},
    {"coverage", [](Call& c) { c.options.coverage = 4; }, RECTILINE_BAD_ARGUMENT,
     "options.coverage", "0 to 3"},
    {"alpha", [](Call& c) { c.options.coverage = 3, c.options.alpha = 1.1; },
     RECTILINE_BAD_ARGUMENT, "options.alpha", "from 0 to 1"},
    {"alpha without need", [](Call& c) { c.options.alpha = 0.5; }, RECTILINE_BAD_ARGUMENT,
     "options.alpha", "BETWEEN"},
    {"two scales", [](Call& c) { c.options.focal_length = 50, c.options.field_of_view = 1; },
     RECTILINE_BAD_ARGUMENT, "options.field_of_view", "focal_length"},
    {"scale and coverage", [](Call& c) { c.options.focal_length = 50, c.options.coverage = 1; },
     RECTILINE_BAD_ARGUMENT, "options.coverage", "focal_length"},
    {"a member of a later version", [](Call& c) { c.options.reserved = 1; }, RECTILINE_BAD_ARGUMENT,
     "options.reserved", "0"},
    {"a camera", [](Call& c) { c.device.cameras[1].intrinsics.focal_length_y = -1; },
     RECTILINE_BAD_CAMERA, "intrinsics.focal_length_y", "-1"},
    {"a pose", [](Call& c) { c.device.cameras[0].pose.orientation.w = 2; }, RECTILINE_BAD_CAMERA,
     "pose.orientation", "4"},
    {"same place",
     [](Call& c) {
       c.device = pairOf(turnedBy({0.0, 0.1, 0.0}, {}));
     },
     RECTILINE_SAME_PLACE, "", "same centre"},
    {"same place of a moved device",
     [](Call& c) {
       c.device.cameras[0].pose = AR::CV::se32idl(turnedBy({0.3, 0.1, -0.2}, {7.0, 3.0, 1.0}));
       c.device.cameras[1].pose = c.device.cameras[0].pose;
     },
     RECTILINE_SAME_PLACE, "", "same centre"},
    {"one behind the other",
     [](Call& c) {
       c.device = pairOf(turnedBy({}, {0.0, 0.0, -0.1}));
     },
     RECTILINE_CANNOT_RECTIFY, "", "side by side"},
    {"back to back with coverage",
     [](Call& c) {
       c.device = exampleRig("radtan_752x480", 0.25);
       c.device.cameras[1].pose = AR::CV::se32idl(turnedBy({2.8, 0.0, 0.0}));
       c.options.coverage = RECTILINE_COVERAGE_VALID;
     },
     RECTILINE_CANNOT_RECTIFY, "", "too far apart"},
    {"back to back, whole",
     [](Call& c) {
       c.device = exampleRig("radtan_752x480", 0.25);
       c.device.cameras[1].pose = AR::CV::se32idl(turnedBy({3.1, 0.0, 0.0}));
       for (auto& camera : c.device.cameras) camera.intrinsics.focal_length_x *= 20;
       for (auto& camera : c.device.cameras) camera.intrinsics.focal_length_y *= 20;
       c.options.coverage = RECTILINE_COVERAGE_WHOLE;
     },
     RECTILINE_CANNOT_RECTIFY, "", "too far apart"},
    {"the whole of a wide lens at the focal length of a long one",
     [](Call& c) {
       auto& left = c.device.cameras[0].intrinsics;
       left.focal_length_x = left.focal_length_y = 1e10;
       c.options.projection = RECTILINE_LATITUDE_LONGITUDE;
       c.options.coverage = RECTILINE_COVERAGE_WHOLE;
     },
     RECTILINE_CANNOT_RECTIFY, "", "options.width"},
    {"a principal point around which nothing fits",
     [](Call& c) {
       c.options.has_principal_point = 1, c.options.cx = -1000;
       c.options.coverage = RECTILINE_COVERAGE_WHOLE;
     },
     RECTILINE_CANNOT_RECTIFY, "", "has_principal_point"},
    {"a lens wider than its rays",
     [](Call& c) { c.device.cameras[0].intrinsics.focal_length_y = 20; }, RECTILINE_CANNOT_RECTIFY,
     "", "LATITUDE_LONGITUDE"},
};

TEST(RectifyAnswersTest, WhatCannotBeIsRefusedInWords) {
  for (const RefusalCase& refusal : kRefusals) {
    SCOPED_TRACE(refusal.name);
    Call call;
    refusal.spoil(call);
    OwnMap left(128, 128);
    OwnMap right(128, 128);
    rectiline_rectification result = sized<rectiline_rectification>();
    result.baseline = 42;
    EXPECT_EQ(rectiline_rectify(&call.device, &call.options, &left.map, &right.map, &result),
              refusal.status);
    const rectiline_error error = lastError();
    EXPECT_STREQ(error.field, refusal.field);
    EXPECT_NE(std::string(error.text).find(refusal.text), std::string::npos) << error.text;
    EXPECT_EQ(result.baseline, 42) << "outputs hold what they held";
    for (const OwnMap* const map : {&left, &right}) {
      EXPECT_TRUE(map->x == std::vector<float>(map->x.size(), -1) && map->y == map->x);
      EXPECT_EQ(map->reasons, std::vector<std::uint8_t>(map->x.size(), RECTILINE_PIXEL_NOT_MADE));
    }
  }
}

TEST(RectifyAnswersTest, MapsMustFit) {
  const Call call;
  OwnMap left(128, 128), right(128, 128), small(127, 128);
  const auto rectify = [&](const rectiline_map* l, const rectiline_map* r) {
    return rectiline_rectify(&call.device, nullptr, l, r, nullptr);
  };
  EXPECT_EQ(rectify(&left.map, &right.map), RECTILINE_OK);
  EXPECT_EQ(rectify(nullptr, nullptr), RECTILINE_OK);
  EXPECT_EQ(rectify(&left.map, &small.map), RECTILINE_BAD_ARGUMENT);
  EXPECT_STREQ(lastError().field, "right.width");
  EXPECT_EQ(left.x[0], -1);
  left.x[0] = 7;
  small.map.reserved = 7;
  EXPECT_EQ(rectify(&left.map, &small.map), RECTILINE_BAD_ARGUMENT);
  EXPECT_EQ(left.x[0], -1) << "in order itself";
  EXPECT_EQ(rectify(&left.map, nullptr), RECTILINE_BAD_ARGUMENT);
  EXPECT_STREQ(lastError().field, "right");
  right.map.y = left.map.x;
  EXPECT_EQ(rectify(&left.map, &right.map), RECTILINE_BAD_ARGUMENT) << "overlap";
}

// ---- warnings -----------------------------------------------------------------------------------

struct WarningCase {
  const char* name;
  std::function<void(Call&)> set;
  std::int32_t code;
  std::int32_t camera;
  double value;
  double tolerance;
};

const WarningCase kWarnings[] = {
    {"swapped", [](Call& c) { c.options.left_camera = 1; }, RECTILINE_WARNING_RIGHT_IS_LEFT, -1,
     -0.101087, 1e-5},
    {"inverted pose",
     [](Call& c) {
       c.device.cameras[1].pose = AR::CV::se32idl(poseOf(c.device.cameras[1]).inverse());
     },
     RECTILINE_WARNING_RIGHT_IS_LEFT, -1, -0.101087, 1e-5},
    {"turned",
     [](Call& c) {
       c.device = pairOf(turnedBy({1.2, 0.0, 0.0}));
     },
     RECTILINE_WARNING_TURNED, 0, 0.6, 1e-6},
    {"right camera on its head",  // and to the right of the left one all the same
     [](Call& c) {
       c.device = pairOf(turnedBy({0.0, 0.0, 3.1}, {0.1, 0.0, 0.0}));
     },
     RECTILINE_WARNING_TURNED, 1, 3.1, 0.05},
    {"millimetres",
     [](Call& c) {
       c.device = pairOf(turnedBy({}, {-100.0, 0.0, 0.0}));
     },
     RECTILINE_WARNING_LONG_BASELINE, -1, 100, 0},
    {"kilometres",
     [](Call& c) {
       c.device = pairOf(turnedBy({}, {0.0, -1e-4, 0.0}));
     },
     RECTILINE_WARNING_SHORT_BASELINE, -1, 1e-4, 0},
    {"little to see", [](Call& c) { c.options.focal_length = 3; }, RECTILINE_WARNING_FEW_SOURCES, 0,
     0.25, 0.25},
    {"tables too coarse for so many pixels",
     [](Call& c) {
       for (CameraCalibrationZEL& camera : c.device.cameras) {
         camera.intrinsics.focal_length_x *= 500;
         camera.intrinsics.focal_length_y *= 500;
         camera.intrinsics.distortion_limit = camera.intrinsics.undistortion_limit = 1.2;
       }
       c.options.focal_length = 1000;
     },
     RECTILINE_WARNING_TABLE_ERROR, 0, 0.05, 0.04},
};

TEST(RectifyAnswersTest, WhatIsProbablyWrongIsSaid) {
  for (const WarningCase& warning : kWarnings) {
    SCOPED_TRACE(warning.name);
    Call call;
    warning.set(call);
    OwnMap left(128, 128);
    OwnMap right(128, 128);
    rectiline_rectification result = sized<rectiline_rectification>();
    ASSERT_EQ(rectiline_rectify(&call.device, &call.options, &left.map, &right.map, &result),
              RECTILINE_OK)
        << lastError().text;
    ASSERT_GE(result.warning_count, 1U);
    const rectiline_warning& first = result.warnings[0];
    EXPECT_EQ(first.code, warning.code) << first.text;
    EXPECT_EQ(first.camera, warning.camera);
    EXPECT_NEAR(first.value, warning.value, warning.tolerance);
    const std::string text = first.text;
    EXPECT_EQ(text.back(), '.') << "a whole sentence: " << text;
    EXPECT_EQ(result.failed_checks, 0U);
  }
}

// ---- claims -------------------------------------------------------------------------------------

TEST(RectifyAnswersTest, FalseClaimsAreFoundOut) {
  const Call call;
  OwnMap left(128, 128);
  OwnMap right(128, 128);
  rectiline_rectification truth = sized<rectiline_rectification>();
  ASSERT_EQ(rectiline_rectify(&call.device, nullptr, &left.map, &right.map, &truth), RECTILINE_OK);
  const auto certified = [&](const rectiline_rectification& claim) {
    rectiline_certificate certificate = sized<rectiline_certificate>();
    EXPECT_EQ(
        rectiline_certify_rectification(&call.device, &claim, &left.map, &right.map, &certificate),
        RECTILINE_OK)
        << lastError().text;
    return certificate;
  };
  rectiline_rectification claim = truth;
  claim.depth_constant *= 1.1;
  EXPECT_NEAR(certified(claim).max_depth_error, 0.1, 0.01);
  claim = truth;
  std::copy_n(truth.left.R_camera_view, 9, claim.right.R_camera_view);
  EXPECT_GT(certified(claim).max_map_error_right, 0.5);
  EXPECT_LT(certified(claim).max_map_error_left, 0.001);
  claim = truth;
  claim.left.cx += 1;
  rectiline_certificate certificate = sized<rectiline_certificate>();
  EXPECT_EQ(
      rectiline_certify_rectification(&call.device, &claim, &left.map, &right.map, &certificate),
      RECTILINE_BAD_ARGUMENT);
  claim.right.cx += 1;
  EXPECT_GT(certified(claim).max_map_error_left, 0.5);
}

// ---- single cameras and eyes --------------------------------------------------------------------

TEST(UndistortTest, AutomaticMapsAreThoseOfCreateUndistortMap) {
  const DeviceCalibrationZEL device = exampleRig("radtan_752x480");
  const std::uint32_t n = 752 * 480;
  std::vector<float> expected[4] = {std::vector<float>(n), std::vector<float>(n),
                                    std::vector<float>(n), std::vector<float>(n)};
  ASSERT_TRUE(CreateUndistortMap(&device, 1, 1.0F, expected[0].data(), n, expected[1].data(), n,
                                 expected[2].data(), n, expected[3].data(), n));
  rectiline_options options = sized<rectiline_options>();
  options.keep_outside = 1;
  for (const int i : {0, 1}) {
    OwnMap map(752, 480);
    rectiline_view view = sized<rectiline_view>();
    ASSERT_EQ(rectiline_undistort(&device.cameras[i], &options, &map.map, &view), RECTILINE_OK);
    EXPECT_TRUE(map.x == expected[2 * i] && map.y == expected[2 * i + 1]);
    EXPECT_EQ(view.cx, static_cast<float>(device.cameras[i].intrinsics.principal_point_x));
  }
}

TEST(UndistortTest, EveryOptionGivesTheMapOfItsView) {
  const CameraCalibrationZEL camera = exampleRig("fisheye_512x512", 0.25).cameras[0];
  for (const std::int32_t projection : {RECTILINE_PINHOLE, RECTILINE_LATITUDE_LONGITUDE}) {
    for (std::int32_t coverage = 0; coverage <= RECTILINE_COVERAGE_BETWEEN; ++coverage) {
      for (const std::int32_t width : {0, 150}) {
        SCOPED_TRACE(testing::Message() << projection << ", " << coverage << ", " << width);
        rectiline_options options = sized<rectiline_options>();
        options.projection = projection;
        options.coverage = coverage;
        options.alpha = coverage == RECTILINE_COVERAGE_BETWEEN ? 0.5 : 0;
        options.width = width;
        options.height = width / 2;
        rectiline_view view = sized<rectiline_view>();
        ASSERT_EQ(rectiline_undistort(&camera, &options, nullptr, &view), RECTILINE_OK);
        OwnMap map(view);
        ASSERT_EQ(rectiline_undistort(&camera, &options, &map.map, &view), RECTILINE_OK);
        const int withSource = expectMapOf(camera, view, map);
        EXPECT_TRUE(coverage != RECTILINE_COVERAGE_VALID || withSource == view.width * view.height);
        if (coverage != RECTILINE_COVERAGE_AUTOMATIC) continue;
        const IntrinsicCameraCalibrationZEL& in = camera.intrinsics;
        EXPECT_NEAR(view.cx - in.principal_point_x, (view.width - in.width) / 2.0, 1e-4);
        EXPECT_NEAR(view.cy - in.principal_point_y, (view.height - in.height) / 2.0, 1e-4);
      }
    }
  }
  rectiline_options options = sized<rectiline_options>();
  options.right_camera = 1;
  EXPECT_EQ(rectiline_undistort(&camera, &options, nullptr, nullptr), RECTILINE_BAD_ARGUMENT);
  EXPECT_STREQ(lastError().field, "options.right_camera");
}

TEST(SeeThroughTest, MapsAreThoseOfCreateFixedPlaneVSTMaps) {
  const DeviceCalibrationZEL device = exampleRig("fisheye_512x512", 0.25);
  DeviceCalibrationZEL eyes = exampleRig("radtan_752x480", 0.25);
  eyes.cameras[0].pose.position.z = 0.02;
  const std::uint32_t n = 188 * 120;
  std::vector<float> expected[4] = {std::vector<float>(n), std::vector<float>(n),
                                    std::vector<float>(n), std::vector<float>(n)};
  ASSERT_TRUE(CreateFixedPlaneVSTMaps(&device, &eyes, 0, 1.5F, expected[0].data(), n,
                                      expected[1].data(), n, expected[2].data(), n,
                                      expected[3].data(), n));
  OwnMap left(188, 120);
  OwnMap right(188, 120);
  ASSERT_EQ(rectiline_see_through(&device, &eyes, 1.5, 0, &left.map, nullptr), RECTILINE_OK);
  ASSERT_EQ(rectiline_see_through(&device, &eyes, 1.5, 0, nullptr, &right.map), RECTILINE_OK);
  EXPECT_TRUE(left.x == expected[0] && left.y == expected[1]);
  EXPECT_TRUE(right.x == expected[2] && right.y == expected[3]);

  for (const double distance : {0.0, -1.0, kNaN}) {
    EXPECT_EQ(rectiline_see_through(&device, &eyes, distance, 0, &left.map, &right.map),
              RECTILINE_BAD_ARGUMENT);
    EXPECT_STREQ(lastError().field, "plane_distance");
    EXPECT_EQ(left.x[5000], -1);
    EXPECT_EQ(right.reasons[5000], RECTILINE_PIXEL_NOT_MADE);
  }
  eyes.cameras[1].intrinsics.width = 0;
  EXPECT_EQ(rectiline_see_through(&device, &eyes, 1, 0, &left.map, &right.map),
            RECTILINE_BAD_CAMERA);
  EXPECT_STREQ(lastError().field, "eyes.intrinsics.width");
}

/// Two pinhole cameras of 64 x 48 pixels at the origin, f 50.
DeviceCalibrationZEL pinholes() {
  DeviceCalibrationZEL device{};
  device.num_cameras = 2;
  for (int i = 0; i < 2; ++i) {
    device.cameras[i].intrinsics = {64, 48, 32, 24, 50, 50, {}, 0, 0, 0, 0};
    device.cameras[i].pose.orientation.w = 1;
  }
  return device;
}

TEST(SeeThroughTest, ReasonsSayWhatHappenedToThePixel) {
  const auto limit = [](DeviceCalibrationZEL& rig) {  // to a radius of 20.5 pixels
    IntrinsicCameraCalibrationZEL& in = rig.cameras[0].intrinsics;
    in.distortion_limit = in.undistortion_limit = 0.41;
  };
  const auto isFar = [](int x, int y) { return (x - 32) * (x - 32) + (y - 24) * (y - 24) > 420; };
  using Rig = DeviceCalibrationZEL;
  const struct {
    std::function<void(Rig& device, Rig& eyes)> change;
    std::function<int(int x, int y)> expected;
  } kCases[] = {
      {[](Rig&, Rig& eyes) {
         eyes.cameras[0].pose.orientation = {0, 1, 0, 0};
       },
       [](int, int) { return RECTILINE_PIXEL_BEHIND_CAMERA; }},
      {[&](Rig& device, Rig&) { limit(device); },
       [&](int x, int y) {
         return isFar(x, y) ? RECTILINE_PIXEL_BEYOND_DISTORTION : RECTILINE_PIXEL_OK;
       }},
      {[&](Rig&, Rig& eyes) { limit(eyes); },
       [&](int x, int y) { return isFar(x, y) ? RECTILINE_PIXEL_NO_INVERSE : RECTILINE_PIXEL_OK; }},
      {[](Rig& device, Rig&) { device.cameras[0].intrinsics.principal_point_x += 0.5; },
       [](int x, int) {
         return x == 63 ? RECTILINE_PIXEL_OK_PAST_LAST_CENTRE : RECTILINE_PIXEL_OK;
       }},
      {[](Rig& device, Rig&) { device.cameras[0].intrinsics.principal_point_y += 2; },
       [](int, int y) { return y > 45 ? RECTILINE_PIXEL_OUTSIDE_IMAGE : RECTILINE_PIXEL_OK; }},
  };
  for (const auto& c : kCases) {
    Rig device = pinholes(), eyes = pinholes();
    c.change(device, eyes);
    OwnMap map(64, 48);
    ASSERT_EQ(rectiline_see_through(&device, &eyes, 1, 0, &map.map, nullptr), RECTILINE_OK);
    for (int i = 0; i < 64 * 48; ++i) {
      const auto at = static_cast<std::size_t>(i);
      ASSERT_EQ(map.reasons[at], c.expected(i % 64, i / 64)) << &c - kCases << " " << i;
      ASSERT_EQ(map.x[at] == -1, map.reasons[at] > RECTILINE_PIXEL_OK_PAST_LAST_CENTRE) << i;
    }
  }
}

}  // namespace
