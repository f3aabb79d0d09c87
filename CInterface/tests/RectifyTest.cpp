// rectiline_rectify and what belongs to it: the same maps as CreateRectifyMap, every option
// certified, and numbers that turn disparity into depth.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <thread>
#include <utility>

#include "AR/Math/Constants.h"
#include "AR/Math/Matrix.h"
#include "TestPairs.h"
#include "VIO/StereoRectifyWrapper.h"

namespace {

using namespace rectiline::capi::testing;

struct PairCase {
  const char* name;
  DeviceCalibrationZEL device;
  int left;
  int right;
};

/// A device all of whose cameras are turned by a right angle about their own axis: a row of cameras
/// becomes a column.
DeviceCalibrationZEL rolled(DeviceCalibrationZEL device) {
  const SE3<double> T_rolled_local(SO3<double>::exp(Vec3(0.0, 0.0, AR_PI / 2)), Vec3());
  for (int i = 0; i < device.num_cameras; ++i) {
    CameraCalibrationZEL& camera = device.cameras[i];
    camera.pose = AR::CV::se32idl(T_rolled_local * poseOf(camera));
  }
  return device;
}

/// Pairs side by side and one above the other, both ways round, of lenses of either kind, small
/// enough to be certified quickly.
std::vector<PairCase> pairCases() {
  const DeviceCalibrationZEL radtan = smallRadtan(), fisheye = smallFisheye();
  return {{"radtan", radtan, 0, 1},
          {"radtan swapped", radtan, 1, 0},
          {"fisheye", fisheye, 0, 1},
          {"vertical", rolled(fisheye), 0, 1},
          {"vertical swapped", rolled(fisheye), 1, 0}};
}

rectiline_rectification rectified(const PairCase& pair, rectiline_options options = {},
                                  const rectiline_map* left = nullptr,
                                  const rectiline_map* right = nullptr) {
  options.struct_size = sizeof options;
  options.left_camera = pair.left;
  options.right_camera = pair.right;
  auto result = sized<rectiline_rectification>();
  expectOk(rectiline_rectify(&pair.device, &options, left, right, &result));
  return result;
}

TEST(RectifyTest, AutomaticMapsAreThoseOfCreateRectifyMap) {
  for (const char* const name : {"radtan_752x480", "fisheye_512x512"}) {
    const DeviceCalibrationZEL device = exampleRig(name);
    const IntrinsicCameraCalibrationZEL& in = device.cameras[0].intrinsics;
    for (const int keepOutside : {0, 1}) {
      SCOPED_TRACE(testing::Message() << name << ", " << keepOutside);
      float depthConstant;
      CameraCalibrationZEL camera;
      const auto expected = exportedPlanes(in.width, in.height, [&](auto... planes) {
        return CreateRectifyMap(&device, static_cast<std::uint32_t>(keepOutside), planes...,
                                &depthConstant, &camera);
      });
      OwnMap left(in.width, in.height), right(in.width, in.height);
      auto options = sized<rectiline_options>();
      options.keep_outside = keepOutside;
      auto result = sized<rectiline_rectification>();
      expectOk(rectiline_rectify(&device, keepOutside != 0 ? &options : nullptr, &left.map,
                                 &right.map, &result));
      expectPlanes(left, expected[0], expected[1]);
      expectPlanes(right, expected[2], expected[3]);
      EXPECT_FLOAT_EQ(static_cast<float>(result.depth_constant), depthConstant);
      EXPECT_EQ(result.left.fx, camera.intrinsics.focal_length_x);
      EXPECT_EQ(result.left.cy, camera.intrinsics.principal_point_y);
      EXPECT_EQ(result.warning_count, 0U) << result.warnings[0].text;
    }
  }
}

// ---- options ------------------------------------------------------------------------------------

/// How many pixels along the border of a camera's image have a ray, up to 85 degrees off the axis
/// of a pinhole view, that the view does not show.
int pixelsOutOfView(const CameraCalibrationZEL& camera, const rectiline_view& view) {
  const double right = camera.intrinsics.width - 1;
  const double bottom = camera.intrinsics.height - 1;
  std::vector<double> raw;
  for (int i = 0; i <= 100; ++i) {
    const double x = std::round(right * i / 100);
    const double y = std::round(bottom * i / 100);
    raw.insert(raw.end(), {x, 0, x, bottom, 0, y, right, y});
  }
  const std::size_t n = raw.size() / 2;
  std::vector<double> seen(2 * n);
  std::vector<std::uint8_t> reasons(n);
  expectOk(rectiline_pixels_to_view(&camera, &view, n, raw.data(), seen.data(), reasons.data()));
  int outOfView = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const double u = seen[2 * i], v = seen[2 * i + 1];
    const double offAxis = std::atan(std::hypot(u - view.cx, v - view.cy) / view.fx);
    if (view.projection == RECTILINE_PINHOLE && !(offAxis < 85 * AR_PI / 180)) continue;
    const double margin = 0.01;  // of a pixel
    const bool isOut =
        u < -margin || v < -margin || u > view.width - 1 + margin || v > view.height - 1 + margin;
    outOfView += isOut;
    EXPECT_TRUE(isOut || reasons[i] != RECTILINE_PIXEL_OUTSIDE_IMAGE || u < 0 || v < 0);
  }
  return outOfView;
}

