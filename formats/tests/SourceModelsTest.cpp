// Formulas of foreign lens models against values that were computed outside this code base: by
// OpenCV 4.6 (projectPoints, fisheye, omnidir) and, where it has no such model, in Python from the
// papers' equations.

#include <gtest/gtest.h>

#include <cmath>

#include "Excerpts.h"
#include "TestFiles.h"
#include "models/SourceModel.h"
#include "rectiline/rectiline.h"

namespace rectiline::formats {
namespace {

struct ModelCase {
  const SourceModel& model;
  LensParameters lens;
  Vec2 first, second;  // positions of (0.3, -0.2, 1) and (-0.5, 0.4, 1)
};

const LensParameters kBrown{.k1 = -0.28,
                            .k2 = 0.07,
                            .k3 = 0.01,
                            .k4 = 0.02,
                            .k5 = -0.03,
                            .k6 = 0.004,
                            .p1 = 1e-3,
                            .p2 = -2e-3,
                            .s1 = 1e-3,
                            .s2 = -2e-3,
                            .s3 = 3e-3,
                            .s4 = 4e-4,
                            .tx = 0.02,
                            .ty = -0.03};

const ModelCase kModels[] = {
    {kBrownConrady,
     kBrown,
     {0.28971543547601009, -0.19250184259916461},
     {-0.44683698951927237, 0.35821569465205227}},
    {kKannalaBrandt,
     {.k1 = 0.05, .k2 = -0.02, .k3 = 0.003, .k4 = -0.0004},
     {0.28957128382549724, -0.19304752255033153},
     {-0.4510525521955851, 0.36084204175646811}},
    {kOmnidirectional,
     {.k1 = -0.2, .k2 = 0.05, .p1 = 1e-3, .p2 = -2e-3, .xi = 1.3},
     {0.12524456267805939, -0.083504012916146023},
     {-0.19445820453453597, 0.15552854333465599}},
    {kDoubleSphere,
     {.xi = -0.17, .alpha = 0.59},
     {0.3472117245767613, -0.2314744830511742},
     {-0.5370870405551401, 0.42966963244411216}},
    {kUnified,
     {.alpha = 0.59, .beta = 1.127},
     {0.2879786971611399, -0.1919857981074266},
     {-0.44507549781588945, 0.3560603982527116}},
    {kFieldOfView,
     {.omega = 0.92},
     {0.31033624074442767, -0.20689082716295182},
     {-0.4798865109076984, 0.38390920872615875}},
    {kRational6KT,
     {.k1 = 0.67,
      .k2 = -2.7,
      .k3 = 1.5,
      .k4 = 0.55,
      .k5 = -2.6,
      .k6 = 1.46,
      .p1 = -8e-4,
      .p2 = 3e-3,
      .codx = 1e-3,
      .cody = 2e-3},
     {0.30504152724746253, -0.20309770107286765},
     {-0.5168812810111674, 0.4145303328527836}},
    {kThinPrismFisheye,
     {.k1 = 0.05,
      .k2 = -0.02,
      .k3 = 0.003,
      .k4 = -0.0004,
      .p1 = 1e-3,
      .p2 = -2e-3,
      .s1 = 3e-3,
      .s2 = -4e-3},
     {0.2892488840760184, -0.19311200250022725},
     {-0.4518357868032562, 0.3607550156889492}},
};

Vec3 unit(double x, double y, double z) {
  const double length = std::hypot(x, y, z);
  return {x / length, y / length, z / length};
}

TEST(SourceModels, ProjectAsComputedElsewhere) {
  for (const ModelCase& c : kModels) {
    SCOPED_TRACE(c.model.name);
    Vec2 p{};
    ASSERT_TRUE(c.model.tryProject(c.lens, unit(0.3, -0.2, 1), p));
    EXPECT_NEAR(p[0], c.first[0], 1e-13);
    EXPECT_NEAR(p[1], c.first[1], 1e-13);
    ASSERT_TRUE(c.model.tryProject(c.lens, unit(-0.5, 0.4, 1), p));
    EXPECT_NEAR(p[0], c.second[0], 1e-13);
    EXPECT_NEAR(p[1], c.second[1], 1e-13);
    const bool isOurs = &c.model == &kKannalaBrandt || &c.model == &kFieldOfView;
    IntrinsicCameraCalibrationZEL ours{};
    EXPECT_EQ(c.model.convert != nullptr && c.model.convert(c.lens, ours).empty(), isOurs);
  }
}

class FitTest : public FilesTest {};

TEST_F(FitTest, FollowsADoubleSphere) {
  ReadOptions options;
  options.fit = true;
  const Calibration read = readCalibration(filesOf({kBasaltDoubleSphere}), options);
  ASSERT_EQ(read.cameras.size(), 2);
  // The pixels of (-0.3, 0.25, 1) by the paper's equations.
  const Vec2 expected[2] = {{234.0891741751401, 358.8437295568692},
                            {247.9052208391483, 365.23412240209325}};
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(read.cameras[static_cast<std::size_t>(i)].isFitted);
    EXPECT_LT(*read.cameras[static_cast<std::size_t>(i)].greatestDifference, kGreatestDifference);
    const double ray[3] = {-0.3, 0.25, 1};
    double pixel[2] = {};
    ASSERT_EQ(rectiline_rays_to_pixels(&read.device.cameras[i], 1, ray, pixel, nullptr),
              RECTILINE_OK);
    EXPECT_NEAR(pixel[0], expected[i][0], 5e-4);
    EXPECT_NEAR(pixel[1], expected[i][1], 5e-4);
  }
}

TEST_F(FitTest, SaysHowFarOffTheClosestIs) {
  ReadOptions options;
  options.fit = true;
  const Calibration read = readCalibration(filesOf({kAzure}), options);
  // A shifted centre of distortion is no principal point: the closest is off, by what is said.
  EXPECT_GT(*read.cameras[0].greatestDifference, 0.01);
  EXPECT_LT(*read.cameras[0].greatestDifference, 0.2);
  EXPECT_NE(read.notes[0].find("codx"), std::string::npos);
  // The depth camera's metric radius; its lens ends at an angle of 60 degrees.
  EXPECT_EQ(read.device.cameras[0].intrinsics.distortion_limit, 1.7389928102493286);
  EXPECT_NEAR(read.device.cameras[0].intrinsics.undistortion_limit, 1.0158, 0.001);
  const double rays[2][3] = {{1.7, 0, 1}, {1.8, 0, 1}};
  double pixels[2][2] = {};
  ASSERT_EQ(rectiline_rays_to_pixels(&read.device.cameras[0], 2, rays[0], pixels[0], nullptr),
            RECTILINE_OK);
  EXPECT_FALSE(std::isnan(pixels[0][0]));
  EXPECT_TRUE(std::isnan(pixels[1][0]));
  // Skew alone is nothing but the best compromise of the same model.
  const std::string skewed =
      edited(kOpenCvXml, "5.3341652746401496e+02 0.", "5.3341652746401496e+02 0.01");
  EXPECT_LT(*readCalibration(filesOf({skewed}), options).cameras[0].greatestDifference, 0.01);
}

}  // namespace
}  // namespace rectiline::formats
