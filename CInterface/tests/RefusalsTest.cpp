// What the C interface refuses, with which field, and that nothing is touched then.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

#include "Errors.h"
#include "rectiline/rectiline.h"
#include "testing/Lenses.h"

namespace {

using rectiline::capi::testing::expectRefusal;
using rectiline::capi::testing::lastError;

constexpr int kSize = 8;

/// Arguments that are all in order, to be spoiled one at a time.
struct Arguments {
  Arguments() {
    camera.intrinsics = rectiline::testing::intrinsicsOf(rectiline::testing::kLenses[0]);
    camera.pose.orientation.w = 1;
    camera.name[0] = 'c';
    device.num_cameras = 2;
    device.cameras[0] = device.cameras[1] = camera;
    source = {sizeof source, RECTILINE_GREY8, kSize, kSize, pixels.data(), 0};
    target = {sizeof target, RECTILINE_GREY8, kSize, kSize, mapped.data(), 0};
    map = {sizeof map, kSize, kSize, 0, x.data(), y.data(), 0, nullptr, 0};
    view = {sizeof view, RECTILINE_PINHOLE, 64, 48, 50, 50, 32, 24, 0, 0, {}, {}};
    view.R_camera_view[0] = view.R_camera_view[4] = view.R_camera_view[8] = 1;
    report = {};
    report.struct_size = sizeof report;
    certificate = {};
    certificate.struct_size = sizeof certificate;
  }

  std::int32_t remap() { return rectiline_remap(&source, &map, &target); }
  std::int32_t pointsOfView() {
    return rectiline_view_to_pixels(&camera, &view, 2, points, results, reasons);
  }
  std::int32_t rays() { return rectiline_pixels_to_rays(&camera, 2, points, results, reasons); }
  std::int32_t scale(double s, int crop, int width) {
    return rectiline_scaled_camera(&camera, s, s, crop, 0, width, 0, &scaled);
  }

  std::vector<std::uint8_t> pixels = std::vector<std::uint8_t>(kSize * kSize, 5);
  std::vector<std::uint8_t> mapped = std::vector<std::uint8_t>(kSize * kSize, 6);
  std::vector<float> x = std::vector<float>(kSize * kSize), y = x, floats = x;
  double points[4] = {1, 2, 3, 4}, results[6] = {};
  std::uint8_t reasons[2] = {9, 9};
  CameraCalibrationZEL camera{}, scaled{};
  DeviceCalibrationZEL device{};
  rectiline_image source, target;
  rectiline_map map;
  rectiline_view view;
  rectiline_report report;
  rectiline_camera_certificate certificate;
};

using Spoil = std::function<void(Arguments&)>;
using Call = std::function<std::int32_t(Arguments&)>;

struct Refused {
  const char* field;
  Spoil spoil;
};

void expectAllRefused(std::int32_t status, const std::vector<Refused>& cases, const Call& call) {
  Arguments good;
  ASSERT_EQ(call(good), RECTILINE_OK) << lastError().text;
  for (const Refused& c : cases) {
    SCOPED_TRACE(c.field);
    Arguments bad;
    c.spoil(bad);
    expectRefusal(call(bad), status, c.field);
    EXPECT_EQ(bad.mapped, std::vector<std::uint8_t>(kSize * kSize, 6)) << "untouched";
    EXPECT_EQ(bad.reasons[0], 9) << "untouched";
  }
}

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

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
       }},
      {"map.struct_size", [](auto& a) { a.map.struct_size = 0; }},
      {"map.reserved", [](auto& a) { a.map.reserved = 1; }},
      {"map.width", [](auto& a) { a.map.width = 0; }},
      {"map.x", [](auto& a) { a.map.x = nullptr; }},
      {"map.y", [](auto& a) { a.map.y = nullptr; }},
      {"map.x", [](auto& a) { a.map.stride = kSize * 4 + 2; }},
      {"map.x",
       [](auto& a) { a.map.x = reinterpret_cast<float*>(reinterpret_cast<char*>(a.map.x) + 1); }},
      {"target.format",
       [](auto& a) {
         a.target.format = RECTILINE_RGB8;
         a.target.width = 2;
       }},
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
  expectAllRefused(RECTILINE_BAD_ARGUMENT, cases, [](Arguments& a) { return a.remap(); });
  Arguments a;
  expectRefusal(rectiline_remap(nullptr, &a.map, &a.target), RECTILINE_BAD_ARGUMENT, "source");
  expectRefusal(rectiline_remap(&a.source, nullptr, &a.target), RECTILINE_BAD_ARGUMENT, "map");
  expectRefusal(rectiline_remap(&a.source, &a.map, nullptr), RECTILINE_BAD_ARGUMENT, "target");
}

