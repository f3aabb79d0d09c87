#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "CameraModel/Arctangent.h"
#include "CameraModel/CameraModel.h"
#include "CameraModel/DistortionTraits.h"
#include "CameraModel/IntrinsicRecord.h"
#include "CameraModel/InvertFactors.h"
#include "CameraModel/SolveCubic.h"
#include "testing/ExactModel.h"
#include "testing/Lenses.h"
#include "testing/LogCapture.h"

namespace CamModel {
namespace {

using rectiline::testing::ExactModel;
using rectiline::testing::kLenses;
using rectiline::testing::Lens;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

template <typename P>
class CameraModelTest : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(CameraModelTest, Precisions);

/// A camera of 640 x 480 pixels whose corners are at a radius of about 400 / f.
template <typename P>
CameraModel<P> makeCamera(DistortionModel model, const double (&k)[MAX_RD_PARAMS], double f = 200) {
  CameraModel<P> camera;
  camera.size = {640, 480};
  camera.principalPoint = {320, 240};
  camera.focalLength = {f, f};
  camera.radialDistortion = {k[0], k[1], k[2], k[3], k[4], k[5]};
  camera.model = model;
  return camera;
}

template <typename P>
CameraModel<P> makeCamera(const Lens& lens) {
  CameraModel<P> camera(rectiline::testing::intrinsicsOf(lens));
  camera.limits = {};
  return camera;
}

TYPED_TEST(CameraModelTest, FactorsFollowTheDefinitionOfTheirModelAndReturn) {
  using P = TypeParam;
  for (const Lens& lens : kLenses) {
    SCOPED_TRACE(lens.name);
    const auto camera = makeCamera<P>(lens);
    const ExactModel exact(toRecord(camera));
    for (const double x : {0., 9e-6, 9e-5, 1.1e-4, 0.04, 0.25, 0.64, 1., 3.24}) {
      // Near the centre the first-order series may be off by its next term.
      const double eps = 10 * double(std::numeric_limits<P>::epsilon()) + (x < 1e-4 ? 1e-7 : 1e-9);
      EXPECT_NEAR(camera.distortionFactor(P(x)), exact.factor(std::sqrt(double(P(x)))), eps) << x;
    }
    for (const P r : {P(0.001), P(0.5), P(0.8)}) {
      const double rd = r * camera.distortionFactor(r * r);
      EXPECT_NEAR(rd * camera.undistortionFactor(rd * rd), r, 3e-6 * r);
    }
  }
}

TYPED_TEST(CameraModelTest, InverseStaysWithinTheDistortionLimitAndTakesOmegaAsItIs) {
  using P = TypeParam;
  auto camera = makeCamera<P>(RADIAL_2_PARAMETERS, {-0.05});
  camera.limits.distortionLimit = P(0.25);
  EXPECT_EQ(camera.undistortionFactor(P(4)), 1 / camera.distortionFactor(P(0.25)));
  camera.model = FISHEYE_1_PARAMETER;
  camera.radialDistortion[0] = 0;  // the factor takes 1e-4 here
  EXPECT_TRUE(std::isnan(camera.undistortionFactor(P(1))));
  EXPECT_NEAR(camera.distortionFactor(P(1)), 1, 1e-6);
  camera.model = FISHEYE_SPLINE_3;
  EXPECT_EQ(camera.template distort_FisheyeSpline<3>(0.25), camera.distortionFactor(0.25));
  EXPECT_TRUE(std::isnan(camera.distortionFactor(std::numeric_limits<P>::quiet_NaN())));
  EXPECT_EQ(camera.distortionFactor(std::numeric_limits<P>::infinity()), 0);
}

TEST(Arctangent, IsGoodToOneUlp) {
  EXPECT_TRUE(std::isnan(arctangent(std::numeric_limits<float>::quiet_NaN())));
  EXPECT_EQ(arctangent(-std::numeric_limits<float>::infinity()), static_cast<float>(-M_PI / 2));
  for (float x = 1e-9F; x < 1e9F; x *= 1.001F) {
    const double exact = std::atan(double(x));
    const float a = arctangent(x);
    ASSERT_NEAR(a, exact, std::nextafter(a, 9.F) - a) << x;
    ASSERT_EQ(arctangent(-x), -a);
  }
}

// Some settle at once, some stop at the limit, some never settle: the lenses at their ends, and
// behind them, where a closed form may have no value.
TYPED_TEST(CameraModelTest, RadiiSideBySideAreThoseOfEachAlone) {
  using P = TypeParam;
  for (const Lens& lens : kLenses) {
    SCOPED_TRACE(lens.name);
    const auto camera = makeCamera<P>(lens);
    std::vector<P> y(3 * kRadiiAtOnce + 5), G(y.size());
    for (std::size_t i = 0; i < y.size(); ++i) y[i] = P(i * i) / 500;
    y[7] = P(kNan);
    camera.undistortionFactors(y, G);
    for (std::size_t i = 0; i < y.size(); ++i) {
      const P g = camera.undistortionFactor(y[i]);
      EXPECT_TRUE(G[i] == g || (std::isnan(G[i]) && std::isnan(g)))
          << y[i] << " " << G[i] << " " << g;
    }
  }
}

TEST(Derivatives, AgreeWithDifferences) {
  for (const Lens& lens : kLenses) {
    const auto& traits = *findTraits<double>(lens.model);
    const RDVec<double> k = makeCamera<double>(lens).radialDistortion;
    for (const double x : {5e-6, 5e-5, 2e-4, 0.04, 0.64, 3.24}) {
      SCOPED_TRACE(std::string(lens.name) + " at " + std::to_string(x));
      const bool small = x < 0.0001;
      RDVec<double> J;
      double dFdx;
      const double F = traits.derivative(k, x, J, dFdx);
      // Near the centre the four-parameter fisheye gives its polynomial alone.
      const double offset = small && lens.model == FISHEYE_4_PARAMETERS ? x / 3 : 0;
      EXPECT_NEAR(F, traits.factor(k, x) + offset, 1e-10);
      const double h = 1e-3 * x;
      const double dF = (traits.factor(k, x + h) - traits.factor(k, x - h)) / (2 * h);
      EXPECT_NEAR(dFdx, dF, (1 + std::abs(dF)) * (small ? 2e-4 : 1e-6));
      for (int i = 0; i < MAX_RD_PARAMS; ++i) {
        RDVec<double> step, unused;
        double ignored;
        step[i] = i < traits.maxCoeffs ? 1e-6 : 0;
        const double dF_i = traits.derivative(k + step, x, unused, ignored) -
                            traits.derivative(k - step, x, unused, ignored);
        EXPECT_NEAR(J[i], dF_i / 2e-6, (1 + std::abs(J[i])) * 1e-6) << i;
      }
    }
  }
}

TEST(Derivatives, OmegaOutOfRangeIsReportedAndBoundedBelow) {
  for (const double omega : {3.15, kNan, 0.0}) {
    rectiline::testing::LogCapture log;
    RDVec<double> J;
    double dFdx;
    const double F =
        findTraits<double>(FISHEYE_1_PARAMETER)->derivative({omega, 0, 0, 0, 0, 0}, 0.5, J, dFdx);
    EXPECT_EQ(log.count("omega > 0 && omega < P(AR_PI)"), 1) << omega;
    EXPECT_TRUE(!(omega <= 0) || std::abs(F + J[0] - 1) < 1e-6) << F << J[0];
  }
}

TEST(CameraModelDeathTest, UnknownModelsEndTheProcess) {
  EXPECT_FALSE(isKnownModel(DistortionModel(-1)));
  const auto camera = makeCamera<float>(DistortionModel(kNumDistortionModels), {});
  EXPECT_DEATH((void)modelName(camera.model), "0 && \"Unhandled distortion model\"");
  EXPECT_DEATH((void)maxNumRadialDistortionCoeffs(camera.model), "0 && \"Unhandled distortion mod");
  EXPECT_DEATH((void)camera.distortionFactor(1.0F), "0 && \"Distortion model not implemented\"");
  EXPECT_DEATH((void)camera.undistortionFactor(1.0F), "0 && \"Undistortion model not impl");
}

/// What `function` writes to standard output.
template <typename Function>
std::string textPrinted(Function function) {
  ::testing::internal::CaptureStdout();
  function();
  return ::testing::internal::GetCapturedStdout();
}

/// The line that validation prints; none for a record that it accepts.
template <typename P>
std::string faultOf(const CameraModel<P>& camera) {
  bool isValid = false;
  std::string text = textPrinted([&] { isValid = camera.validateCoeffs(); });
  EXPECT_EQ(isValid, text.empty());
  return text;
}

TYPED_TEST(CameraModelTest, ValidationNamesTheFirstFault) {
  constexpr char kOmega[] = "must be in the range (0, Pi)\n";
  const struct {
    DistortionModel model;
    double k[MAX_RD_PARAMS];
    const char* fault;
  } rows[] = {
      {LINEAR, {kNan}, "for model LINEAR must have at most 0 nonzero coefficients\n"},
      {FISHEYE_1_PARAMETER, {0}, "rational fisheye model (0.000000) must be in the range"},
      {FISHEYE_1_PARAMETER, {3.1415930}, kOmega},
      {FISHEYE_4_PARAMETERS, {0, 0, 0, 0, kNan}, "at most 4 nonzero"},
      {FISHEYE_RATIONAL, {kNan, 1, 1, 1, 1, 1}, kOmega},
      {FISHEYE_RATIONAL, {3.14, 1, 1, 1, 1, kNan}, ""},
  };
  for (const auto& row : rows) {
    const std::string fault = faultOf(makeCamera<TypeParam>(row.model, row.k));
    EXPECT_THAT(fault, ::testing::HasSubstr(row.fault));
    EXPECT_EQ(fault.empty(), *row.fault == 0) << fault;
  }
  for (const double bad : {0.0, kNan}) {
    for (int i = 0; i < 2; ++i) {
      auto camera = makeCamera<TypeParam>(LINEAR, {});
      camera.principalPoint[i] = bad == 0 ? camera.size[i] : TypeParam(bad);
      EXPECT_EQ(faultOf(camera), "Error: Principal point should be inside the image\n");
      camera.size[i] = TypeParam(bad);
      EXPECT_EQ(faultOf(camera), "Error: Size must be the image size in pixels\n");
      camera.focalLength[i] = TypeParam(bad);
      EXPECT_EQ(faultOf(camera), "Error: Focal length should be positive\n");
    }
  }
}

TYPED_TEST(CameraModelTest, LinearCamerasAreBoundByImageAndFieldOfView) {
  auto camera = makeCamera<TypeParam>(LINEAR, {}, 10);
  auto& limits = camera.limits;
  camera.principalPoint = {300, 250};
  EXPECT_EQ(textPrinted([&] { camera.setupValidDistortionRange({}, true); }), "");
  EXPECT_EQ(limits.distortionLimit, 625);
  EXPECT_NEAR(limits.undistortionLimit, 34 * 34 + 25.1 * 25.1, 1e-3);  // corner (640, -1)
  camera.principalPoint = {340, 230};
  camera.setupValidDistortionRange({.maxFovDeg = 90, .imageCircleDiameter = 30}, false);
  EXPECT_NEAR(limits.distortionLimit, 1, 1e-6);
  EXPECT_NEAR(limits.undistortionLimit, 34.1 * 34.1 + 25 * 25, 1e-3);  // corner (-1, 480)
  camera.focalLength = {5, 15};
  camera.setupValidDistortionRange({179, 30, true}, false);  // degrees, pixels
  EXPECT_EQ(limits.distortionLimit, 625);
  EXPECT_NEAR(limits.undistortionLimit, 2.25, 1e-6);
}

TYPED_TEST(CameraModelTest, FieldOfViewModelHasAClosedForm) {
  auto camera = makeCamera<TypeParam>(FISHEYE_1_PARAMETER, {1.2}, 100);
  EXPECT_EQ(
      textPrinted([&] { camera.setupValidDistortionRange({.maxFovDeg = 60}, true); }),
      "Model FISHEYE_1_PARAMETER. Distortion is valid up-to a radius of 15.7 in the ideal focal "
      "plane\nModel FISHEYE_1_PARAMETER. Undistortion is valid up-to a radius of 127.0 pixels "
      "from the principal point\n");
  camera.radialDistortion[0] = TypeParam(0.009);  // as good as linear
  camera.focalLength = {10, 10};
  camera.setupValidDistortionRange({.maxFovDeg = 90}, false);
  EXPECT_NEAR(camera.limits.distortionLimit, 1, 1e-6);
  EXPECT_EQ(camera.limits.undistortionLimit, 625);
}

// Stopped by a radius that turns back at 1.29, so that the step to 1.30 gains too little; by one
// that gains too much; by the corner, though undistortion failed to return 1.72; by the corner.
// The limits are from an independent program.
TYPED_TEST(CameraModelTest, MarchesOutwardsWhileTheRadiusGrowsSteadily) {
  const struct {
    double k0, k1, focal, r_max, rd_max;
  } rows[] = {{-0.2, 0, 100, 1.28, 0.86057},
              {0, 9, 10, 0.80, 0.537622},
              {-0.28, 0.07, 200, 2.00, 1.31826},
              {0.05, 0, 200, 1.74, 2.003401}};
  for (const auto& row : rows) {
    auto camera = makeCamera<TypeParam>(RADIAL_2_PARAMETERS, {row.k0, row.k1}, row.focal);
    camera.setupValidDistortionRange({}, false);
    EXPECT_NEAR(std::sqrt(camera.limits.distortionLimit), row.r_max, 1e-4);
    EXPECT_NEAR(std::sqrt(camera.limits.undistortionLimit), row.rd_max, 1e-4);
  }
}

// Slopes that change by less than a hundredth of the threshold in a step: (1 - (r / 20)^2)^2 falls
// to 0.005 at 19.279, 1 + 19 (r / 19.2)^2 grows to 20 at 19.2.
TYPED_TEST(CameraModelTest, MarchesAsLongAsTheSlopeIsBetweenItsBounds) {
  using P = TypeParam;
  const struct {
    double k0, k1, r_max;
  } rows[] = {{-1 / 600., 1 / 800000., 19.279}, {19 / 3. / (19.2 * 19.2), 0, 19.2}};
  for (const auto& row : rows) {
    auto camera = makeCamera<P>(RADIAL_2_PARAMETERS, {row.k0, row.k1});
    camera.limits = {1e4, std::numeric_limits<P>::infinity()};
    camera.findDistortionLimits();
    EXPECT_NEAR(std::sqrt(camera.limits.distortionLimit), row.r_max, 0.05);
  }
}

// 1 - x / 2700 turns back at a radius of 30.
TYPED_TEST(CameraModelTest, MarchesToTheGivenLimitHoweverFar) {
  using P = TypeParam;
  constexpr P kInfinity = std::numeric_limits<P>::infinity();
  auto camera = makeCamera<P>(RADIAL_2_PARAMETERS, {-1 / 2700.});
  camera.limits = {1e4, kInfinity};
  camera.findDistortionLimits();
  EXPECT_NEAR(std::sqrt(camera.limits.distortionLimit), 29.92, 0.03);
  camera.radialDistortion = {};
  camera.limits = {kInfinity, kInfinity};
  camera.findDistortionLimits();
  EXPECT_NEAR(std::sqrt(camera.limits.distortionLimit), 2e4, 500) << "in 10^6 steps";
  EXPECT_EQ(camera.limits.undistortionLimit, camera.limits.distortionLimit);
}

// 0.025 x^3 - 0.3 x^2 + 0.575 x + 0.9 = 0.025 (x - 4) (x - 9) (x + 1): both denominators are 0.1
// at 4, which counts as a squared radius of the field-of-view model for the rational fisheye.
TYPED_TEST(CameraModelTest, StaysShortOfPoles) {
  auto radial = makeCamera<TypeParam>(RADIAL_6_PARAMETERS, {0, 0, 0, 0.575, -0.3, 0.025}, 10);
  auto fisheye = makeCamera<TypeParam>(FISHEYE_RATIONAL, {0.6, 0, 0.575, -0.3, 0, 0.025}, 10);
  EXPECT_EQ(textPrinted([&] { radial.setMaxDistortionLimits_6paramRadial(); }),
            "Radial polynomial model: root of denominator at 4.000000\n");
  const std::string text = textPrinted([&] { fisheye.setMaxDistortionLimits_fisheyeRational(); });
  EXPECT_EQ(text.find("Rational fisheye model: root of denominator at 4.00000"), 0U) << text;
  EXPECT_NE(text.find(", truncate at 4.145"), std::string::npos) << text;
  EXPECT_NEAR(radial.limits.distortionLimit, 3.9, 1e-4);
  EXPECT_NEAR(fisheye.limits.distortionLimit, std::pow(std::tan(1.2) / 2 / std::tan(0.3), 2) - 0.1,
              1e-3);

  radial.limits = fisheye.limits = {};
  radial.radialDistortion[5] = 0;   // still has a pole, but it is not looked for
  fisheye.radialDistortion[0] = 2;  // the root is past the closed inverse's own pole
  radial.setMaxDistortionLimits_6paramRadial();
  fisheye.setMaxDistortionLimits_fisheyeRational();
  EXPECT_EQ(radial.limits.distortionLimit, 625);
  EXPECT_EQ(fisheye.limits.distortionLimit, 625);
}

// clang-format off
constexpr IntrinsicCameraCalibrationZEL kRecord = {
    640, 480, 321.5, 239.25, 400, 401, {0.25, 0.5, 0, 0, 0, 0.125, -0.5, 0.75},
    1.5, 1.25, RADIAL_6_PARAMETERS, 0};
// clang-format on

TYPED_TEST(CameraModelTest, RecordsReturnAsTheyWereOrSaturate) {
  using P = TypeParam;
  CameraModel<P> camera(kRecord);
  EXPECT_EQ(camera.radialDistortion[5], 0.125);
  EXPECT_EQ(camera.limits.distortionLimit, 2.25);
  using Bytes = std::array<char, sizeof(kRecord)>;  // no padding: the layout is a contract
  EXPECT_EQ(std::bit_cast<Bytes>(toRecord(camera)), std::bit_cast<Bytes>(kRecord));
  camera.size = {1e20, kNan};
  EXPECT_EQ(toRecord(camera).width, std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(toRecord(camera).height, 0);
  IntrinsicCameraCalibrationZEL record = kRecord;
  record.focal_length_x = 1e308;
  EXPECT_EQ(std::isinf(CameraModel<P>(record).focalLength[0]), sizeof(P) == 4);
}

TYPED_TEST(CameraModelTest, CastsCarryEveryField) {
  using P = TypeParam;
  const CameraModel<P> camera(kRecord), none;
  const auto& [size, c, f, k, p, model, limits] = camera;  // a further one does not compile
  EXPECT_TRUE(size != none.size && c != none.principalPoint && f != none.focalLength &&
              k != none.radialDistortion && p != none.tangentialDistortion && model != none.model &&
              limits.distortionLimit != none.limits.distortionLimit &&
              limits.undistortionLimit != none.limits.undistortionLimit);
  EXPECT_EQ(camera.template cast<float>().template cast<double>().template cast<P>(), camera);
}

TYPED_TEST(CameraModelTest, AbsentLimitsAreComputedWhereTheyCanBe) {
  IntrinsicCameraCalibrationZEL record = kRecord;
  const auto limit = [&] { return CameraModel<TypeParam>(record).limits.undistortionLimit; };
  record.distortion_limit = 0;
  EXPECT_LT(limit(), 1.1);
  std::swap(record.distortion_limit, record.undistortion_limit);
  EXPECT_LT(limit(), 1.1);
  record.distortion_model = 77;
  EXPECT_EQ(limit(), 625);
  record.distortion_model = LINEAR;
  record.focal_length_x = record.focal_length_y = 0;
  EXPECT_EQ(limit(), 625);
}

TYPED_TEST(CameraModelTest, CubicsGiveTheirRealRoots) {
  using P = TypeParam;
  const struct {
    double a, b, c, d;
    std::vector<double> roots;
  } rows[] = {
      {0.5, -0.5, -4.5, 4.5, {-3, 1, 3}},
      {-2, 9.4, -5.8, 0.8, {0.2, 0.5, 4}},
      {1, -2, 1, -2, {2}},  // (x - 2) (x^2 + 1)
      {1, 0, 0, 8, {}},     // the chosen branch vanishes, as it does at a triple root
      {1, -3, 3, -1, {}},
      {kNan, 1, 1, 1, {}},
  };
  for (const auto& row : rows) {
    const std::vector<P> roots = solveCubic<P>(P(row.a), P(row.b), P(row.c), P(row.d));
    EXPECT_THAT((std::vector<double>(roots.begin(), roots.end())),
                ::testing::Pointwise(::testing::DoubleNear(1e-4), row.roots));
  }
}

}  // namespace
}  // namespace CamModel
