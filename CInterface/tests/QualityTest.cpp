// Map reports, certificates of cameras, row times and failed checks of the C interface.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "AR/Common/FailedChecks.h"
#include "OwnMap.h"
#include "rectiline/rectiline.h"
#include "testing/Lenses.h"

namespace {

using namespace rectiline::capi::testing;

/// A map that doubles its source along x.
struct DoublingMap : OwnMap {
  DoublingMap() : OwnMap(20, 10) {
    for (int v = 0; v < 10; ++v) {
      for (int u = 0; u < 20; ++u) set(u, v, 0.5F * static_cast<float>(u), static_cast<float>(v));
    }
  }
};

TEST(QualityTest, AReportTellsWhatAMapCoversAndWhatIsBroken) {
  DoublingMap m;
  for (int v = 0; v < 10; ++v) m.set(0, v, -1, -1);
  m.set(19, 9, 3, std::numeric_limits<float>::infinity());
  m.set(18, 9, -1, 3e30F);
  m.set(17, 9, NAN, -1);
  m.set(10, 5, 4.4F, 5);  // left of its left neighbour
  auto report = sized<rectiline_report>();
  expectOk(rectiline_map_report(&m.map, &report));
  EXPECT_EQ(report.struct_size, sizeof report);
  EXPECT_EQ(report.pixels, 200U);
  EXPECT_EQ(report.broken_pixels, 2U);
  EXPECT_EQ(report.pixels_with_source, 188U);
  EXPECT_DOUBLE_EQ(report.share_with_source, 0.94);
  EXPECT_EQ((std::array{report.valid_x, report.valid_y, report.valid_width, report.valid_height}),
            (std::array{1, 0, 19, 9}));
  EXPECT_GT(report.measured_pixels, 100U);
  EXPECT_GT(report.folded_pixels, 0U);
  EXPECT_GT(report.least_magnification, 0);
  EXPECT_LT(report.least_magnification, 2);
  EXPECT_GE(report.greatest_magnification, 2);
}

TEST(QualityTest, ACameraIsCertifiedWithinItsTables) {
  CameraCalibrationZEL camera{};
  camera.intrinsics = rectiline::testing::intrinsicsOf(rectiline::testing::lensNamed("fisheye4"));
  auto c = sized<rectiline_camera_certificate>();
  expectOk(rectiline_certify_camera(&camera, &c));
  for (const double error : {c.max_distortion_error, c.max_undistortion_error}) {
    EXPECT_GT(error, 0);
    EXPECT_LT(error, 0.01);
  }
  for (const double radius : {c.distortion_error_radius, c.undistortion_error_radius}) {
    EXPECT_GT(radius, 0);
    EXPECT_LE(radius, c.valid_radius);
  }
  EXPECT_GT(c.distortion_bins, 1U);
  EXPECT_GT(c.undistortion_bins, 1U);
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
  DoublingMap m;
  m.set(3, 5, -1, -1);
  CameraCalibrationZEL camera{};
  camera.line_time_ns = 20000;
  camera.rs_center_row = 4;
  std::vector<float> seconds(25 * 10, 7);
  expectOk(rectiline_row_times(&camera, &m.map, seconds.data(), 25 * sizeof(float)));
  for (std::size_t v = 0; v < 10; ++v) {
    EXPECT_FLOAT_EQ(seconds[25 * v], (static_cast<float>(v) - 4) * 20e-6F);
    EXPECT_EQ(seconds[25 * v + 20], 7) << "the gap";
  }
  EXPECT_TRUE(std::isnan(seconds[5 * 25 + 3]));
}

TEST(QualityTest, FailedChecksAreHandedOutLatestFirst) {
  rectiline_reset_failed_checks();
  for (const int line : {1, 2, 3}) AR::Common::recordFailedCheck("expression", "source", line);
  rectiline_failed_check checks[3] = {};
  std::size_t written = 9;
  std::uint64_t count = 9;
  expectOk(rectiline_failed_checks(checks, 2, &written, &count));
  EXPECT_EQ(written, 2U);
  EXPECT_EQ(count, 3U);
  EXPECT_STREQ(checks[0].expression, "expression");
  EXPECT_STREQ(checks[0].source, "source");
  EXPECT_EQ((std::array{checks[0].line, checks[1].line, checks[2].line}), (std::array{3, 2, 0}));
  rectiline_reset_failed_checks();
  expectOk(rectiline_failed_checks(nullptr, 0, &written, &count));
  EXPECT_EQ(written + count, 0U);
}

}  // namespace
