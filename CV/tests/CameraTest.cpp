#include <gtest/gtest.h>

#include <cmath>
#include <limits>

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
using namespace rectiline::testing;

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

TYPED_TEST(CameraTest, RefusesWhatItCannotConvertWithoutALogLine) {
  using P = TypeParam;
  const Camera<P> camera = this->make(kRadial);
  const Camera<P> wild = this->make({"", CamModel::LINEAR, 0, {}, 0.5, 0.5});
  const P far = std::sqrt(camera.getUndistortionSpline().rangeMax);
  const Vec2<P> untouched(P(7), P(7));
  Vec2<P> out = untouched;
  const LogCapture log;
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
  Vec3<P> point;
  EXPECT_TRUE(camera.tryUnprojectFromPix({P(330), P(239.5)}, point, P(0.001)));
  EXPECT_EQ(log.lines().size(), 0U) << log.text();
  EXPECT_TRUE(camera.tryUnprojectFromPix({P(330), P(239.5)}, point, P(0)));
  EXPECT_EQ(log.count("depth>0"), 1);
}

TYPED_TEST(CameraTest, FailedInitIsLoggedAndEmptiesTheCamera) {
  using P = TypeParam;
  const char *const kInvalid = "Cannot initialize camera from invalid intrinsics",
                    *const kDistortion = "Relative approximation error in distortion too high (",
                    *const kUndistortion =
                        "Relative approximation error in undistortion too high (";
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

TYPED_TEST(CameraTest, CovariancesAndDepthsFollowTheIdealPoint) {
  using P = TypeParam;
  const Mat2<P> C(P(0.5), P(0.2), P(0.2), P(0.8));
  const Vec2<P> pixel(P(620), P(30));
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
    EXPECT_NEAR(cov.data()[i], expected.data()[i], 0.002 * expected(0, 0)) << i;
  }
  ASSERT_TRUE(this->make(kLinear).tryUndistortFeatMeasCov({P(400), P(300)}, P(2), ideal, cov));
  EXPECT_NEAR(cov(1, 1) * 600 * 600, 2, 0.02);
  Vec3<P> point;
  ASSERT_TRUE(camera.tryUnprojectFromPix(pixel, point, P(2.5)));
  ASSERT_TRUE(camera.tryPixel2ideal(pixel, ideal));
  EXPECT_EQ(point, P(2.5) * Vec3<P>(ideal(0), ideal(1), 1));
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
  EXPECT_NEAR(camera.getFOVPixels(), 500 * std::sqrt(camera.getUndistortionSpline().rangeMax),
              1e-3);
  const P F0 = camera.getCamModel().distortionFactor(P(0));
  EXPECT_NEAR(camera.getInvFocalLength() * F0, (1 / 400. + 1 / 600.) / 2, 1e-9);
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
  using namespace CameraCalibration;
  for (const Lens& c : kLenses) {
    SCOPED_TRACE(c.name);
    const Camera<P> camera = this->make(c);
    P dGdy, atMin;
    const P y = P(0.2), h = P(0.01);
    const P G = undistort(camera, y, dGdy);
    EXPECT_NEAR(G, camera.getCamModel().undistortionFactor(y), 1e-4);
    const P difference =
        iterativeUndistFromSpline(camera, y + h) - iterativeUndistFromSpline(camera, y - h);
    EXPECT_NEAR(dGdy, difference / (2 * h), 1e-3);
    (void)undistort(camera, P(0.0001), atMin);
    for (const P below : {P(0), P(0.00005)}) {
      (void)undistort(camera, below, dGdy);
      EXPECT_EQ(dGdy, atMin);
    }
    EXPECT_EQ(UndistortFn<P>(camera)(y).value, G);
    const auto& model = camera.getCamModel();
    EXPECT_EQ(DistortFn<P>(model)(y).value, model.distortionFactor(y));
  }
}

}  // namespace
}  // namespace AR::CV
