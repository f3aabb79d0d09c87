// What the C interface refuses, with which field and words, and that nothing is touched then.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "TestPairs.h"
#include "rectiline/rectiline.h"
#include "testing/Lenses.h"

namespace {

using namespace rectiline::capi::testing;

constexpr int kSize = 8;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Arguments that are all in order, to be spoiled one at a time.
struct Arguments {
  Arguments() {
    camera.intrinsics = rectiline::testing::intrinsicsOf(rectiline::testing::kLenses[0]);
    camera.pose.orientation.w = 1;
    ranges.left = frontalView(RECTILINE_LATITUDE_LONGITUDE);
    ranges.baseline = 0.1;
    ranges.disparity_sign = 1;
  }

  // Of images
  std::vector<std::uint8_t> pixels = std::vector<std::uint8_t>(kSize * kSize, 5), mapped = pixels;
  std::vector<float> x = std::vector<float>(kSize * kSize), y = x, gains = x;
  rectiline_image source = {sizeof source, RECTILINE_GREY8, kSize, kSize, pixels.data()};
  rectiline_image target = {sizeof target, RECTILINE_GREY8, kSize, kSize, mapped.data()};
  rectiline_map map = {sizeof map, kSize, kSize, 0, x.data(), y.data()};

  // Of points and single cameras
  CameraCalibrationZEL camera{}, scaled{};
  rectiline_view view = frontalView(RECTILINE_PINHOLE);
  rectiline_rectification ranges = sized<rectiline_rectification>();
  double points[6] = {1, 2, 3, 4, 5, 6}, results[6] = {};
  std::uint8_t reasons[2] = {9, 9};
  std::size_t n = 2;
  double* from = points;
  double* to = results;
  std::uint8_t* why = reasons;
  double scale = 0.5;
  std::int32_t crop = 0, width = 0;

