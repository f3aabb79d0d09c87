#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>

#include "CameraCases.h"
#include "CameraModel/IntrinsicRecord.h"

namespace CamModel {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

template <typename P>
class Records : public ::testing::Test {};
TYPED_TEST_SUITE(Records, Precisions);

template <typename P>
std::string faultOf(const CameraModel<P>& camera) {
  return textPrinted([&] { EXPECT_EQ(camera.validateCoeffs(), false); });
}

TYPED_TEST(Records, ValidationOfCoefficients) {
  constexpr char kOmega[] = "must be in the range (0, Pi)\n";
  const struct {
    DistortionModel model;
    double k[MAX_RD_PARAMS];
    const char* fault;
  } rows[] = {
      {LINEAR, {kNan}, "for model LINEAR must have at most 0 nonzero coefficients\n"},
      {RADIAL_2_PARAMETERS, {0, 0, 1}, "model RADIAL_2_PARAMETERS must have at most 2 nonzero"},
      {FISHEYE_1_PARAMETER, {4, 1}, "at most 1 nonzero"},
      {FISHEYE_1_PARAMETER, {0}, "rational fisheye model (0.000000) must be in the range"},
      {FISHEYE_1_PARAMETER, {3.1415930}, kOmega},
      {FISHEYE_1_PARAMETER, {kNan}, kOmega},
      {FISHEYE_4_PARAMETERS, {0, 0, 0, 0, kNan}, "at most 4 nonzero"},
      {CHEBYSHEV_4_PARAMETERS, {0, 0, 0, 0, 0, 1}, "at most 4 nonzero"},
      {FISHEYE_RATIONAL, {-1, 1, 1, 1, 1, 1}, kOmega},
  };
  for (const auto& row : rows) {
    const auto camera = makeCamera<TypeParam>(row.model, row.k);
    EXPECT_THAT(faultOf(camera), ::testing::HasSubstr(row.fault));
  }
  for (const CameraCase& c : kCases) {
    EXPECT_TRUE(makeCamera<TypeParam>(c.model, c.k).validateCoeffs());
  }
}

TYPED_TEST(Records, ValidationOfTheImage) {
  using P = TypeParam;
  for (const double bad : {0.0, -1.0, kNan}) {
    for (int i = 0; i < 2; ++i) {
      auto camera = makeCamera<P>(LINEAR, {});
      camera.principalPoint[i] = P(bad);
      EXPECT_EQ(faultOf(camera), "Error: Principal point should be inside the image\n");
      camera.size[i] = P(bad);
      EXPECT_EQ(faultOf(camera), "Error: Size must be the image size in pixels\n");
      camera.focalLength[i] = P(bad);
      EXPECT_EQ(faultOf(camera), "Error: Focal length should be positive\n");
    }
  }
}

// clang-format off
constexpr IntrinsicCameraCalibrationZEL kRecord = {
    640, 480, 321.5, 239.25, 400, 401, {0.25, 0.5, 0, 0, 0, 0.125, -0.5, 0.75},
    1.5, 1.25, RADIAL_6_PARAMETERS, 0};
// clang-format on

TYPED_TEST(Records, RecordsReturnAsTheyWere) {
  const CameraModel<TypeParam> camera(kRecord);
  EXPECT_EQ(camera.radialDistortion[5], 0.125);
  EXPECT_EQ(camera.tangentialDistortion[0], -0.5);
  EXPECT_EQ(camera.limits.distortionLimit, 2.25);
  using Bytes = std::array<char, sizeof(kRecord)>;  // no padding: the layout is a contract
  EXPECT_EQ(std::bit_cast<Bytes>(toRecord(camera)), std::bit_cast<Bytes>(kRecord));
}

TYPED_TEST(Records, AbsentLimitsAreComputedWhereTheyCanBe) {
  using P = TypeParam;
  const auto limitOf = [](const auto& change) {
    IntrinsicCameraCalibrationZEL record = kRecord;
    record.undistortion_limit = 0;
    change(record);
    return CameraModel<P>(record).limits.undistortionLimit;
  };
  EXPECT_LT(limitOf([](auto&) {}), 2);
  EXPECT_EQ(limitOf([](auto& record) { record.width = record.height = 0; }), 625);
  EXPECT_EQ(limitOf([](auto& r) { r.focal_length_x = r.focal_length_y = 0; }), 625);
  EXPECT_EQ(limitOf([](auto& record) { record.distortion_model = 77; }), 625);
}

TYPED_TEST(Records, NumbersOutOfRangeSaturate) {
  using P = TypeParam;
  IntrinsicCameraCalibrationZEL record = kRecord;
  record.focal_length_x = 1e308;
  CameraModel<P> camera(record);
  EXPECT_EQ(std::isinf(camera.focalLength[0]), sizeof(P) == 4);
  camera.size = {P(1e20), P(kNan)};
  EXPECT_EQ(toRecord(camera).width, std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(toRecord(camera).height, 0);
}

MATCHER_P(IsNear, tolerance, "") {
  return std::abs(std::get<0>(arg) - std::get<1>(arg)) <= tolerance;
}

TYPED_TEST(Records, CubicsFromTheirRoots) {
  using P = TypeParam;
  const auto near = IsNear(sizeof(P) == 4 ? 2e-4 : 1e-6);
  using Roots = std::array<double, 3>;
  for (const double a : {0.5, -2.0}) {
    for (const Roots& r : {Roots{-3, 1, 3}, {0.2, 0.5, 4}, {-5, -2, 7}, {-1, 2, 10}}) {
      const double b = -a * (r[0] + r[1] + r[2]);
      const double c = a * (r[0] * r[1] + r[1] * r[2] + r[2] * r[0]);
      EXPECT_THAT(solveCubic(P(a), P(b), P(c), P(-a * r[0] * r[1] * r[2])),
                  ::testing::Pointwise(near, r));
    }
  }
  // One real root: (x - 2) (x^2 + 1). None: a triple one, no numbers, no cubic.
  EXPECT_THAT(solveCubic<P>(1, -2, 1, -2), ::testing::Pointwise(near, {2.0}));
  EXPECT_TRUE(solveCubic<P>(1, -3, 3, -1).empty());
  EXPECT_TRUE(solveCubic<P>(P(kNan), 1, 1, 1).empty());
  EXPECT_TRUE(solveCubic<P>(0, 1, -3, 2).empty());
}

}  // namespace
}  // namespace CamModel
