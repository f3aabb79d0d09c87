#include <gtest/gtest.h>

#include "CameraCases.h"
#include "CameraModel/DistortionTraits.h"

namespace CamModel {
namespace {

template <typename P>
class Factors : public ::testing::Test {};
TYPED_TEST_SUITE(Factors, Precisions);

TYPED_TEST(Factors, FollowTheDefinitionOfTheirModel) {
  using P = TypeParam;
  const double eps = 20 * std::numeric_limits<P>::epsilon();
  for (const CameraCase& c : kCases) {
    SCOPED_TRACE(c.name);
    const auto camera = makeCamera<P>(c.model, c.k);
    const RDVec<double> k = camera.radialDistortion.template cast<double>();
    for (const double r : {0.001, 0.0031, 0.0033, 0.0099, 0.0101, 0.1, 0.5, 0.6, 1.0, 1.8, 4.0}) {
      const P x = P(r * r);
      const double expected = referenceFactor(c.model, k, std::sqrt(double(x)));
      const double ofSeries = x < P(0.0001) ? 40.0 * x * x : 0;  // terms it leaves out
      EXPECT_NEAR(camera.distortionFactor(x), expected, eps * std::abs(expected) + ofSeries) << r;
    }
    const bool hasOmega = findTraits<P>(c.model)->checkOmega;
    const double centre = hasOmega ? 2 * std::tan(k[0] / 2) / k[0] : 1;
    EXPECT_NEAR(camera.distortionFactor(P(0)), centre, eps);
    // The argument's precision is free.
    EXPECT_NEAR(camera.distortionFactor(0.25F), camera.distortionFactor(0.25), 1e-6);
    EXPECT_NEAR(camera.undistortionFactor(0.04F), camera.undistortionFactor(0.04), 1e-5);
  }
}

TYPED_TEST(Factors, RadiusGrowsAndReturnsWithinTheLimits) {
  using P = TypeParam;
  for (const CameraCase& c : kCases) {
    SCOPED_TRACE(c.name);
    auto camera = makeCamera<P>(c.model, c.k);
    camera.setupValidDistortionRange({}, false);
    P previous = 0;
    int tested = 0;
    for (P r = P(0.01); r < 3 && r * r < camera.limits.distortionLimit; r += P(0.01)) {
      const P rd = r * camera.distortionFactor(r * r);
      EXPECT_GT(rd, previous) << r;
      previous = rd;
      if (!(rd * rd <= camera.limits.undistortionLimit)) break;
      EXPECT_NEAR(rd * camera.undistortionFactor(rd * rd), r, c.tolRoundTrip) << r;
      ++tested;
    }
    EXPECT_GT(tested, 60);
  }
}

TYPED_TEST(Factors, IterationStaysWithinTheDistortionLimit) {
  using P = TypeParam;
  auto camera = makeCamera<P>(RADIAL_2_PARAMETERS, {-0.05});
  camera.limits.distortionLimit = P(0.25);
  EXPECT_EQ(camera.undistortionFactor(P(4)), 1 / camera.distortionFactor(P(0.25)));
}

TYPED_TEST(Factors, ClosedInverseTakesOmegaAsItIs) {
  using P = TypeParam;
  auto camera = makeCamera<P>(FISHEYE_1_PARAMETER, {2.0});
  EXPECT_NEAR(camera.undistortionFactor(P(0.25)), std::tan(1.0) / std::tan(1.0), 1e-6);
  EXPECT_NEAR(camera.undistortionFactor(P(0)), 1 / std::tan(1.0), 1e-6);
  camera.radialDistortion[0] = 0;  // the factor takes 1e-4 here
  EXPECT_TRUE(std::isnan(camera.undistortionFactor(P(1))));
  EXPECT_NEAR(camera.distortionFactor(P(1)), 1, 1e-6);
}

TYPED_TEST(Factors, SplineTakesWhatIsNoNumber) {
  const auto camera = makeCamera<TypeParam>(FISHEYE_SPLINE_3, {0.1, 0.1, 0.2, 0.1, 0.3, 0.1});
  EXPECT_EQ(camera.template distort_FisheyeSpline<3>(0.25), camera.distortionFactor(0.25));
  EXPECT_TRUE(std::isnan(camera.distortionFactor(std::numeric_limits<TypeParam>::quiet_NaN())));
  EXPECT_EQ(camera.distortionFactor(std::numeric_limits<TypeParam>::infinity()), 0);
}

TEST(FactorsDeathTest, UnknownModelsEndTheProcess) {
  for (const DistortionModel model : {DistortionModel(9), DistortionModel(-1)}) {
    auto camera = makeCamera<float>(model, {});
    EXPECT_FALSE(isKnownModel(model));
    EXPECT_EQ(findTraits<float>(model), nullptr);
    EXPECT_DEATH((void)modelName(model), "0 && \"Unhandled distortion model\"");
    EXPECT_DEATH((void)maxNumRadialDistortionCoeffs(model), "0 && \"Unhandled distortion model\"");
    EXPECT_DEATH((void)camera.distortionFactor(1.0F), "0 && \"Distortion model not implemented\"");
    EXPECT_DEATH((void)camera.undistortionFactor(1.0F),
                 "0 && \"Undistortion model not implemented\"");
  }
}

}  // namespace
}  // namespace CamModel
