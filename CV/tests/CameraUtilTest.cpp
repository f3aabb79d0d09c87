#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "AR/CV/Camera/CameraUtil.h"
#include "testing/LogCapture.h"

namespace AR::CV {
namespace {

using namespace CamModel;
using rectiline::testing::LogCapture;

template <typename P>
struct CameraUtil : ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(CameraUtil, Precisions);

TEST(CameraUtilNames, AreThoseOfTheModelsInUpperCase) {
  LogCapture log;
  DistortionModel model = LINEAR;
  for (const DistortionModel named : kDistortionModels) {
    EXPECT_TRUE(radialDistortionModelStringToEnum(modelName(named), model));
    EXPECT_EQ(model, named);
  }
  EXPECT_STREQ(modelName(CHEBYSHEV_4_PARAMETERS), "CHEBYSHEV_4_PARAMETERS");
  EXPECT_FALSE(radialDistortionModelStringToEnum("linear%s", model));
  EXPECT_EQ(log.count("Radial distortion model linear%s not supported (use UPPERCASE)."), 1);
}

constexpr double kMark = 1e-8;  // stands for 0
constexpr int kNoMode = 15;

struct LegacyCase {
  DistortionModel model;
  int mode, modeWithTangential;
  double k[6];
  double oldVec[8];
};

// clang-format off
constexpr LegacyCase kLegacyCases[] = {
    {LINEAR, 0, 0, {1, 2, 3, 4, 5, 6}, {0, 0, 7, 8}},
    {RADIAL_2_PARAMETERS, 2, 3, {1, 0}, {1, kMark, 7, 8}},
    {RADIAL_3_PARAMETERS, 4, 5, {1, 0, 0}, {1, kMark, 7, 8, kMark}},
    {RADIAL_6_PARAMETERS, 6, 7, {1, 2, 3, 4, 0, 6}, {1, 2, 7, 8, 3, 4, kMark, 6}},
    {FISHEYE_1_PARAMETER, 1, 1, {2}, {2, 0, 7, 8}},
    {FISHEYE_4_PARAMETERS, 8, 8, {1, 2, 0, 4}, {1, 2, kMark, 4}},
    // Without a legacy form: reported, the mode unchanged.
    {CHEBYSHEV_4_PARAMETERS, kNoMode, kNoMode, {1, 2, 3, 4}, {0, 0, 7, 8}},
    {DistortionModel(-1), kNoMode, kNoMode, {1}, {0, 0, 7, 8}},
};
// clang-format on

TYPED_TEST(CameraUtil, LegacyVectorHoldsTheModel) {
  using P = TypeParam;
  using Tangential = Math::Vec<P, 2>;
  for (const LegacyCase& c : kLegacyCases) {
    SCOPED_TRACE(int(c.model));
    LogCapture log;
    RDVec<P> k;
    std::copy_n(c.k, 6, k.begin());
    Math::Vec<P, 8> expected, oldVec;
    std::copy_n(c.oldVec, 8, expected.begin());
    std::fill(oldVec.begin(), oldVec.end(), P(9));
    auto mode = OLD_DISTORTION_MODE(kNoMode);
    getOldDistortionVec(c.model, Tangential(), k, oldVec, mode);
    EXPECT_EQ(mode, c.mode);
    getOldDistortionVec(c.model, Tangential(7, 8), k, oldVec, mode);
    EXPECT_EQ(mode, c.modeWithTangential);
    EXPECT_EQ(oldVec, expected);
    EXPECT_EQ(log.count("0 && \"Unhandled enum option\""), c.mode == kNoMode ? 2 : 0);
  }
}

TYPED_TEST(CameraUtil, ChebyshevFormIsTheSameFunction) {
  using P = TypeParam;
  CameraModel<P> models[2];
  CameraModel<P>& fisheye = models[1];
  fisheye.size = {640.5, 480};
  fisheye.radialDistortion = {0.05, -0.02, 0.01, -0.003, 1, 0};
  fisheye.model = FISHEYE_4_PARAMETERS;
  const CameraModel<P> before = fisheye;
  LogCapture log;
  convert4ParamFisheyeModelToChebyshev<P>(models);
  EXPECT_EQ(log.count("Convert camera to CHEBYSHEV_4_PARAMETERS model"), 1);
  EXPECT_EQ(models[0].model, LINEAR);
  EXPECT_EQ(fisheye.model, CHEBYSHEV_4_PARAMETERS);
  EXPECT_EQ(fisheye.size[0], 640);
  EXPECT_EQ(fisheye.radialDistortion[4], 0);
  for (const P x : {P(0), P(0.00005), P(0.5), P(20)}) {
    EXPECT_NEAR(fisheye.distortionFactor(x), before.distortionFactor(x),
                8 * std::numeric_limits<P>::epsilon());
  }
}

}  // namespace
}  // namespace AR::CV
