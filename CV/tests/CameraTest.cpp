#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <string>

#include "AR/CV/Camera/Camera.h"
#include "AR/CV/CameraCalibration/RadialDistortionDerivatives.h"
#include "AR/CV/CameraCalibration/UndistortionDerivatives.h"
#include "AR/Common/Fnv1.h"
#include "AR/Common/TinyXml.h"
#include "testing/LogCapture.h"

namespace AR::CV {
namespace {

using rectiline::testing::LogCapture;

struct CameraCase {
  const char* name;
  CamModel::DistortionModel model;
  std::array<double, 6> k;
  std::array<double, 2> p;
};

constexpr CameraCase kCameras[] = {
    {"linear", CamModel::LINEAR, {}, {}},
    {"linear, tangential", CamModel::LINEAR, {}, {2e-3, -1e-3}},
    {"radial 2", CamModel::RADIAL_2_PARAMETERS, {-0.28, 0.07}, {}},
    {"radial 3, tangential", CamModel::RADIAL_3_PARAMETERS, {0.1, -0.05, 0.01}, {1e-3, 5e-4}},
    {"radial 6",
     CamModel::RADIAL_6_PARAMETERS,
     {0.3, 0.02, 0.001, 0.55, 0.1, 0.003},
     {-1e-3, 1e-3}},
    {"fisheye 1", CamModel::FISHEYE_1_PARAMETER, {0.92}, {}},
    {"fisheye 4", CamModel::FISHEYE_4_PARAMETERS, {-0.01, 0.02, -0.015, 0.003}, {}},
    {"fisheye 4, tangential", CamModel::FISHEYE_4_PARAMETERS, {0.02, -0.01}, {1e-3, -1e-3}},
    {"chebyshev", CamModel::CHEBYSHEV_4_PARAMETERS, {-0.02, 0.004, 0.001, 0.0005}, {}},
    {"fisheye spline", CamModel::FISHEYE_SPLINE_3, {-0.01, -0.02, -0.03, -0.03, -0.06, -0.04}, {}},
    {"rational fisheye", CamModel::FISHEYE_RATIONAL, {0.9, 0.01, 0.02, -0.01, 0.003, 0.001}, {}},
};

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

  static bool init(Camera<P>& camera, const CameraCase& c, Limits limits = {0, 0}) {
    CamModel::RDVec<P> k;
    for (std::size_t i = 0; i < 6; ++i) k(i) = static_cast<P>(c.k[i]);
    return camera.init({P(640), P(480)}, {P(330), P(239.5)}, {P(400), P(410)}, k,
                       {static_cast<P>(c.p[0]), static_cast<P>(c.p[1])}, c.model, limits);
  }