/// Expects what an option promises of the view and of what the maps show.
void expectPromise(const PairCase& pair, const rectiline_options& options,
                   const rectiline_rectification& result) {
  const rectiline_view& view = result.left;
  if (options.field_of_view > 0) {
    const double half = options.field_of_view / 2;
    const double focalLengths = options.projection == RECTILINE_PINHOLE ? std::tan(half) : half;
    EXPECT_NEAR(view.fx * focalLengths, view.width / 2.0, 1e-9);
  }
  if (options.coverage == RECTILINE_COVERAGE_VALID) {
    EXPECT_EQ(result.left_share, 1);
    EXPECT_EQ(result.right_share, 1);
    EXPECT_EQ(result.valid_width, view.width);
    EXPECT_EQ(result.valid_height, view.height);
  }
  if (options.coverage == RECTILINE_COVERAGE_WHOLE) {
    EXPECT_EQ(pixelsOutOfView(pair.device.cameras[pair.left], view), 0);
    EXPECT_EQ(pixelsOutOfView(pair.device.cameras[pair.right], result.right), 0);
  }
}

/// Expects maps to be as good as the cameras.
void expectCertificate(const PairCase& pair, const rectiline_rectification& result,
                       const OwnMap& left, const OwnMap& right) {
  auto certificate = sized<rectiline_certificate>();
  expectOk(
      rectiline_certify_rectification(&pair.device, &result, &left.map, &right.map, &certificate));
  EXPECT_GT(certificate.points, 100U);
  EXPECT_LT(certificate.max_row_error, 0.001);
  EXPECT_LT(certificate.max_map_error_left, 0.001);
  EXPECT_LT(certificate.max_map_error_right, 0.001);
  if (result.left.projection != RECTILINE_LATITUDE_LONGITUDE) return;
  // What an error along the baseline does to the range, by the derivative of its formula.
  const rectiline_place& worst = certificate.worst_depth;
  const double f = result.left.fx;
  const double a = (result.axis == 0 ? worst.x - result.left.cx : worst.y - result.left.cy) / f;
  const double magnification = 2;  // at most, of target pixels per source pixel
  const double error = certificate.max_map_error_left + certificate.max_map_error_right;
  EXPECT_LT(certificate.max_depth_error,
            magnification * error * worst.depth / (result.baseline * f * std::cos(a)));
}

/// Expects the valid rectangle to be one, and to lie where both maps have sources.
void expectValidRectangle(const rectiline_rectification& result, const OwnMap& left,
                          const OwnMap& right) {
  int withSources = 0;
  for (int y = result.valid_y; y < result.valid_y + result.valid_height; ++y) {
    for (int x = result.valid_x; x < result.valid_x + result.valid_width; ++x) {
      const std::size_t i = left.index(x, y);
      withSources += left.x[i] != -1 && right.x[i] != -1;
    }
  }
  EXPECT_EQ(withSources, result.valid_width * result.valid_height);
  EXPECT_GT(withSources, result.left.width * result.left.height / 10);
}

