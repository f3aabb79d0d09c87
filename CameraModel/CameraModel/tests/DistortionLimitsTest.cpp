#include <gtest/gtest.h>

#include "CameraCases.h"

namespace CamModel {
namespace {

template <typename P>
class DistortionLimits : public ::testing::Test {};
TYPED_TEST_SUITE(DistortionLimits, Precisions);

TYPED_TEST(DistortionLimits, LinearCamerasAreBoundByImageAndFieldOfView) {
  auto camera = makeCamera<TypeParam>(LINEAR, {}, 10);
  auto& limits = camera.limits;
  camera.principalPoint = {TypeParam(300), TypeParam(250)};
  const double y = 34 * 34 + 25.1 * 25.1;  // of the corner (640, -1), beyond 625 too
  EXPECT_EQ(textPrinted([&] { camera.setupValidDistortionRange({}, true); }), "");
  EXPECT_EQ(limits.distortionLimit, 625);
  EXPECT_NEAR(limits.undistortionLimit, y, 1e-3);
  camera.setupValidDistortionRange({.maxFovDeg = 90, .imageCircleDiameter = 30}, false);
  EXPECT_NEAR(limits.distortionLimit, 1, 1e-6);
  EXPECT_NEAR(limits.undistortionLimit, y, 1e-3);
  camera.setupValidDistortionRange({.imageCircleDiameter = 30, .hasImageCircle = true}, false);
  EXPECT_NEAR(limits.undistortionLimit, 2.25, 1e-6);
  camera.setupMaxDistortionRanges(20);
  EXPECT_NEAR(limits.undistortionLimit, 1, 1e-6);
}

TYPED_TEST(DistortionLimits, FieldOfViewModelHasAClosedForm) {
  auto camera = makeCamera<TypeParam>(FISHEYE_1_PARAMETER, {1.2}, 100);
  EXPECT_EQ(
      textPrinted([&] { camera.setupValidDistortionRange({.maxFovDeg = 60}, true); }),
      "Model FISHEYE_1_PARAMETER. Distortion is valid up-to a radius of 15.7 in the ideal focal "
      "plane\nModel FISHEYE_1_PARAMETER. Undistortion is valid up-to a radius of 127.0 pixels "
      "from the principal point\n");
  const double rd = std::sqrt(std::pow(std::acos(-1.0) / 2.4, 2) - 0.1);
  EXPECT_NEAR(camera.limits.undistortionLimit, rd * rd, 1e-5);
  const double r = std::tan(rd * 1.2) / (2 * std::tan(0.6));
  EXPECT_NEAR(camera.limits.distortionLimit, r * r, 1e-3);
  camera.radialDistortion[0] = TypeParam(0.009);
  camera.setupValidDistortionRange({.maxFovDeg = 90}, false);
  EXPECT_NEAR(camera.limits.distortionLimit, 1, 1e-6);
}

// r (1 - 0.2 r^2) turns back at 1.29: the step of 0.02 to r = 1.30 gains less than 0.005 of itself.
TYPED_TEST(DistortionLimits, MarchStopsWhereTheRadiusTurnsBack) {
  auto camera = makeCamera<TypeParam>(RADIAL_2_PARAMETERS, {-0.2}, 100);
  camera.setupValidDistortionRange({}, false);
  EXPECT_NEAR(camera.limits.distortionLimit, 1.28 * 1.28, 1e-4);
  const double rd = 1.28 * (1 - 0.2 * 1.28 * 1.28);
  EXPECT_NEAR(camera.limits.undistortionLimit, rd * rd, 1e-4);
}

// This lens distorts steadily to the corner (rd = 2), but undistortion does not return r = 1.72.
TYPED_TEST(DistortionLimits, MarchGoesOnWhenUndistortionFails) {
  using P = TypeParam;
  auto camera = makeCamera<P>(RADIAL_2_PARAMETERS, {-0.28, 0.07});
  camera.setupValidDistortionRange({}, false);
  EXPECT_NEAR(std::sqrt(camera.limits.distortionLimit), 2.0, 1e-4);
  const auto rd = [&](P r) { return r * camera.distortionFactor(r * r); };
  const auto miss = [&](P r) { return rd(r) * camera.undistortionFactor(rd(r) * rd(r)) - r; };
  EXPECT_NEAR(std::sqrt(camera.limits.undistortionLimit), rd(P(1.70)), 1e-4);
  EXPECT_LT(std::abs(miss(P(1.70))), 0.005);
  EXPECT_GT(std::abs(miss(P(1.72))), 0.005);
}

// 0.1 x^3 - 0.1 x^2 - 0.9 x + 0.9 = 0.1 (x - 1) (x - 3) (x + 3): both denominators are 0.1 at 1.
TYPED_TEST(DistortionLimits, StayShortOfPoles) {
  auto radial = makeCamera<TypeParam>(RADIAL_6_PARAMETERS, {0, 0, 0, -0.9, -0.1, 0.1}, 10);
  EXPECT_EQ(textPrinted([&] { radial.setMaxDistortionLimits_6paramRadial(); }),
            "Radial polynomial model: root of denominator at 1.000000\n");
  EXPECT_NEAR(radial.limits.distortionLimit, 0.9, 1e-5);
  EXPECT_NE(textPrinted([&] { radial.setupValidDistortionRange({}, false); }), "");
  EXPECT_LT(radial.limits.distortionLimit, 0.91);

  // Here the root counts as a squared radius of the field-of-view model.
  auto fisheye = makeCamera<TypeParam>(FISHEYE_RATIONAL, {1.0, 0, -0.9, -0.1, 0, 0.1}, 10);
  EXPECT_EQ(textPrinted([&] {
              fisheye.setMaxDistortionLimits_fisheyeRational();
            }).find("Rational fisheye model: root of denominator at 1.000000, truncate at 1.3898"),
            0U);
  const double r = std::tan(1.0) / (2 * std::tan(0.5));
  EXPECT_NEAR(fisheye.limits.distortionLimit, r * r - 0.1, 1e-5);
  EXPECT_NE(textPrinted([&] { fisheye.setupValidDistortionRange({}, false); }), "");

  radial.limits = fisheye.limits = {};
  radial.radialDistortion[5] = 0;   // still has a pole, but it is not looked for
  fisheye.radialDistortion[0] = 2;  // the root is past the closed inverse's own pole
  radial.setMaxDistortionLimits_6paramRadial();
  fisheye.setMaxDistortionLimits_fisheyeRational();
  EXPECT_EQ(radial.limits.distortionLimit, 625);
  EXPECT_EQ(fisheye.limits.distortionLimit, 625);
}

TYPED_TEST(DistortionLimits, CoefficientsThatAreNoNumbersLeaveNoRange) {
  using P = TypeParam;
  for (const DistortionModel model :
       {RADIAL_2_PARAMETERS, FISHEYE_4_PARAMETERS, CHEBYSHEV_4_PARAMETERS, FISHEYE_SPLINE_3}) {
    for (const double bad : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
      auto camera = makeCamera<P>(model, {bad});
      camera.limits.distortionLimit = std::numeric_limits<P>::infinity();
      camera.findDistortionLimits();
      EXPECT_EQ(camera.limits.distortionLimit, 0) << modelName(model) << bad;
    }
  }
}

}  // namespace
}  // namespace CamModel
