#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>

#include "AR/CV/Camera/Camera.h"
#include "AR/CV/CameraCalibration/RadialDistortionDerivatives.h"
#include "AR/CV/CameraCalibration/UndistortionDerivatives.h"
#include "AR/Common/Fnv1.h"
#include "AR/Common/Logger.h"
#include "testing/Lenses.h"
#include "testing/LogCapture.h"

namespace AR::CV {
namespace {

using Common::Logger;
using rectiline::testing::LogCapture;

using rectiline::testing::kLenses;
using rectiline::testing::Lens;
using rectiline::testing::lensNamed;

const Lens &kLinear = lensNamed("linear"), &kRadial = lensNamed("radial2"),
           &kTangential = lensNamed("radial3 pincushion"),
           &kRational = lensNamed("fisheye_rational");

template <typename P>
using Vec2 = AR::Math::Vec<P, 2>;
template <typename P>
using Vec3 = AR::Math::Vec<P, 3>;
template <typename P>
using Mat2 = AR::Math::Mat<P, 2, 2>;

template <typename P>
struct CameraTest : ::testing::Test {
  using Limits = typename Camera<P>::DistortionLimits;

  static constexpr P kNan = std::numeric_limits<P>::quiet_NaN();
  static constexpr bool kIsDouble = sizeof(P) == sizeof(double);

  static bool init(Camera<P>& camera, const Lens& c, Limits limits = {0, 0}) {
    CamModel::RDVec<P> k;
    for (std::size_t i = 0; i < 6; ++i) k(i) = static_cast<P>(c.k[i]);
    return camera.init({P(640), P(480)}, {P(330), P(239.5)}, {P(400), P(600)}, k,
                       {static_cast<P>(c.p1), static_cast<P>(c.p2)}, c.model, limits);
  }