rectiline_rectification checkOptions(const PairCase& pair, const rectiline_options& options) {
  const rectiline_rectification view = rectified(pair, options);
  OwnMap left(view.left), right(view.right);
  const rectiline_rectification result = rectified(pair, options, &left.map, &right.map);
  EXPECT_EQ(std::memcmp(&view.left, &result.left, sizeof view.left), 0);
  EXPECT_EQ(result.disparity_sign, pair.left < pair.right ? 1 : -1);
  expectPromise(pair, options, result);
  expectCertificate(pair, result, left, right);
  if (options.coverage != RECTILINE_COVERAGE_AUTOMATIC || options.keep_outside != 0) return result;
  expectValidRectangle(result, left, right);
  const double pixels = view.left.width * view.left.height;
  EXPECT_EQ(expectMapOf(pair.device.cameras[pair.left], result.left, left),
            std::round(result.left_share * pixels));
  EXPECT_EQ(expectMapOf(pair.device.cameras[pair.right], result.right, right),
            std::round(result.right_share * pixels));
  return result;
}

TEST(RectifyTest, EveryOptionIsAsGoodAsTheCameras) {
  for (const PairCase& pair : pairCases()) {
    for (const std::int32_t projection : {RECTILINE_PINHOLE, RECTILINE_LATITUDE_LONGITUDE}) {
      double focalLength[4] = {};  // by coverage, of a given size and principal point
      for (const auto& [name, fromTable] : kOptions) {
        SCOPED_TRACE(testing::Message() << pair.name << ", " << name << ", " << projection);
        rectiline_options options = fromTable;
        options.projection = projection;
        checkOptions(pair, options);
        if (options.coverage == RECTILINE_COVERAGE_AUTOMATIC) continue;
        options.width = 150;
        options.height = 110;
        options.has_principal_point = 1;
        options.cx = 70;
        options.cy = 60;
        focalLength[options.coverage] = checkOptions(pair, options).left.fx;
      }
      EXPECT_NEAR(focalLength[RECTILINE_COVERAGE_BETWEEN],
                  std::lerp(focalLength[RECTILINE_COVERAGE_VALID],
                            focalLength[RECTILINE_COVERAGE_WHOLE], 0.4),
                  1e-9);
    }
  }
}

TEST(RectifyTest, FullViewsCannotBeMuchLarger) {
  for (const PairCase& pair : pairCases()) {
    SCOPED_TRACE(pair.name);
    rectiline_options options{};
    options.coverage = RECTILINE_COVERAGE_VALID;
    const rectiline_view full = rectified(pair, options).left;
    // The same view a little larger has a pixel without a source, wherever its middle lies.
    for (const double dx : {-2, 0, 2}) {
      for (const double dy : {-2, 0, 2}) {
        rectiline_options larger{};
        larger.focal_length = 0.99 * full.fx;
        larger.has_principal_point = 1;
        larger.cx = (full.width - 1) / 2.0 + 0.99 * (full.cx - (full.width - 1) / 2.0) + dx;
        larger.cy = (full.height - 1) / 2.0 + 0.99 * (full.cy - (full.height - 1) / 2.0) + dy;
        OwnMap left(full), right(full);
        const rectiline_rectification result = rectified(pair, larger, &left.map, &right.map);
        EXPECT_LT(result.left_share + result.right_share, 2);
      }
    }
  }
}

// ---- numbers ------------------------------------------------------------------------------------

template <int ROWS, int COLS>
AR::Math::Mat<double, ROWS, COLS> matrixOf(const double (&elements)[ROWS * COLS]) {
  AR::Math::Mat<double, ROWS, COLS> matrix;
  std::copy(std::begin(elements), std::end(elements), matrix.data());
  return matrix;
}

/// Points of the scene in the frame of the left camera.
const Vec3 kPoints[] = {{0.0, 0.0, 1.0}, {0.3, -0.2, 0.5}, {-2.0, 1.5, 4.0}, {5.0, 3.0, 30.0}};

/// A point in the frames of the left and the right view, by their rotations alone.
std::pair<Vec3, Vec3> seenFrom(const PairCase& pair, const rectiline_rectification& result,
                               const Vec3& P_ol) {
  const SE3<double> T_orol =
      poseOf(pair.device.cameras[pair.right]) * poseOf(pair.device.cameras[pair.left]).inverse();
  return {matrixOf<3, 3>(result.R1) * P_ol, matrixOf<3, 3>(result.R2) * (T_orol * P_ol)};
}