TEST(RefusalsTest, Gains) {
  Arguments a;
  const float* const inTheImage = reinterpret_cast<const float*>(a.pixels.data());
  expectRefusal(rectiline_correct(&a.source, nullptr, 0), RECTILINE_BAD_ARGUMENT, "gains");
  expectRefusal(rectiline_correct(&a.source, inTheImage, 0), RECTILINE_BAD_ARGUMENT, "image.data");
  expectRefusal(rectiline_vignetting_gains(0, 5, a.floats.data(), 0), RECTILINE_BAD_ARGUMENT,
                "width");
  expectRefusal(rectiline_vignetting_gains(5, 5, a.floats.data(), 19), RECTILINE_BAD_ARGUMENT,
                "gains");
}

TEST(RefusalsTest, CamerasNameTheirField) {
  const std::vector<Refused> cases = {
      {"intrinsics.width", [](auto& a) { a.camera.intrinsics.width = 0; }},
      {"intrinsics.height", [](auto& a) { a.camera.intrinsics.height = -1; }},
      {"intrinsics.focal_length_x", [](auto& a) { a.camera.intrinsics.focal_length_x = 0; }},
      {"intrinsics.focal_length_y", [](auto& a) { a.camera.intrinsics.focal_length_y = kNan; }},
      {"intrinsics.principal_point_x",
       [](auto& a) { a.camera.intrinsics.principal_point_x = 700; }},
      {"intrinsics.principal_point_y", [](auto& a) { a.camera.intrinsics.principal_point_y = 0; }},
      {"intrinsics.distortion_model", [](auto& a) { a.camera.intrinsics.distortion_model = 99; }},
      {"intrinsics.distortion[3]", [](auto& a) { a.camera.intrinsics.distortion[3] = 0.1; }},
      {"intrinsics.distortion[4]",  // 0 in single precision
       [](auto& a) { a.camera.intrinsics.distortion[4] = 1e-60; }},
      {"intrinsics.distortion[7]", [](auto& a) { a.camera.intrinsics.distortion[7] = 1e39; }},
      {"intrinsics.distortion_limit", [](auto& a) { a.camera.intrinsics.distortion_limit = kNan; }},
      {"intrinsics.distortion",
       [](auto& a) {  // falls to 0 within the limits that are given
         a.camera.intrinsics.distortion_model = 1;
         a.camera.intrinsics.distortion[0] = -5;
         a.camera.intrinsics.distortion_limit = a.camera.intrinsics.undistortion_limit = 2;
       }},
  };
  expectAllRefused(RECTILINE_BAD_CAMERA, cases, [](Arguments& a) { return a.rays(); });
  expectAllRefused(RECTILINE_BAD_CAMERA, cases, [](Arguments& a) {
    return rectiline_certify_camera(&a.camera, &a.certificate);
  });
  const std::vector<Refused> withoutTables(cases.begin(), cases.end() - 1);
  expectAllRefused(RECTILINE_BAD_CAMERA, withoutTables,
                   [](Arguments& a) { return a.scale(0.5, 0, 0); });
  const rectiline_error error = lastError();
  EXPECT_EQ(error.camera, -1) << "a camera that was given alone has no index";
  EXPECT_TRUE(std::isnan(error.value)) << "the value of the field";

  Arguments a;
  a.device.cameras[1].pose.orientation.w = 0.5;
  std::size_t needed = 99;
  expectRefusal(rectiline_rig_to_xml(&a.device, nullptr, 0, &needed), RECTILINE_BAD_CAMERA,
                "pose.orientation");
  EXPECT_EQ(lastError().camera, 1);
  EXPECT_EQ(lastError().value, 0.25);
}