  static Camera<P> make(const Lens& c) {
    Camera<P> camera;
    EXPECT_TRUE(init(camera, c)) << c.name;
    return camera;
  }
};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(CameraTest, Precisions);

TYPED_TEST(CameraTest, UnprojectsToTheDepthAskedFor) {
  using P = TypeParam;
  const Camera<P> camera = this->make(kTangential), rational = this->make(kRational);
  Vec2<P> pixel;
  Vec3<P> point;
  ASSERT_TRUE(camera.tryIdeal2pixel({P(0.31), P(-0.42)}, pixel));
  ASSERT_TRUE(camera.tryUnprojectFromPix(pixel, point, P(2.5)));
  EXPECT_LT(norm(point - P(2.5) * Vec3<P>(P(0.31), P(-0.42), 1)), P(2e-5));
  const P F0 = rational.getCamModel().distortionFactor(P(0));
  EXPECT_NEAR(rational.getInvFocalLength() * F0, (1 / 400. + 1 / 600.) / 2, 1e-9);
}

TYPED_TEST(CameraTest, RefusesWhatItCannotConvertWithoutALogLine) {
  using P = TypeParam;
  const Camera<P> camera = this->make(kRadial);
  const Camera<P> wild = this->make({"", CamModel::LINEAR, 0, {}, 0.5, 0.5});
  const P far = std::sqrt(camera.getUndistortionSpline().rangeMax);
  const Vec2<P> untouched(P(7), P(7));
  Vec2<P> out = untouched;
  LogCapture log;
  EXPECT_FALSE(camera.tryUndistort({far * P(1.0001), P(0)}, out));
  EXPECT_FALSE(camera.tryPixel2ideal({this->kNan, P(0)}, out));
  EXPECT_FALSE(camera.tryIdeal2pixel({P(1e6), P(0)}, out));
  for (const P z : {P(0.005), P(0), P(-1), this->kNan}) {
    EXPECT_FALSE(camera.tryProjectToPix({P(0), P(0), z}, out)) << z;
  }
  EXPECT_FALSE(wild.tryUndistort({P(0.6), P(0.4)}, out)) << "the iteration must not settle";
  EXPECT_FALSE(Camera<P>().tryPixel2ideal({P(1), P(1)}, out));
  EXPECT_EQ(out, untouched);
  EXPECT_TRUE(wild.tryUndistortSymmetric({P(0.6), P(0.4)}, out));
  EXPECT_EQ(log.lines().size(), 0U) << log.text();
  Vec3<P> point;
  EXPECT_TRUE(camera.tryUnprojectFromPix({P(330), P(239.5)}, point, P(0)));
  EXPECT_EQ(log.count("depth>0"), 1);
}

TYPED_TEST(CameraTest, FailedInitIsLoggedAndEmptiesTheCamera) {
  using P = TypeParam;
  const char* const kInvalid = "Cannot initialize camera from invalid intrinsics";
  const char* const kDistortion = "Relative approximation error in distortion too high (";
  const char* const kUndistortion = "Relative approximation error in undistortion too high (";
  const struct {
    Lens camera;
    typename TestFixture::Limits limits;
    const char* line;
  } rows[] = {
      {{"not of the model", CamModel::RADIAL_2_PARAMETERS, 0, {0, 0, 1}}, {0, 0}, kInvalid},
      {{"pole", CamModel::RADIAL_6_PARAMETERS, 0, {0, 0, 0, -0.5}}, {2, 2}, kDistortion},
      {{"endless", CamModel::LINEAR, 0, {}}, {std::numeric_limits<P>::max(), 1}, kDistortion},
      {{"folds", CamModel::RADIAL_2_PARAMETERS, 0, {-0.5, 0}}, {P(1.2), 3}, kUndistortion},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.camera.name);
    Camera<P> camera = this->make(kRadial);
    LogCapture log;
    Logger::getInstance().setFlag(Logger::kFlagFunction, true);
    EXPECT_FALSE(this->init(camera, row.camera, row.limits));
    Logger::getInstance().setFlag(Logger::kFlagFunction, false);
    EXPECT_EQ(log.count(row.line), 1) << log.text();
    EXPECT_EQ(log.count("::init"), 1) << "the line is that of init(), not of a helper";
    EXPECT_FALSE(camera.isInitialized());
    EXPECT_TRUE(camera.getDistortionSpline().coeffs.empty());
  }
}

TYPED_TEST(CameraTest, TakesPositiveLimitsAsRadii) {
  using P = TypeParam;
  Camera<P> camera;
  ASSERT_TRUE(this->init(camera, kLinear, {P(1.5), P(0)}));
  EXPECT_EQ(camera.getCamModel().limits.distortionLimit, P(625));
  ASSERT_TRUE(this->init(camera, kLinear, {P(1.5), P(0.5)}));
  EXPECT_EQ(camera.getCamModel().limits.distortionLimit, P(2.25));
  EXPECT_EQ(camera.getUndistortionSpline().rangeMax, P(0.25));
}

TYPED_TEST(CameraTest, CovarianceFollowsTheDerivative) {
  using P = TypeParam;
  const Mat2<P> C(P(0.5), P(0.2), P(0.2), P(0.8));
  const Vec2<P> pixel(P(450), P(160));
  Vec2<P> ideal;
  Mat2<P> cov, J;
  const Camera<P> camera = this->make(kTangential);
  ASSERT_TRUE(camera.tryUndistortFeatMeasCov(pixel, C, ideal, cov));
  for (std::size_t axis = 0; axis < 2; ++axis) {  // central differences over 4 pixels
    Vec2<P> step, above, below;
    step(axis) = 2;
    ASSERT_TRUE(camera.tryPixel2ideal(pixel + step, above));
    ASSERT_TRUE(camera.tryPixel2ideal(pixel - step, below));
    for (std::size_t i = 0; i < 2; ++i) J(i, axis) = (above(i) - below(i)) / 4;
  }
  const Mat2<P> expected = J * C * transpose(J);
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_NEAR(cov.data()[i], expected.data()[i], 0.004 * expected(0, 0)) << i;
  }
  ASSERT_TRUE(this->make(kLinear).tryUndistortFeatMeasCov({P(400), P(300)}, P(2), ideal, cov));
  EXPECT_NEAR(cov(1, 1) * 600 * 600, 2, 0.02);
  EXPECT_FALSE(camera.tryUndistortFeatMeasCov({P(1e6), P(0)}, P(2), ideal, cov));
}

