// Map reports, certificates of cameras, row times and failed checks of the C interface.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "AR/Common/FailedChecks.h"
#include "Errors.h"
#include "rectiline/rectiline.h"
#include "testing/Lenses.h"

namespace {

using rectiline::capi::testing::expectOk;

constexpr int kWidth = 20, kHeight = 10, kStride = 23;

/// A map that doubles its source along x, with rows that are padded by what would be broken.
struct PaddedMap {
  PaddedMap() : x(kStride * kHeight, NAN), y(kStride * kHeight, NAN) {
    for (int v = 0; v < kHeight; ++v) {
      for (int u = 0; u < kWidth; ++u)
        set(u, v, 0.5F * static_cast<float>(u), static_cast<float>(v));
    }
    map.struct_size = sizeof map;
    map.width = kWidth;
    map.height = kHeight;
    map.x = x.data();
    map.y = y.data();
    map.stride = kStride * sizeof(float);
  }
  void set(int u, int v, float sourceX, float sourceY) {
    x[static_cast<std::size_t>(v * kStride + u)] = sourceX;
    y[static_cast<std::size_t>(v * kStride + u)] = sourceY;
  }

  std::vector<float> x, y;
  rectiline_map map{};
};

TEST(QualityTest, AReportTellsWhatAMapCoversAndWhatIsBroken) {
  PaddedMap m;
  for (int v = 0; v < kHeight; ++v) m.set(0, v, -1, -1);
  m.set(19, 9, 3, std::numeric_limits<float>::infinity());
  m.set(18, 9, -1, 3e30F);
  m.set(17, 9, NAN, -1);
  rectiline_report report{};
  report.struct_size = sizeof report;
  expectOk(rectiline_map_report(&m.map, &report));
  EXPECT_EQ(report.struct_size, sizeof report);
  EXPECT_EQ(report.pixels, 200U);
  EXPECT_EQ(report.broken_pixels, 2U);
  EXPECT_EQ(report.pixels_with_source, 188U);
  EXPECT_DOUBLE_EQ(report.share_with_source, 0.94);
  EXPECT_EQ((std::array{report.valid_x, report.valid_y, report.valid_width, report.valid_height}),
            (std::array{1, 0, 19, 9}));
  EXPECT_GT(report.measured_pixels, 100U);
  EXPECT_DOUBLE_EQ(report.greatest_magnification, 2);
}

TEST(QualityTest, ACameraIsCertifiedWithinItsTables) {
  CameraCalibrationZEL camera{};
  camera.intrinsics = rectiline::testing::intrinsicsOf(rectiline::testing::lensNamed("fisheye4"));
  rectiline_camera_certificate c{};
  c.struct_size = sizeof c;
  expectOk(rectiline_certify_camera(&camera, &c));
  EXPECT_GT(c.max_distortion_error, 0);
  EXPECT_LT(c.max_distortion_error, 0.01);
  EXPECT_GT(c.max_undistortion_error, 0);
  EXPECT_LT(c.max_undistortion_error, 0.01);
  EXPECT_GT(c.distortion_bins, 1U);
  EXPECT_GT(c.undistortion_bins, 1U);
  EXPECT_LE(c.distortion_error_radius, c.valid_radius);
  EXPECT_DOUBLE_EQ(c.field_of_view, 2 * std::atan(c.valid_radius));
  // Just inside the radius a pixel has a ray, and beyond it none.
  for (const double share : {0.99, 1.01}) {
    const double pixel[] = {camera.intrinsics.principal_point_x + share * c.valid_radius_pixels,
                            camera.intrinsics.principal_point_y};
    double ray[3];
    expectOk(rectiline_pixels_to_rays(&camera, 1, pixel, ray, nullptr));
    EXPECT_EQ(std::isnan(ray[0]), share > 1);
  }
}

TEST(QualityTest, RowsAreExposedOneAfterTheOther) {
  PaddedMap m;
  m.set(3, 5, -1, -1);
  CameraCalibrationZEL camera{};
  camera.line_time_ns = 20000;
  camera.rs_center_row = 4;
  std::vector<float> seconds(kStride * kHeight, 7);
  expectOk(rectiline_row_times(&camera, &m.map, seconds.data(), kStride * sizeof(float)));
  for (int v = 0; v < kHeight; ++v) {
    EXPECT_FLOAT_EQ(seconds[static_cast<std::size_t>(v * kStride)],
                    static_cast<float>((v - 4) * 20e-6));
    EXPECT_EQ(seconds[static_cast<std::size_t>(v * kStride + kWidth)], 7) << "the gap";
  }
  EXPECT_TRUE(std::isnan(seconds[5 * kStride + 3]));
}

TEST(QualityTest, FailedChecksAreHandedOutLatestFirst) {
  rectiline_reset_failed_checks();
  AR::Common::recordFailedCheck("first", "a", 1);
  AR::Common::recordFailedCheck("second", "b", 2);
  rectiline_failed_check checks[3] = {};
  std::size_t written = 9;
  std::uint64_t count = 9;
  expectOk(rectiline_failed_checks(checks, 3, &written, &count));
  EXPECT_EQ(written, 2U);
  EXPECT_EQ(count, 2U);
  EXPECT_STREQ(checks[0].expression, "second");
  EXPECT_STREQ(checks[0].source, "b");
  EXPECT_EQ(checks[1].line, 1);
  expectOk(rectiline_failed_checks(nullptr, 0, &written, nullptr));
  EXPECT_EQ(written, 0U);
  rectiline_reset_failed_checks();
  expectOk(rectiline_failed_checks(checks, 3, &written, &count));
  EXPECT_EQ(written + count, 0U);
}

}  // namespace
