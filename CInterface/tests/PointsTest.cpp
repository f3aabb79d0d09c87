// Points and scaled cameras of the C interface.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <vector>

#include "AR/CV/Camera/Camera.h"
#include "Errors.h"
#include "rectiline/rectiline.h"
#include "testing/Lenses.h"

namespace {

using rectiline::capi::testing::expectOk;
using rectiline::testing::kLenses;

CameraCalibrationZEL cameraOf(const rectiline::testing::Lens& lens) {
  CameraCalibrationZEL camera{};
  camera.intrinsics = rectiline::testing::intrinsicsOf(lens);
  camera.pose.orientation.w = 1;
  return camera;
}

struct Points {
  explicit Points(std::size_t n) : pixels(2 * n), rays(3 * n), reasons(n) {}
  std::vector<double> pixels, rays;
  std::vector<std::uint8_t> reasons;
};

/// Pixels over the whole image and some way around it.
Points gridAround(const CameraCalibrationZEL& camera) {
  constexpr int kSteps = 40;
  Points grid((kSteps + 1) * (kSteps + 1));
  for (int i = 0; i < (kSteps + 1) * (kSteps + 1); ++i) {
    const double s = -0.2 + 1.4 * (i % (kSteps + 1)) / kSteps;
    const double t = -0.2 + 1.4 * (i / (kSteps + 1)) / kSteps;
    grid.pixels[2 * i] = s * camera.intrinsics.width;
    grid.pixels[2 * i + 1] = t * camera.intrinsics.height;
  }
  return grid;
}

bool isAnswer(std::uint8_t reason) {
  return reason == RECTILINE_PIXEL_OK || reason == RECTILINE_PIXEL_OK_PAST_LAST_CENTRE ||
         reason == RECTILINE_PIXEL_OUTSIDE_IMAGE;
}

TEST(PointsTest, PixelsAndRaysReturnToEachOtherForEveryLens) {
  for (const auto& lens : kLenses) {
    SCOPED_TRACE(lens.name);
    const CameraCalibrationZEL camera = cameraOf(lens);
    Points p = gridAround(camera);
    const std::size_t n = p.reasons.size();
    expectOk(
        rectiline_pixels_to_rays(&camera, n, p.pixels.data(), p.rays.data(), p.reasons.data()));
    std::vector<double> back(2 * n);
    std::vector<std::uint8_t> backReasons(n);
    expectOk(rectiline_rays_to_pixels(&camera, n, p.rays.data(), back.data(), backReasons.data()));
    std::size_t answers = 0;
    for (std::size_t i = 0; i < n; ++i) {
      const double* const ray = &p.rays[3 * i];
      if (!isAnswer(p.reasons[i])) {
        EXPECT_TRUE(std::isnan(ray[0]) && std::isnan(ray[1]) && std::isnan(ray[2]));
        EXPECT_EQ(backReasons[i], RECTILINE_PIXEL_BEHIND_CAMERA) << "of a ray that is none";
        continue;
      }
      ++answers;
      EXPECT_NEAR(std::hypot(ray[0], ray[1], ray[2]), 1, 1e-14);
      // At the very edge of the tables' range a ray may lie just outside of it.
      if (backReasons[i] == RECTILINE_PIXEL_BEYOND_DISTORTION) continue;
      ASSERT_EQ(backReasons[i], p.reasons[i]);
      ASSERT_NEAR(back[2 * i], p.pixels[2 * i], 1e-9);
      ASSERT_NEAR(back[2 * i + 1], p.pixels[2 * i + 1], 1e-9);
    }
    EXPECT_GT(answers, n / 4);
  }
}

/// The raw pixel of a ray by the published formula alone, for a lens whose formula is short.
std::array<double, 2> radialPixel(const IntrinsicCameraCalibrationZEL& in, double x, double y) {
  const double* const k = in.distortion;
  const double r2 = x * x + y * y;
  const double F = 1 + k[0] * r2 + k[1] * r2 * r2;
  const double p1 = k[6], p2 = k[7];
  return {
      in.principal_point_x + in.focal_length_x * (F * x + 2 * p1 * x * y + p2 * (r2 + 2 * x * x)),
      in.principal_point_y + in.focal_length_y * (F * y + p1 * (r2 + 2 * y * y) + 2 * p2 * x * y)};
}

TEST(PointsTest, RaysOfAnyLengthGoByTheFormula) {
  const CameraCalibrationZEL camera = cameraOf(rectiline::testing::lensNamed("radial2+tangential"));
  for (const double scale : {1e-200, 0.01, 1.0, 1e200}) {
    const double rays[] = {0.3 * scale, -0.2 * scale, 1.0 * scale, 0, 0, scale};
    double pixels[4];
    std::uint8_t reasons[2];
    expectOk(rectiline_rays_to_pixels(&camera, 2, rays, pixels, reasons));
    const auto exact = radialPixel(camera.intrinsics, 0.3, -0.2);
    EXPECT_NEAR(pixels[0], exact[0], 1e-10);
    EXPECT_NEAR(pixels[1], exact[1], 1e-10);
    EXPECT_EQ(pixels[2], camera.intrinsics.principal_point_x);
    EXPECT_EQ(reasons[0], RECTILINE_PIXEL_OK);
  }
}

TEST(PointsTest, EveryPointWithoutAnAnswerHasItsReason) {
  const CameraCalibrationZEL camera = cameraOf(rectiline::testing::lensNamed("fisheye4"));
  const double w = camera.intrinsics.width;
  const double h = camera.intrinsics.height;
  const struct {
    double ray[3];
    rectiline_pixel reason;
  } rays[] = {
      {{0, 0, 1}, RECTILINE_PIXEL_OK},
      {{0, 0, -1}, RECTILINE_PIXEL_BEHIND_CAMERA},
      {{1, 0, 0}, RECTILINE_PIXEL_BEHIND_CAMERA},
      {{0, 0, 0}, RECTILINE_PIXEL_BEHIND_CAMERA},
      {{0, 0, NAN}, RECTILINE_PIXEL_BEHIND_CAMERA},
      {{1.2, 0, 1}, RECTILINE_PIXEL_OUTSIDE_IMAGE},
      {{0, 50, 1}, RECTILINE_PIXEL_BEYOND_DISTORTION},
  };
  for (const auto& c : rays) {
    double pixel[2] = {-7, -7};
    std::uint8_t reason = 99;
    expectOk(rectiline_rays_to_pixels(&camera, 1, c.ray, pixel, &reason));
    EXPECT_EQ(reason, c.reason) << c.ray[0] << " " << c.ray[1] << " " << c.ray[2];
    EXPECT_EQ(std::isnan(pixel[0]), !isAnswer(c.reason));
  }
  const struct {
    double pixel[2];
    rectiline_pixel reason;
  } pixels[] = {
      {{0, 0}, RECTILINE_PIXEL_OK},
      {{w - 1, 10}, RECTILINE_PIXEL_OK},
      {{w - 0.5, 10}, RECTILINE_PIXEL_OK_PAST_LAST_CENTRE},
      {{10, h - 0.5}, RECTILINE_PIXEL_OK_PAST_LAST_CENTRE},
      {{w, 10}, RECTILINE_PIXEL_OUTSIDE_IMAGE},
      {{-0.01, 10}, RECTILINE_PIXEL_OUTSIDE_IMAGE},
      {{1e6, 10}, RECTILINE_PIXEL_BEYOND_DISTORTION},
      {{NAN, 10}, RECTILINE_PIXEL_BEYOND_DISTORTION},
  };
  for (const auto& c : pixels) {
    double ray[3];
    std::uint8_t reason = 99;
    expectOk(rectiline_pixels_to_rays(&camera, 1, c.pixel, ray, &reason));
    EXPECT_EQ(reason, c.reason) << c.pixel[0];
  }
}

rectiline_view turnedView(rectiline_projection projection, int axis) {
  rectiline_view view{};
  view.struct_size = sizeof view;
  view.projection = projection;
  view.width = 500;
  view.height = 400;
  view.fx = view.fy = 300;
  view.cx = 255.5;
  view.cy = 190;
  view.axis = axis;
  const double c = std::cos(0.1), s = std::sin(0.1);
  const double R[] = {c, 0, s, 0, 1, 0, -s, 0, c};
  std::copy(std::begin(R), std::end(R), view.R_camera_view);
  return view;
}

TEST(PointsTest, ViewsAreGoneThroughBothWays) {
  const CameraCalibrationZEL camera = cameraOf(rectiline::testing::lensNamed("fisheye4"));
  for (const auto& [projection, axis] : {std::pair(RECTILINE_PINHOLE, 0),
                                         {RECTILINE_LATITUDE_LONGITUDE, 0},
                                         {RECTILINE_LATITUDE_LONGITUDE, 1}}) {
    SCOPED_TRACE(::testing::Message() << projection << ", axis " << axis);
    const rectiline_view view = turnedView(projection, axis);
    Points p = gridAround(camera);
    const std::size_t n = p.reasons.size();
    std::vector<double> inView = p.pixels;  // converted in place
    expectOk(rectiline_pixels_to_view(&camera, &view, n, inView.data(), inView.data(),
                                      p.reasons.data()));
    std::vector<double> back(2 * n);
    expectOk(rectiline_view_to_pixels(&camera, &view, n, inView.data(), back.data(), nullptr));
    int answers = 0;
    for (std::size_t i = 0; i < n; ++i) {
      if (!isAnswer(p.reasons[i]) || std::isnan(back[2 * i])) continue;
      ++answers;
      ASSERT_NEAR(back[2 * i], p.pixels[2 * i], 1e-8);
      ASSERT_NEAR(back[2 * i + 1], p.pixels[2 * i + 1], 1e-8);
      const bool inImage = inView[2 * i] >= 0 && inView[2 * i] < view.width &&
                           inView[2 * i + 1] >= 0 && inView[2 * i + 1] < view.height;
      EXPECT_EQ(p.reasons[i] == RECTILINE_PIXEL_OUTSIDE_IMAGE, !inImage);
    }
    EXPECT_GT(answers, 400);
  }
  for (const auto& [projection, beyond] :
       {std::pair(RECTILINE_PINHOLE, 25.0), {RECTILINE_LATITUDE_LONGITUDE, 1.6}}) {
    const rectiline_view view = turnedView(projection, 0);
    const double beyondTheView[] = {view.cx - view.fx * beyond, view.cy};
    double pixel[2];
    std::uint8_t reason = 99;
    expectOk(rectiline_view_to_pixels(&camera, &view, 1, beyondTheView, pixel, &reason));
    EXPECT_EQ(reason, RECTILINE_PIXEL_NO_INVERSE);
  }
}

TEST(ScaledCameraTest, RaysStayWhereTheImageWent) {
  CameraCalibrationZEL camera = cameraOf(rectiline::testing::lensNamed("radial3"));
  camera.line_time_ns = 30000;
  camera.rs_center_row = 240;
  const struct {
    double sx, sy;
    int cropX, cropY, width, height;
    int expectedWidth, expectedHeight;
  } cases[] = {{1, 1, 0, 0, 0, 0, 640, 480},
               {0.5, 0.5, 0, 0, 0, 0, 320, 240},
               {2, 1.5, 0, 0, 0, 0, 1280, 720},
               {1, 1, 100, 50, 0, 0, 540, 430},
               {0.5, 0.25, 20, 10, 250, 100, 250, 100}};
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.sx << " " << c.sy << " " << c.cropX);
    CameraCalibrationZEL scaled = camera;
    expectOk(
        rectiline_scaled_camera(&camera, c.sx, c.sy, c.cropX, c.cropY, c.width, c.height, &scaled));
    EXPECT_EQ(scaled.intrinsics.width, c.expectedWidth);
    EXPECT_EQ(scaled.intrinsics.height, c.expectedHeight);
    const double pixel[] = {300, 200};
    // The centre of a pixel of the scaled image is the centre of the pixels that made it.
    const double moved[] = {(pixel[0] + 0.5) * c.sx - 0.5 - c.cropX,
                            (pixel[1] + 0.5) * c.sy - 0.5 - c.cropY};
    double ray[3], scaledRay[3];
    expectOk(rectiline_pixels_to_rays(&camera, 1, pixel, ray, nullptr));
    expectOk(rectiline_pixels_to_rays(&scaled, 1, moved, scaledRay, nullptr));
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(ray[k], scaledRay[k], 1e-12);
    // A row is read as long as the rows that made it.
    EXPECT_EQ(scaled.line_time_ns, std::llround(30000 / c.sy));
    EXPECT_NEAR(scaled.rs_center_row, 240.5 * c.sy - 0.5 - c.cropY, 0.5);
  }
}

}  // namespace
