// Points and scaled cameras of the C interface.

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "Calls.h"
#include "rectiline/rectiline.h"
#include "testing/ExactModel.h"
#include "testing/Lenses.h"

namespace {

using namespace rectiline::capi::testing;

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
  constexpr int kSteps = 41;
  Points grid(kSteps * kSteps);
  for (std::size_t i = 0; i < grid.reasons.size(); ++i) {
    const double s = -0.2 + 0.035 * static_cast<double>(i % kSteps);
    const double t = -0.2 + 0.035 * static_cast<double>(i / kSteps);
    grid.pixels[2 * i] = s * camera.intrinsics.width;
    grid.pixels[2 * i + 1] = t * camera.intrinsics.height;
  }
  return grid;
}

bool isAnswer(std::uint8_t reason) {
  return reason == RECTILINE_PIXEL_OK || reason == RECTILINE_PIXEL_OK_PAST_LAST_CENTRE ||
         reason == RECTILINE_PIXEL_OUTSIDE_IMAGE;
}

TEST(PointsTest, PixelsAndRaysReturnToEachOtherByTheFormulaOfEveryLens) {
  for (const auto& lens : rectiline::testing::kLenses) {
    SCOPED_TRACE(lens.name);
    const CameraCalibrationZEL camera = cameraOf(lens);
    const rectiline::testing::ExactModel exact(camera.intrinsics);
    Points p = gridAround(camera);
    const std::size_t n = p.reasons.size();
    expectOk(
        rectiline_pixels_to_rays(&camera, n, p.pixels.data(), p.rays.data(), p.reasons.data()));
    Points back(n);
    expectOk(rectiline_rays_to_pixels(&camera, n, p.rays.data(), back.pixels.data(),
                                      back.reasons.data()));
    std::size_t answers = 0;
    for (std::size_t i = 0; i < n; ++i) {
      const double* const ray = &p.rays[3 * i];
      if (!isAnswer(p.reasons[i])) {
        EXPECT_TRUE(std::isnan(ray[0]) && std::isnan(ray[1]) && std::isnan(ray[2]));
        EXPECT_EQ(back.reasons[i], RECTILINE_PIXEL_BEHIND_CAMERA) << "of a ray that is none";
        continue;
      }
      ++answers;
      EXPECT_NEAR(std::hypot(ray[0], ray[1], ray[2]), 1, 1e-14);
      const double u = p.pixels[2 * i], v = p.pixels[2 * i + 1];
      EXPECT_LT(exact.distance(ray[0] / ray[2], ray[1] / ray[2], u, v), 1e-8);
      // At the very edge of the tables' range a ray may lie just outside of it.
      if (back.reasons[i] == RECTILINE_PIXEL_BEYOND_DISTORTION) continue;
      ASSERT_EQ(back.reasons[i], p.reasons[i]);
      ASSERT_LT(std::hypot(back.pixels[2 * i] - u, back.pixels[2 * i + 1] - v), 1e-9);
    }
    EXPECT_GT(answers, n / 4);
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
      {{0, 0, 1e-200}, RECTILINE_PIXEL_OK},
      {{1e200, 0, 2e200}, RECTILINE_PIXEL_OK},
      {{0, 0, -1}, RECTILINE_PIXEL_BEHIND_CAMERA},
      {{1, 0, 0}, RECTILINE_PIXEL_BEHIND_CAMERA},
      {{1, 0, 0.009}, RECTILINE_PIXEL_BEHIND_CAMERA},
      {{1, 0, 0.011}, RECTILINE_PIXEL_BEYOND_DISTORTION},
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
      {{-1e-5, -1e-5}, RECTILINE_PIXEL_OK},  // what rounding makes of 0
      {{w - 1, h - 1}, RECTILINE_PIXEL_OK},
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
    EXPECT_EQ(reason, c.reason) << c.pixel[0] << " " << c.pixel[1];
  }
}

TEST(PointsTest, ViewsEndWhereTheyHaveNoRays) {
  const CameraCalibrationZEL camera = cameraOf(rectiline::testing::lensNamed("fisheye4"));
  const struct {
    rectiline_projection projection;
    int axis;
    double end;  // in focal lengths
  } cases[] = {{RECTILINE_PINHOLE, 0, 25},
               {RECTILINE_LATITUDE_LONGITUDE, 0, 1.6},
               {RECTILINE_LATITUDE_LONGITUDE, 1, 1.6}};
  for (const auto& c : cases) {
    const rectiline_view view = frontalView(c.projection, c.axis);
    double beyond[] = {view.cx, view.cy};
    beyond[c.axis] -= view.fx * c.end;
    double pixel[2];
    std::uint8_t reason = 99;
    expectOk(rectiline_view_to_pixels(&camera, &view, 1, beyond, pixel, &reason));
    EXPECT_EQ(reason, RECTILINE_PIXEL_NO_INVERSE) << c.projection << ", axis " << c.axis;
  }
}

TEST(ScaledCameraTest, RaysStayWhereTheImageWent) {
  CameraCalibrationZEL camera = cameraOf(rectiline::testing::lensNamed("radial3"));
  camera.line_time_ns = 30000;
  camera.rs_center_row = 240;
  const struct {
    double sx, sy;
    int cropX, cropY, width, height, expectedWidth, expectedHeight;
  } cases[] = {{1, 1, 0, 0, 0, 0, 640, 480},
               {0.5, 0.5, 0, 0, 0, 0, 320, 240},
               {2, 1.5, 0, 0, 0, 0, 1280, 720},
               {1, 1, 100, 50, 0, 0, 540, 430},
               {0.5, 0.25, 20, 10, 250, 100, 250, 100},
               {0.3335, 1, 0, 0, 214, 0, 214, 480}};  // 213.44 columns, rounded up
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.sx << " " << c.sy << " " << c.cropX);
    CameraCalibrationZEL scaled;
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