TYPED_TEST(CameraTest, FieldOfViewEndsWhereUndistortionEnds) {
  using P = TypeParam;
  EXPECT_NEAR(this->make(kLinear).getFOV(P(640)), 2 * std::atan(0.8), 1e-6);
  const Camera<P> camera = this->make(kRational);
  Vec2<P> ideal;
  ASSERT_TRUE(camera.tryUndistortSymmetric({P(150. / 400), P(0)}, ideal));
  EXPECT_NEAR(camera.getFOV(P(300)), 2 * std::atan(ideal(0)), 1e-6);
  const LogCapture log;
  EXPECT_EQ(camera.getFOV(P(1e6)), camera.getFOV(P(1e5)));
  EXPECT_EQ(log.text(), "");
  const P range = camera.getUndistortionSpline().rangeMax;
  EXPECT_NEAR(camera.getFOVPixels(), 500 * std::sqrt(range), 1e-3);
}

TYPED_TEST(CameraTest, HashIsThatOfTheFocalTermsBytes) {
  using P = TypeParam;
  Camera<P> camera;
  ASSERT_TRUE(camera.init({P(640), P(480)}, {P(320), P(239.5)}, {P(500.5), P(501.25)}, {}, {},
                          CamModel::LINEAR, {0, 0}));
  // Computed outside of this code.
  const std::uint64_t expected = this->kIsDouble ? 0x9c22a6cef169f228U : 0x8d114763114442U;
  EXPECT_EQ(camera.getHash(AR::Common::kFnv1OffsetBasis), expected);
}

TYPED_TEST(CameraTest, UndistortionDerivativeIsThatOfTheFactor) {
  using P = TypeParam;
  for (const Lens& c : kLenses) {
    SCOPED_TRACE(c.name);
    const Camera<P> camera = this->make(c);
    P dGdy, atMin;
    const P y = P(0.2), h = P(0.01);
    const P G = CameraCalibration::undistort(camera, y, dGdy);
    EXPECT_NEAR(G, camera.getCamModel().undistortionFactor(y), 1e-4);
    const P difference = CameraCalibration::iterativeUndistFromSpline(camera, y + h) -
                         CameraCalibration::iterativeUndistFromSpline(camera, y - h);
    EXPECT_NEAR(dGdy, difference / (2 * h), 1e-3);
    (void)CameraCalibration::undistort(camera, P(0), dGdy);
    (void)CameraCalibration::undistort(camera, P(0.0001), atMin);
    EXPECT_EQ(dGdy, atMin);
    const auto sample = CameraCalibration::UndistortFn<P>(camera)(y);
    EXPECT_EQ(sample.value, G);
    EXPECT_EQ(CameraCalibration::DistortFn<P>(camera.getCamModel())(y).value,
              camera.getCamModel().distortionFactor(y));
  }
}

TYPED_TEST(CameraTest, DerivativesAreReachedByName) {
  using P = TypeParam;
  using namespace CamModel;
  using namespace CameraCalibration;
  using Derivative = P (*)(const RDVec<P>&, P, RDVec<P>&, P&);
  const std::pair<const char*, Derivative> kNamed[] = {
      {"fisheye1",
       DistortionDerivatives<P, FISHEYE_1_PARAMETER>::distortionFactorFisheye1Parameter},
      {"fisheye4",
       DistortionDerivatives<P, FISHEYE_4_PARAMETERS>::distortionFactorFisheye4Parameters},
      {"chebyshev4",
       DistortionDerivatives<P, CHEBYSHEV_4_PARAMETERS>::distortionFactorChebyshev4Parameters},
      {"spline3", DistortionDerivatives<P, FISHEYE_SPLINE_3>::distortionFactorFisheyeSpline},
      {"fisheye_rational",
       DistortionDerivatives<P, FISHEYE_RATIONAL>::distortionFactorFisheyeRational}};
  for (const auto& [lens, derivative] : kNamed) {
    const CameraModel<P> model = this->make(lensNamed(lens)).getCamModel();
    RDVec<P> J;
    P dFdx;
    EXPECT_EQ(derivative(model.radialDistortion, P(0.3), J, dFdx), model.distortionFactor(P(0.3)));
  }
}

}  // namespace
}  // namespace AR::CV