TEST(RefusalsTest, PointsAndViews) {
  const std::vector<Refused> cases = {
      {"view.struct_size", [](auto& a) { a.view.struct_size = 0; }},
      {"view.projection", [](auto& a) { a.view.projection = 2; }},
      {"view.width", [](auto& a) { a.view.width = 0; }},
      {"view.fx", [](auto& a) { a.view.fx = -50; }},
      {"view.cy", [](auto& a) { a.view.cy = kNan; }},
      {"view.axis", [](auto& a) { a.view.axis = 2; }},
      {"view.reserved", [](auto& a) { a.view.reserved[3] = 1; }},
      {"view.R_camera_view", [](auto& a) { a.view.R_camera_view[0] = -1; }},
      {"view.R_camera_view", [](auto& a) { a.view.R_camera_view[1] = 0.1; }},
      {"view.R_camera_view", [](auto& a) { a.view.R_camera_view[8] = kNan; }},
  };
  expectAllRefused(RECTILINE_BAD_ARGUMENT, cases, [](Arguments& a) { return a.pointsOfView(); });

  Arguments a;
  std::uint8_t* const onPoints = reinterpret_cast<std::uint8_t*>(a.points);
  const struct {
    const char* field;
    std::size_t n;
    const double* from;
    double* to;
    std::uint8_t* reasons;
  } buffers[] = {
      {"view_pixels", 2, nullptr, a.results, nullptr},
      {"pixels", 2, a.points, nullptr, nullptr},
      {"pixels", 2, a.points, a.points + 1, nullptr},
      {"reasons", 2, a.points, a.results, onPoints},
      {"view_pixels", SIZE_MAX / 8, a.points, a.results, nullptr},
  };
  for (const auto& b : buffers) {
    expectRefusal(rectiline_view_to_pixels(&a.camera, &a.view, b.n, b.from, b.to, b.reasons),
                  RECTILINE_BAD_ARGUMENT, b.field);
  }
  EXPECT_EQ(rectiline_view_to_pixels(&a.camera, &a.view, 0, nullptr, nullptr, nullptr),
            RECTILINE_OK);
  expectRefusal(rectiline_pixels_to_rays(&a.camera, 1, a.points, a.points, nullptr),
                RECTILINE_BAD_ARGUMENT, "rays");
  expectRefusal(rectiline_pixels_to_rays(nullptr, 1, a.points, a.results, nullptr),
                RECTILINE_BAD_ARGUMENT, "camera");
}

TEST(RefusalsTest, ScaledCameras) {
  Arguments a;
  ASSERT_EQ(a.scale(0.5, 0, 0), RECTILINE_OK);
  const struct {
    const char* field;
    double scale;
    int crop, width;
  } cases[] = {{"scale_x", 0, 0, 0},    {"scale_x", kNan, 0, 0}, {"crop_x", 1, -1, 0},
               {"crop_x", 1, 640, 0},   {"width", 0.5, 0, 321},  {"width", 1, 100, 541},
               {"crop_x", 1, 400, 100}, {"width", 1e8, 0, 0},    {"width", 1, 0, -5}};
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.scale << " " << c.crop << " " << c.width);
    expectRefusal(a.scale(c.scale, c.crop, c.width), RECTILINE_BAD_ARGUMENT, c.field);
  }
  EXPECT_EQ(a.scaled.intrinsics.width, 320) << "untouched by what is refused";
}

TEST(RefusalsTest, TheRest) {
  Arguments a;
  expectRefusal(rectiline_map_report(&a.map, nullptr), RECTILINE_BAD_ARGUMENT, "report");
  a.report.struct_size = 4;
  expectRefusal(rectiline_map_report(&a.map, &a.report), RECTILINE_BAD_ARGUMENT,
                "report.struct_size");
  expectRefusal(rectiline_row_times(&a.camera, &a.map, a.x.data(), 0), RECTILINE_BAD_ARGUMENT,
                "seconds");
  expectRefusal(rectiline_row_times(nullptr, &a.map, a.floats.data(), 0), RECTILINE_BAD_ARGUMENT,
                "camera");
  expectRefusal(rectiline_failed_checks(nullptr, 1, nullptr, nullptr), RECTILINE_BAD_ARGUMENT,
                "checks");
  expectRefusal(rectiline_set_log(6, 0), RECTILINE_BAD_ARGUMENT, "level");
}

}  // namespace