  // Of pairs
  DeviceCalibrationZEL device = smallFisheye(), eyes = device;
  rectiline_options options = sized<rectiline_options>();
  double distance = 1;
  OwnMap left{128, 128}, right{128, 128};
  const rectiline_map* leftMap = &left.map;
  const rectiline_map* rightMap = &right.map;
  rectiline_rectification result = sized<rectiline_rectification>();
};

/// A lens whose factor falls to 0 within the limits that are given: only its tables tell.
void makeUnfit(CameraCalibrationZEL& camera) {
  IntrinsicCameraCalibrationZEL& in = camera.intrinsics;
  in = {in.width, in.height, in.principal_point_x, in.principal_point_y, 100, 100, {-5}, 2, 2, 1};
}

using Call = std::function<std::int32_t(Arguments&)>;
using Spoil = std::function<void(Arguments&)>;

struct Refused {
  const char* field;
  Spoil spoil;
  const char* text = "";  // part of the sentence
};

void expectAllRefused(std::int32_t status, const std::vector<Refused>& cases, const Call& call) {
  const Arguments good;
  Arguments inOrder;
  expectOk(call(inOrder));
  for (const Refused& c : cases) {
    SCOPED_TRACE(::testing::Message() << "row " << &c - cases.data() << ": " << c.field);
    Arguments a;
    c.spoil(a);
    expectRefusal(call(a), status, c.field, c.text);
    EXPECT_EQ(a.mapped, good.pixels) << "untouched";
    EXPECT_EQ(a.points[1] + a.results[0] + a.reasons[0] + a.result.baseline, 11) << "untouched";
    EXPECT_EQ(a.scaled.intrinsics.width, 0) << "untouched";
  }
}

// ---- images and maps ----------------------------------------------------------------------------

std::int32_t remap(Arguments& a) { return rectiline_remap(&a.source, &a.map, &a.target); }

TEST(RefusalsTest, Remap) {
  const std::vector<Refused> cases = {
      {"source.struct_size", [](auto& a) { a.source.struct_size = 8; }},
      {"source.format", [](auto& a) { a.source.format = 2; }},
      {"source.width", [](auto& a) { a.source.width = 0; }},
      {"source.height", [](auto& a) { a.source.height = -3; }},
      {"source.data", [](auto& a) { a.source.data = nullptr; }},
      {"source.data", [](auto& a) { a.source.stride = kSize - 1; }},
      {"source.data", [](auto& a) { a.source.stride = SIZE_MAX / 4; }},
      {"source.data",
       [](auto& a) {
         a.source.format = a.target.format = RECTILINE_GREY16;
         a.source.width = 2;
         a.source.data = a.pixels.data() + 1;
       },
       "multiple of 2"},
      {"map.struct_size", [](auto& a) { a.map.struct_size = 0; }},
      {"map.reserved", [](auto& a) { a.map.reserved = 1; }},
      {"map.width", [](auto& a) { a.map.width = 0; }},
      {"map.x", [](auto& a) { a.map.x = nullptr; }},
      {"map.y", [](auto& a) { a.map.y = nullptr; }},
      {"map.x", [](auto& a) { a.map.stride = kSize * 4 + 2; }},
      {"map.x",
       [](auto& a) { a.map.x = reinterpret_cast<float*>(reinterpret_cast<char*>(a.map.x) + 1); }},
      {"target.format", [](auto& a) { a.source.format = RECTILINE_RGB8, a.source.width = 2; }},
      {"target.width", [](auto& a) { a.target.width = kSize - 1; }},
      {"target.height", [](auto& a) { a.target.height = kSize - 1; }},
      {"target.data", [](auto& a) { a.target.data = a.source.data; }},
      {"target.data", [](auto& a) { a.target.data = a.map.y; }},
      {"target.data",
       [](auto& a) {  // in the gaps of the source's rows, but for one byte
         a.source.width = a.target.width = a.map.width = kSize / 2;
         a.source.stride = a.target.stride = kSize;
         a.target.data = a.pixels.data() + kSize / 2 - 1;
       }},
  };
  expectAllRefused(RECTILINE_BAD_ARGUMENT, cases, remap);
  Arguments a;
  expectBadArgument(rectiline_remap(nullptr, &a.map, &a.target), "source");
  expectBadArgument(rectiline_remap(&a.source, nullptr, &a.target), "map");
  expectBadArgument(rectiline_remap(&a.source, &a.map, nullptr), "target");
}

TEST(RefusalsTest, GainsReportsAndTimes) {
  Arguments a;
  float* const inTheImage = reinterpret_cast<float*>(a.pixels.data());
  expectBadArgument(rectiline_correct(&a.source, nullptr, 0), "gains");
  expectBadArgument(rectiline_correct(&a.source, inTheImage, 0), "image.data");
  expectBadArgument(rectiline_vignetting_gains(0, 5, a.gains.data(), 0), "width");
  expectBadArgument(rectiline_vignetting_gains(5, 5, a.gains.data(), 19), "gains");
  expectBadArgument(rectiline_map_report(&a.map, nullptr), "report");
  rectiline_report report{4};
  expectBadArgument(rectiline_map_report(&a.map, &report), "report.struct_size");
  expectBadArgument(rectiline_row_times(&a.camera, &a.map, a.x.data(), 0), "seconds");
  expectBadArgument(rectiline_row_times(&a.camera, &a.map, a.y.data(), 0), "seconds");
  expectBadArgument(rectiline_row_times(nullptr, &a.map, a.gains.data(), 0), "camera");
  expectBadArgument(rectiline_failed_checks(nullptr, 1, nullptr, nullptr), "checks");
  expectBadArgument(rectiline_set_log(6, 0), "level");
  expectBadArgument(rectiline_set_log(-1, 0), "level");
}

// ---- points and single cameras ------------------------------------------------------------------

std::int32_t rays(Arguments& a) {
  return rectiline_pixels_to_rays(&a.camera, 2, a.points, a.results, a.reasons);
}
std::int32_t pointsOfView(Arguments& a) {
  return rectiline_view_to_pixels(&a.camera, &a.view, a.n, a.from, a.to, a.why);
}
std::int32_t scaledCamera(Arguments& a) {
  return rectiline_scaled_camera(&a.camera, a.scale, a.scale, a.crop, 0, a.width, 0, &a.scaled);
}

TEST(RefusalsTest, CamerasNameTheirField) {
  const std::vector<Refused> cases = {
      {"intrinsics.width", [](auto& a) { a.camera.intrinsics.width = 0; }},
      {"intrinsics.height", [](auto& a) { a.camera.intrinsics.height = -1; }},
      {"intrinsics.focal_length_x", [](auto& a) { a.camera.intrinsics.focal_length_x = 0; }},
      {"intrinsics.focal_length_y", [](auto& a) { a.camera.intrinsics.focal_length_y = kNaN; }},
      {"intrinsics.principal_point_x",
       [](auto& a) { a.camera.intrinsics.principal_point_x = 700; }},
      {"intrinsics.principal_point_y", [](auto& a) { a.camera.intrinsics.principal_point_y = 0; }},
      {"intrinsics.distortion_model", [](auto& a) { a.camera.intrinsics.distortion_model = 99; }},
      {"intrinsics.distortion[3]", [](auto& a) { a.camera.intrinsics.distortion[3] = 0.1; }},
      {"intrinsics.distortion[4]",  // 0 in single precision
       [](auto& a) { a.camera.intrinsics.distortion[4] = 1e-60; }},
      {"intrinsics.distortion[7]", [](auto& a) { a.camera.intrinsics.distortion[7] = 1e39; }},
      {"intrinsics.distortion_limit", [](auto& a) { a.camera.intrinsics.distortion_limit = kNaN; }},
      {"intrinsics.distortion", [](auto& a) { makeUnfit(a.camera); }},
  };
  expectAllRefused(RECTILINE_BAD_CAMERA, cases, rays);
  expectAllRefused(RECTILINE_BAD_CAMERA, cases, [](Arguments& a) {
    auto certificate = sized<rectiline_camera_certificate>();
    return rectiline_certify_camera(&a.camera, &certificate);
  });
  // Without tables, the last of them cannot be told.
  expectAllRefused(RECTILINE_BAD_CAMERA, {cases.begin(), cases.end() - 1}, scaledCamera);
  const rectiline_error error = lastError();
  EXPECT_EQ(error.camera, -1) << "a camera that was given alone has no index";
  EXPECT_TRUE(std::isnan(error.value)) << "the value of the field";
}

TEST(RefusalsTest, PointsAndViews) {
  const std::vector<Refused> cases = {
      {"view.struct_size", [](auto& a) { a.view.struct_size = 0; }},
      {"view.projection", [](auto& a) { a.view.projection = 2; }},
      {"view.width", [](auto& a) { a.view.width = 0; }},
      {"view.height", [](auto& a) { a.view.height = 0; }},
      {"view.fx", [](auto& a) { a.view.fx = -50; }},
      {"view.cy", [](auto& a) { a.view.cy = kNaN; }},
      {"view.axis", [](auto& a) { a.view.axis = 2; }},
      {"view.reserved0", [](auto& a) { a.view.reserved0 = 1; }},
      {"view.reserved", [](auto& a) { a.view.reserved[3] = 1; }},
      {"view.R_camera_view", [](auto& a) { a.view.R_camera_view[0] = -1; }},
      {"view.R_camera_view", [](auto& a) { a.view.R_camera_view[1] = 0.1; }},
      {"view.R_camera_view", [](auto& a) { a.view.R_camera_view[8] = kNaN; }},
      {"view_pixels", [](auto& a) { a.from = nullptr; }},
      {"view_pixels", [](auto& a) { a.n = SIZE_MAX / 8; }},
      {"pixels", [](auto& a) { a.to = nullptr; }},
      {"pixels", [](auto& a) { a.to = a.from + 1; }},
      {"reasons", [](auto& a) { a.why = reinterpret_cast<std::uint8_t*>(a.from); }},
      {"reasons", [](auto& a) { a.why = reinterpret_cast<std::uint8_t*>(a.to); }},
  };
  expectAllRefused(RECTILINE_BAD_ARGUMENT, cases, pointsOfView);
  Arguments a;
  expectOk(rectiline_view_to_pixels(&a.camera, &a.view, 0, nullptr, nullptr, nullptr));
  expectBadArgument(rectiline_pixels_to_rays(&a.camera, 1, a.points, a.points, nullptr), "rays");
  expectBadArgument(rectiline_pixels_to_rays(nullptr, 1, a.points, a.results, nullptr), "camera");
}

TEST(RefusalsTest, RangesAndScaledCameras) {
  const std::vector<Refused> ranges = {
      {"rectification.left.projection", [](auto& a) { a.ranges.left.projection = 0; }},
      {"rectification.baseline", [](auto& a) { a.ranges.baseline = 0; }},
      {"rectification.disparity_sign", [](auto& a) { a.ranges.disparity_sign = 0; }},
      {"left", [](auto& a) { a.n = SIZE_MAX / 8; }},
  };
  expectAllRefused(RECTILINE_BAD_ARGUMENT, ranges, [](Arguments& a) {
    return rectiline_range_from_columns(&a.ranges, a.n, a.from, a.from, a.to);
  });
  const std::vector<Refused> scales = {
      {"scale_x", [](auto& a) { a.scale = 0; }},
      {"scale_x", [](auto& a) { a.scale = kNaN; }},
      {"crop_x", [](auto& a) { a.crop = -1; }},
      {"crop_x", [](auto& a) { a.crop = 320; }, "pixels 0 to 319"},
      {"crop_x", [](auto& a) { a.crop = 200, a.width = 50; }, "principal point"},
      {"width", [](auto& a) { a.width = 321; }},
      {"width", [](auto& a) { a.crop = 50, a.width = 271; }},
      {"width", [](auto& a) { a.scale = 1e8; }},
      {"width", [](auto& a) { a.width = -5; }},
  };
  expectAllRefused(RECTILINE_BAD_ARGUMENT, scales, scaledCamera);
}

// ---- pairs --------------------------------------------------------------------------------------

/// Maps that are in order must say after a refusal that they were not made.
std::int32_t told(std::int32_t status, const Arguments& a) {
  if (status == RECTILINE_OK) return status;
  expectNotMade(a.left);
  expectNotMade(a.right);
  return status;
}

std::int32_t rectify(Arguments& a) {
  return told(rectiline_rectify(&a.device, &a.options, &a.left.map, &a.right.map, &a.result), a);
}
std::int32_t seeThrough(Arguments& a) {
  return told(rectiline_see_through(&a.device, &a.eyes, a.distance, 0, &a.left.map, &a.right.map),
              a);
}

Spoil with(rectiline_options options) {
  options.struct_size = sizeof options;
  return [=](Arguments& a) { a.options = options; };
}

TEST(RefusalsTest, Options) {
  const std::vector<Refused> cases = {
      {"options.left_camera", with({.left_camera = -1}), "0 to 1"},
      {"options.right_camera", with({.right_camera = 2}), "0 to 1"},
      {"options.right_camera", with({.left_camera = 1, .right_camera = 1}), "two cameras"},
      {"options.projection", with({.projection = 2}), "0 or 1"},
      {"options.height", with({.width = 100}), "other side"},
      {"options.height", with({.width = 9, .height = -9}), "from 1"},
      {"options.width", with({.width = 65536, .height = 9}), "65535"},
      {"options.width", with({.width = 9, .height = 1, .coverage = 1}), "2 pixels"},
      {"options.cy", with({.cy = 3}), "has_principal_point"},
      {"options.cx", with({.has_principal_point = 1, .cx = kNaN}), "pixels"},
      {"options.focal_length", with({.focal_length = -50}), "from 1e-7"},
      {"options.field_of_view", with({.field_of_view = 3.2}), "LATITUDE_LONGITUDE"},
      {"options.field_of_view", with({.projection = 1, .field_of_view = 6.3}), "2 pi"},
      {"options.field_of_view", with({.field_of_view = 1e-320}), "focal length"},
      {"options.field_of_view", with({.focal_length = 9, .field_of_view = 1}), "focal_length"},
      {"options.coverage", with({.coverage = 4}), "0 to 3"},
      {"options.coverage", with({.coverage = 1, .focal_length = 50}), "focal_length"},
      {"options.coverage", with({.coverage = 1, .field_of_view = 1}), "field_of_view"},
      {"options.alpha", with({.coverage = 3, .alpha = 1.1}), "from 0 to 1"},
      {"options.alpha", with({.alpha = 0.5}), "BETWEEN"},
      {"options.reserved", with({.reserved = 1}), "0"},
      {"device.num_cameras", [](auto& a) { a.device.num_cameras = 1; }, "2"},
      {"device.num_cameras", [](auto& a) { a.device.num_cameras = 7; }, "6"},
  };
  expectAllRefused(RECTILINE_BAD_ARGUMENT, cases, rectify);
}

/// A pair of long lenses, the right camera turned and moved.
Spoil longLenses(const Vec3& rotation, const Vec3& translation, std::int32_t coverage = 0) {
  return [=](Arguments& a) {
    a.device = smallRadtan();
    setPose(a.device.cameras[1], rotation, translation);
    for (CameraCalibrationZEL& camera : a.device.cameras) {
      camera.intrinsics.focal_length_x *= 20;
      camera.intrinsics.focal_length_y *= 20;
    }
    a.options.coverage = coverage;
  };
}
/// The left camera's focal lengths changed.
Spoil focalLengths(double fx, double fy) {
  return [=](Arguments& a) {
    a.device.cameras[0].intrinsics.focal_length_x = fx;
    a.device.cameras[0].intrinsics.focal_length_y = fy;
    a.options.projection = fx > 1000 ? RECTILINE_LATITUDE_LONGITUDE : RECTILINE_PINHOLE;
    a.options.coverage = fx > 1000 ? RECTILINE_COVERAGE_WHOLE : RECTILINE_COVERAGE_AUTOMATIC;
  };
}

TEST(RefusalsTest, Pairs) {
  const Vec3 none, beside(-0.1, 0.0, 0.0), before(0.0, 0.0, -0.1);
  const Vec3 slightly(0.0, 0.1, 0.0), away(2.8, 0.0, 0.0), backwards(3.1, 0.0, 0.0);
  const auto farFromTheReference = [](Arguments& a) {  // the distance is but rounding
    const Vec3 somewhere(7.0, 3.0, 1.0);
    for (auto& camera : a.device.cameras) setPose(camera, {0.3, 0.1, -0.2}, somewhere);
  };
  const auto farApart = [](Arguments& a) {
    a.device.cameras[0].pose.position.x = 3e38;
    a.device.cameras[1].pose.position.x = -3e38;
  };
  expectAllRefused(
      RECTILINE_SAME_PLACE,
      {{"", longLenses(slightly, none), "same centre"}, {"", farFromTheReference, "same centre"}},
      rectify);
  const std::vector<Refused> cases = {
      {"", longLenses(none, before), "side by side"},
      {"", farApart, "out of range"},
      {"", longLenses(away, beside, RECTILINE_COVERAGE_VALID), "No view of this size"},
      {"", longLenses(backwards, beside, RECTILINE_COVERAGE_WHOLE), "sees nothing of a view"},
      {"", with({.has_principal_point = 1, .coverage = 2, .cx = -1000}), "has_principal_point"},
      {"", focalLengths(1e10, 1e10), "options.width"},
      {"", focalLengths(50, 20), "LATITUDE_LONGITUDE"},
  };
  expectAllRefused(RECTILINE_CANNOT_RECTIFY, cases, rectify);

  for (const int index : {0, 1}) {
    const std::string name = "Camera " + std::to_string(index);
    Arguments turned, unfit;
    turned.device.cameras[index].pose.orientation.w = 2;
    expectRefusal(rectify(turned), RECTILINE_BAD_CAMERA, "pose.orientation", name);
    makeUnfit(unfit.device.cameras[index]);
    expectRefusal(rectify(unfit), RECTILINE_BAD_CAMERA, "intrinsics.distortion", name);
  }
}

TEST(RefusalsTest, MapsOfPairs) {
  const std::vector<Refused> cases = {
      {"left", [](auto& a) { a.leftMap = nullptr; }},
      {"right", [](auto& a) { a.rightMap = nullptr; }},
      {"right.width", [](auto& a) { a.right.map.width = 127; }},
      {"right.height", [](auto& a) { a.right.map.height = 127; }},
      {"left.y", [](auto& a) { a.left.map.y = a.left.map.x; }},
      {"left.reasons",
       [](auto& a) { a.left.map.reasons = reinterpret_cast<std::uint8_t*>(a.left.map.y); }},
      {"right.y", [](auto& a) { a.right.map.y = a.left.map.x; }},
      {"right.reasons", [](auto& a) { a.right.map.reasons = a.left.map.reasons; }},
  };
  const auto call = [](Arguments& a) {
    return rectiline_rectify(&a.device, &a.options, a.leftMap, a.rightMap, &a.result);
  };
  expectAllRefused(RECTILINE_BAD_ARGUMENT, cases, call);
  Arguments badRight, badLeft;
  badRight.right.map.reserved = badLeft.left.map.reserved = 7;
  expectBadArgument(call(badRight), "right.reserved");
  expectNotMade(badRight.left);
  expectBadArgument(call(badLeft), "left.reserved");
  expectNotMade(badLeft.right);
}

TEST(RefusalsTest, EyesAndUndistortedCameras) {
  const std::vector<Refused> cases = {
      {"plane_distance", [](auto& a) { a.distance = 0; }},
      {"plane_distance", [](auto& a) { a.distance = kNaN; }},
      {"eyes.num_cameras", [](auto& a) { a.eyes.num_cameras = 1; }},
  };
  expectAllRefused(RECTILINE_BAD_ARGUMENT, cases, seeThrough);
  Arguments bad;
  bad.eyes.cameras[1].intrinsics.width = 0;
  EXPECT_EQ(seeThrough(bad), RECTILINE_BAD_CAMERA);
  EXPECT_STREQ(lastError().field, "eyes.intrinsics.width");

  Arguments a;
  OwnMap small(128, 127);
  expectBadArgument(rectiline_see_through(&a.device, &a.eyes, 1, 0, nullptr, &small.map),
                    "right.height");
  expectBadArgument(rectiline_undistort(&a.device.cameras[0], nullptr, &small.map, nullptr),
                    "map.height");
  expectNotMade(small);
  a.options.right_camera = 1;
  expectBadArgument(rectiline_undistort(&a.device.cameras[0], &a.options, nullptr, nullptr),
                    "options.right_camera");
}

}  // namespace