TEST(RectifyTest, PinholeNumbersTurnDisparityIntoDepthAsOpenCvHasThem) {
  for (const PairCase& pair : pairCases()) {
    SCOPED_TRACE(pair.name);
    const rectiline_rectification r = rectified(pair);
    for (const Vec3& P_ol : kPoints) {
      const auto [inLeft, inRight] = seenFrom(pair, r, P_ol);
      // P1 and P2 both project points of the left view's frame.
      const auto project = [](const double(&P)[12], const Vec3& X) {
        const Vec3 p = matrixOf<3, 4>(P) * AR::Math::Vec<double, 4>(X(0), X(1), X(2), 1.0);
        return p / p(2);
      };
      const Vec3 left = project(r.P1, inLeft);
      const Vec3 right = project(r.P2, inLeft);
      EXPECT_LT(AR::Math::norm(right - project(r.P1, inRight)), 1e-8);
      const Vec3 difference = left - right;
      const auto along = static_cast<std::size_t>(r.axis);
      const double disparity = difference(along);
      EXPECT_NEAR(difference(1 - along), 0, 1e-8) << "rows agree";
      EXPECT_EQ(std::signbit(disparity), r.disparity_sign < 0);
      EXPECT_NEAR(r.depth_constant / disparity / inLeft(2), 1, 1e-9);
      const auto out =
          matrixOf<4, 4>(r.Q) * AR::Math::Vec<double, 4>(left(0), left(1), disparity, 1.0);
      for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(out(i) / out(3), inLeft(i), 1e-7);
    }
  }
}

TEST(RectifyTest, LatitudeLongitudeColumnsGiveTheRange) {
  rectiline_options options{};
  options.projection = RECTILINE_LATITUDE_LONGITUDE;
  for (const PairCase& pair : pairCases()) {
    SCOPED_TRACE(pair.name);
    const rectiline_rectification r = rectified(pair, options);
    EXPECT_TRUE(std::isnan(r.depth_constant) && std::isnan(r.P1[0]) && std::isnan(r.P2[3]) &&
                std::isnan(r.Q[15]));
    const double f = r.left.fx;
    const double c = r.axis == 0 ? r.left.cx : r.left.cy;
    const auto along = static_cast<std::size_t>(r.axis);
    const auto position = [&](const Vec3& P) {
      return c + f * std::asin(P(along) / AR::Math::norm(P));
    };
    for (const Vec3& P_ol : kPoints) {
      const auto [inLeft, inRight] = seenFrom(pair, r, P_ol);
      const double left = position(inLeft);
      const double right = position(inRight);
      double range;
      expectOk(rectiline_range_from_columns(&r, 1, &left, &right, &range));
      EXPECT_NEAR(range / AR::Math::norm(P_ol), 1, 1e-9);
    }
    const double left[] = {c, c, c + f * AR_PI / 2, c};
    const double right[] = {c, c + r.disparity_sign, c, c - 2 * f};
    double ranges[4];
    expectOk(rectiline_range_from_columns(&r, 4, left, right, ranges));
    EXPECT_EQ(ranges[0], std::numeric_limits<double>::infinity()) << "no disparity";
    EXPECT_TRUE(std::isnan(ranges[1])) << "behind";
    EXPECT_TRUE(std::isnan(ranges[2]) && std::isnan(ranges[3])) << "90 degrees and more";
  }
}

TEST(RectifyTest, TwoCallersAtOnceGetTheSame) {
  const PairCase pair = pairCases()[2];
  rectiline_options options{};
  options.coverage = RECTILINE_COVERAGE_VALID;
  const rectiline_view view = rectified(pair, options).left;
  OwnMap maps[4] = {OwnMap(view), OwnMap(view), OwnMap(view), OwnMap(view)};
  std::thread other([&] { rectified(pair, options, &maps[0].map, &maps[1].map); });
  rectified(pair, options, &maps[2].map, &maps[3].map);
  other.join();
  expectPlanes(maps[0], maps[2].dense(maps[2].x), maps[2].dense(maps[2].y));
  expectPlanes(maps[1], maps[3].dense(maps[3].x), maps[3].dense(maps[3].y));
}

}  // namespace