  static Camera<P> make(const CameraCase& c) {
    Camera<P> camera;
    EXPECT_TRUE(init(camera, c)) << c.name;
    return camera;
  }
};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(CameraTest, Precisions);

TYPED_TEST(CameraTest, PixelsReturnThroughIdealPlaneAndSpace) {
  using P = TypeParam;
  for (const CameraCase& c : kCameras) {
    SCOPED_TRACE(c.name);
    const Camera<P> camera = this->make(c);
    int tested = 0;
    for (int i = 0; i < 40 * 53; ++i) {
      const Vec2<P> pixel(i % 53 * 12, i / 53 * 12);
      Vec2<P> ideal, back;
      Vec3<P> point;
      if (!camera.tryPixel2ideal(pixel, ideal) || !camera.tryIdeal2pixel(ideal, back)) continue;
      ASSERT_LT(norm(back - pixel), P(0.005)) << to_string(pixel);
      ASSERT_TRUE(camera.tryUnprojectFromPix(pixel, point, P(2.5)));
      EXPECT_EQ(point(2), P(2.5));
      ASSERT_TRUE(camera.tryProjectToPix(point, back));
      ASSERT_LT(norm(back - pixel), P(0.005)) << to_string(pixel);
      ++tested;
    }
    EXPECT_GT(tested, 2000);

    Vec2<P> ideal(P(9), P(9));
    ASSERT_TRUE(camera.tryPixel2ideal(camera.getPrincipalPoint(), ideal));
    EXPECT_TRUE(isZero(ideal));
    const P F0 = camera.getCamModel().distortionFactor(P(0));
    EXPECT_EQ(camera.getCorrectedFocalLengthVec(), F0 * camera.getOriginalFocalLength());
    EXPECT_NEAR(camera.getInvFocalLength() * F0, (1 / 400. + 1 / 410.) / 2, 1e-9);
  }
}

TYPED_TEST(CameraTest, DistortsByFactorAndTangentialTerm) {
  using P = TypeParam;
  const CameraCase& c = kCameras[3];
  const Camera<P> camera = this->make(c);
  const double x = 0.31, y = -0.42;
  const double r2 = x * x + y * y;
  const double F = 1 + r2 * (c.k[0] + r2 * (c.k[1] + r2 * c.k[2]));
  const double dx = F * x + 2 * c.p[0] * x * y + c.p[1] * (3 * x * x + y * y);
  const double dy = F * y + c.p[0] * (x * x + 3 * y * y) + 2 * c.p[1] * x * y;
  Vec2<P> pixel, ideal;
  ASSERT_TRUE(camera.tryIdeal2pixel({x, y}, pixel));
  EXPECT_NEAR(pixel(0), 330 + 400 * dx, 3e-3);
  EXPECT_NEAR(pixel(1), 239.5 + 410 * dy, 3e-3);
  ASSERT_TRUE(camera.tryUndistort({dx, dy}, ideal));
  EXPECT_NEAR(ideal(0), x, 1e-5);
  EXPECT_NEAR(ideal(1), y, 1e-5);
}

TYPED_TEST(CameraTest, RefusesWhatItCannotConvertWithoutALogLine) {
  using P = TypeParam;
  const Camera<P> camera = this->make(kCameras[2]);
  const Camera<P> wild = this->make({"", CamModel::LINEAR, {}, {0.5, 0.5}});
  const Camera<P> empty;
  const P far = std::sqrt(camera.getUndistortionSpline().rangeMax);
  LogCapture log;
  Vec2<P> out(P(7), P(7));
  EXPECT_FALSE(camera.tryUndistort({far * P(1.0001), P(0)}, out));
  EXPECT_FALSE(camera.tryPixel2ideal({P(330) + P(400.1) * far, P(239.5)}, out));
  EXPECT_FALSE(camera.tryPixel2ideal({this->kNan, P(0)}, out));
  EXPECT_FALSE(camera.tryIdeal2pixel({P(1e6), P(0)}, out));
  for (const P z : {P(0.005), P(0), P(-1), this->kNan}) {
    EXPECT_FALSE(camera.tryProjectToPix({P(0), P(0), z}, out)) << z;
  }
  EXPECT_TRUE(wild.tryUndistortSymmetric({P(0.6), P(0.4)}, out));
  out = {P(7), P(7)};
  EXPECT_FALSE(wild.tryUndistort({P(0.6), P(0.4)}, out)) << "the iteration must not settle";
  EXPECT_FALSE(empty.tryPixel2ideal({P(1), P(1)}, out));
  EXPECT_FALSE(empty.tryIdeal2pixel({P(0), P(0)}, out));
  EXPECT_EQ(out, Vec2<P>(P(7), P(7)));
  EXPECT_EQ(log.lines().size(), 0U) << log.text();

  Vec3<P> point;
  EXPECT_TRUE(camera.tryUnprojectFromPix({P(330), P(239.5)}, point, P(0)));
  EXPECT_EQ(log.count("depth>0"), 1);
}

TYPED_TEST(CameraTest, FailedInitIsLoggedAndEmptiesTheCamera) {
  using P = TypeParam;
  struct Case {
    CameraCase camera;
    typename TestFixture::Limits limits;
    const char* line;
  };
  const char* kInvalid = "Cannot initialize camera from invalid intrinsics";
  const char* kDistortion = "Relative approximation error in distortion too high (";
  const char* kUndistortion = "Relative approximation error in undistortion too high (";
  for (const Case& c : {
           Case{{"coefficient not of the model", CamModel::RADIAL_2_PARAMETERS, {0, 0, 1}, {}},
                {0, 0},
                kInvalid},
           Case{{"omega", CamModel::FISHEYE_1_PARAMETER, {3.2}, {}}, {1, 1}, kInvalid},
           Case{{"pole in range", CamModel::RADIAL_6_PARAMETERS, {0, 0, 0, -0.5, 0, 0}, {}},
                {2, 2},
                kDistortion},
           Case{{"NaN", CamModel::RADIAL_2_PARAMETERS, {this->kNan, 0}, {}}, {1, 1}, kDistortion},
           Case{{"infinite range", CamModel::LINEAR, {}, {}},
                {std::numeric_limits<P>::max(), 1},
                kDistortion},
           Case{{"turns back", CamModel::RADIAL_2_PARAMETERS, {-0.5, 0}, {}},
                {P(1.2), 3},
                kUndistortion},
       }) {
    SCOPED_TRACE(c.camera.name);
    Camera<P> camera = this->make(kCameras[2]);
    LogCapture log;
    EXPECT_FALSE(this->init(camera, c.camera, c.limits));
    EXPECT_EQ(log.count(c.line), 1) << log.text();
    EXPECT_FALSE(camera.isInitialized());
    Vec2<P> out;
    EXPECT_FALSE(camera.tryPixel2ideal({P(330), P(239.5)}, out));
  }
}

TYPED_TEST(CameraTest, TakesPositiveLimitsAsRadii) {
  using P = TypeParam;
  Camera<P> camera;
  ASSERT_TRUE(this->init(camera, kCameras[0], {P(1.5), P(0.5)}));
  EXPECT_EQ(camera.getCamModel().limits.distortionLimit, P(2.25));
  EXPECT_EQ(camera.getUndistortionSpline().rangeMax, P(0.25));
  ASSERT_TRUE(this->init(camera, kCameras[0], {P(1.5), P(0)}));
  EXPECT_EQ(camera.getCamModel().limits.distortionLimit, P(625));
  EXPECT_EQ(camera.clone().getDistortionSpline().coeffs.size(), 1U) << "linear: one bin";
}

TYPED_TEST(CameraTest, CovarianceFollowsTheDerivative) {
  using P = TypeParam;
  const Mat2<P> C(P(0.5), P(0.2), P(0.2), P(0.8));
  for (const CameraCase& c : kCameras) {
    SCOPED_TRACE(c.name);
    const Camera<P> camera = this->make(c);
    const Vec2<P> pixel(P(450), P(160));
    Vec2<P> ideal;
    Mat2<P> cov, J;
    ASSERT_TRUE(camera.tryUndistortFeatMeasCov(pixel, C, ideal, cov));
    for (std::size_t axis = 0; axis < 2; ++axis) {  // central differences over 4 pixels
      Vec2<P> step, above, below;
      step(axis) = 2;
      ASSERT_TRUE(camera.tryPixel2ideal(pixel + step, above));
      ASSERT_TRUE(camera.tryPixel2ideal(pixel - step, below));
      for (std::size_t i = 0; i < 2; ++i) J(i, axis) = (above(i) - below(i)) / 4;
    }
    const Mat2<P> expected = J * C * transpose(J);
    const P tolerance = (this->kIsDouble ? P(2e-3) : P(0.02)) * expected(0, 0);
    for (std::size_t i = 0; i < 4; ++i) {
      EXPECT_NEAR(cov.data()[i], expected.data()[i], tolerance) << i;
    }
  }
  const Camera<P> linear = this->make(kCameras[0]);
  Vec2<P> ideal;
  Mat2<P> cov;
  ASSERT_TRUE(linear.tryUndistortFeatMeasCov({P(400), P(300)}, P(2), ideal, cov));
  EXPECT_NEAR(cov(0, 0) * 400 * 400, 2, 0.02);
  EXPECT_NEAR(cov(1, 1) * 410 * 410, 2, 0.02);
  EXPECT_FALSE(linear.tryUndistortFeatMeasCov({P(1e6), P(0)}, P(2), ideal, cov));
}

TYPED_TEST(CameraTest, FieldOfViewEndsWhereUndistortionEnds) {
  using P = TypeParam;
  EXPECT_NEAR(this->make(kCameras[0]).getFOV(P(640)), 2 * std::atan(0.8), 1e-6);
  for (const CameraCase& c : kCameras) {
    SCOPED_TRACE(c.name);
    const Camera<P> camera = this->make(c);
    LogCapture log;
    EXPECT_EQ(camera.getFOV(P(1e6)), camera.getFOV(P(1e5)));
    EXPECT_GT(camera.getFOV(P(1e6)), camera.getFOV(P(300)));
    EXPECT_EQ(log.lines().size(), 0U) << log.text();
    const P rangeMax = camera.getUndistortionSpline().rangeMax;
    EXPECT_NEAR(camera.getFOVPixels(), 405 * std::sqrt(rangeMax), 1e-3);
  }
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
  for (const CameraCase& c : kCameras) {
    SCOPED_TRACE(c.name);
    const Camera<P> camera = this->make(c);
    P dGdy, atMin;
    const P y = P(0.2), h = P(0.01);
    const P G = CameraCalibration::undistort(camera, y, dGdy);
    EXPECT_NEAR(G, camera.getCamModel().undistortionFactor(y), 1e-4);
    const P difference = CameraCalibration::iterativeUndistFromSpline(camera, y + h) -
                         CameraCalibration::iterativeUndistFromSpline(camera, y - h);
    EXPECT_NEAR(dGdy, difference / (2 * h), 1e-3);
    EXPECT_NEAR(CameraCalibration::undistort(camera, P(0), dGdy),
                CameraCalibration::undistort(camera, P(0.0001), atMin), 1e-3);
    EXPECT_EQ(dGdy, atMin);
  }
  EXPECT_TRUE(std::isnan(
      CameraCalibration::iterativeUndistFromSpline(this->make(kCameras[2]), this->kNan)));
}

TYPED_TEST(CameraTest, WritesTheFormsAskedForInOrder) {
  using P = TypeParam;
  const auto names = [](const TiXmlElement& node) {
    std::string all;
    for (const TiXmlAttribute* a = node.FirstAttribute(); a; a = a->Next()) {
      all += std::string(a->Name()) + " ";
    }
    return all;
  };
  const std::string start = "size principal_point focal_length ";
  const std::string current = "model radial_distortion distortion_limit undistortion_limit ";
  const Camera<P> tangential = this->make(kCameras[3]);
  const Camera<P> fisheye = this->make(kCameras[6]);
  const auto node = tangential.toXMLNode(XMLFormat::Both);
  EXPECT_EQ(names(*node), start + "radial_distortion_8 " + current + "tangential_distortion ");
  EXPECT_EQ(names(*fisheye.toXMLNode(XMLFormat::Current)), start + current);
  EXPECT_EQ(names(*fisheye.toXMLNode(XMLFormat::Old)), start + "fish_eye radial_distortion_8 ");
  EXPECT_EQ(names(*fisheye.toXMLNode(static_cast<XMLFormat>(3))), start);

  EXPECT_STREQ(node->Attribute("principal_point"), "330 239.5 ");
  EXPECT_STREQ(node->Attribute("model"), "RADIAL_3_PARAMETERS");
  const std::string radial = node->Attribute("radial_distortion");
  EXPECT_EQ(radial,
            this->kIsDouble ? "0.1 -0.05 0.01 0 0 0 " : "0.1 -0.050000001 0.0099999998 0 0 0 ");
  Camera<P> linear;
  ASSERT_TRUE(this->init(linear, kCameras[0], {P(1234.5678), P(0.25)}));
  const auto linearNode = linear.toXMLNode(XMLFormat::Current);
  EXPECT_STREQ(linearNode->Attribute("distortion_limit"), "1234.57") << "six digits";
  EXPECT_STREQ(linearNode->Attribute("undistortion_limit"), "0.25");
}

}  // namespace
}  // namespace AR::CV
