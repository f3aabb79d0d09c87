// rectiline_rectify and what belongs to it: the same maps as CreateRectifyMap, every option
// certified, and numbers that turn disparity into depth.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <thread>

#include "AR/Math/Constants.h"
#include "AR/Math/Matrix.h"
#include "TestPairs.h"
#include "VIO/StereoRectifyWrapper.h"

namespace {

using namespace rectiline::capi::testing;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct PairCase {
  const char* name;
  DeviceCalibrationZEL device;
  int left;
  int right;
};

/// Pairs side by side and one above the other, both ways round, of lenses of either kind, small
/// enough to be certified quickly.
std::vector<PairCase> pairCases() {
  const DeviceCalibrationZEL radtan = exampleRig("radtan_752x480", 0.25);
  const DeviceCalibrationZEL fisheye = exampleRig("fisheye_512x512", 0.25);
  return {{"radtan", radtan, 0, 1},
          {"radtan swapped", radtan, 1, 0},
          {"fisheye", fisheye, 0, 1},
          {"fisheye swapped", fisheye, 1, 0},
          {"vertical", rolled(fisheye, AR_PI / 2), 0, 1},
          {"vertical swapped", rolled(fisheye, AR_PI / 2), 1, 0},
          {"second and third of three", withThirdCamera(radtan), 1, 2},
          {"third and first of three", withThirdCamera(fisheye), 2, 0}};
}

rectiline_rectification rectified(const PairCase& pair, rectiline_options options = {},
                                  const rectiline_map* left = nullptr,
                                  const rectiline_map* right = nullptr) {
  options.struct_size = sizeof options;
  options.left_camera = pair.left;
  options.right_camera = pair.right;
  rectiline_rectification result = sized<rectiline_rectification>();
  expectOk(rectiline_rectify(&pair.device, &options, left, right, &result));
  return result;
}

TEST(RectifyTest, AutomaticMapsAreThoseOfCreateRectifyMap) {
  for (const char* const name : {"radtan_752x480", "fisheye_512x512"}) {
    SCOPED_TRACE(name);
    const DeviceCalibrationZEL device = exampleRig(name);
    const auto& [width, height] =
        std::pair(device.cameras[0].intrinsics.width, device.cameras[0].intrinsics.height);
    const auto n = static_cast<std::uint32_t>(width * height);
    for (const int keepOutside : {0, 1}) {
      std::vector<float> expected[4] = {std::vector<float>(n), std::vector<float>(n),
                                        std::vector<float>(n), std::vector<float>(n)};
      float depthConstant;
      CameraCalibrationZEL camera;
      ASSERT_TRUE(CreateRectifyMap(&device, static_cast<std::uint32_t>(keepOutside),
                                   expected[0].data(), n, expected[1].data(), n, expected[2].data(),
                                   n, expected[3].data(), n, &depthConstant, &camera));
      OwnMap left(width, height);
      OwnMap right(width, height);
      rectiline_options options = sized<rectiline_options>();
      options.keep_outside = keepOutside;
      rectiline_rectification result = sized<rectiline_rectification>();
      ASSERT_EQ(rectiline_rectify(&device, keepOutside != 0 ? &options : nullptr, &left.map,
                                  &right.map, &result),
                RECTILINE_OK);
      EXPECT_TRUE(left.x == expected[0] && left.y == expected[1]);
      EXPECT_TRUE(right.x == expected[2] && right.y == expected[3]);
      EXPECT_FLOAT_EQ(static_cast<float>(result.depth_constant), depthConstant);
      EXPECT_EQ(result.left.fx, camera.intrinsics.focal_length_x);
      EXPECT_EQ(result.left.cy, camera.intrinsics.principal_point_y);
      EXPECT_EQ(result.warning_count, 0U) << result.warnings[0].text;
    }
  }
}

struct OptionCase {
  const char* name;
  rectiline_options options;
};

std::vector<OptionCase> optionCases() {
  std::vector<OptionCase> cases;
  const auto add = [&](const char* name, auto&& set) {
    rectiline_options options{};
    set(options);
    cases.push_back({name, options});
  };
  for (const std::int32_t projection : {RECTILINE_PINHOLE, RECTILINE_LATITUDE_LONGITUDE}) {
    using O = rectiline_options&;
    const auto size = [](O o) { o.width = 150, o.height = 110; };
    const auto point = [](O o) { o.has_principal_point = 1, o.cx = 70, o.cy = 60; };
    add("automatic", [&](O o) { o.projection = projection; });
    add("focal length, size, keep outside",
        [&](O o) { o.projection = projection, o.focal_length = 60, size(o), o.keep_outside = 1; });
    add("field of view", [&](O o) { o.projection = projection, o.field_of_view = 1.1; });
    for (const std::int32_t coverage :
         {RECTILINE_COVERAGE_VALID, RECTILINE_COVERAGE_WHOLE, RECTILINE_COVERAGE_BETWEEN}) {
      const double alpha = coverage == RECTILINE_COVERAGE_BETWEEN ? 0.4 : 0;
      const auto cover = [=](O o) {
        o.projection = projection, o.coverage = coverage, o.alpha = alpha;
      };
      add("coverage", cover);
      add("coverage, size, point", [&](O o) { cover(o), size(o), point(o); });
    }
  }
  return cases;
}

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
  std::vector<double> rays(3 * n);
  std::vector<double> seen(2 * n);
  expectOk(rectiline_pixels_to_rays(&camera, n, raw.data(), rays.data(), nullptr));
  expectOk(rectiline_pixels_to_view(&camera, &view, n, raw.data(), seen.data(), nullptr));
  int outOfView = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const double* const R = view.R_camera_view;
    const double cosine = R[2] * rays[3 * i] + R[5] * rays[3 * i + 1] + R[8] * rays[3 * i + 2];
    if (view.projection == RECTILINE_PINHOLE && !(cosine > std::cos(85 * AR_PI / 180))) continue;
    const double margin = 0.01;  // of a pixel
    outOfView += seen[2 * i] < -margin || seen[2 * i] > view.width - 1 + margin ||
                 seen[2 * i + 1] < -margin || seen[2 * i + 1] > view.height - 1 + margin;
  }
  return outOfView;
}

void expectScale(const PairCase& pair, const rectiline_options& options,
                 const rectiline_rectification& result) {
  if (options.field_of_view > 0) {
    const double half = options.field_of_view / 2;
    const bool isPinhole = options.projection == RECTILINE_PINHOLE;
    EXPECT_NEAR(result.left.fx * (isPinhole ? std::tan(half) : half), result.left.width / 2.0,
                1e-9);
  }
  if (options.coverage == RECTILINE_COVERAGE_VALID) {
    EXPECT_EQ(result.left_share, 1);
    EXPECT_EQ(result.right_share, 1);
    EXPECT_EQ(result.valid_width, result.left.width);
    EXPECT_EQ(result.valid_height, result.left.height);
  }
  if (options.coverage == RECTILINE_COVERAGE_WHOLE) {
    EXPECT_EQ(pixelsOutOfView(pair.device.cameras[pair.left], result.left), 0);
    EXPECT_EQ(pixelsOutOfView(pair.device.cameras[pair.right], result.right), 0);
  }
}

TEST(RectifyTest, EveryOptionIsAsGoodAsTheCameras) {
  for (const PairCase& pair : pairCases()) {
    for (const OptionCase& option : optionCases()) {
      SCOPED_TRACE(std::string(pair.name) + ", " + option.name + ", projection " +
                   std::to_string(option.options.projection) + ", coverage " +
                   std::to_string(option.options.coverage));
      const rectiline_rectification view = rectified(pair, option.options);
      OwnMap left(view.left);
      OwnMap right(view.right);
      const rectiline_rectification result = rectified(pair, option.options, &left.map, &right.map);
      EXPECT_EQ(std::memcmp(&view.left, &result.left, sizeof view.left), 0);
      EXPECT_EQ(result.disparity_sign, pair.left < pair.right ? 1 : -1);
      expectScale(pair, option.options, result);
      rectiline_certificate certificate = sized<rectiline_certificate>();
      ASSERT_EQ(rectiline_certify_rectification(&pair.device, &result, &left.map, &right.map,
                                                &certificate),
                RECTILINE_OK)
          << lastError().text;
      EXPECT_GT(certificate.points, 100U);
      EXPECT_LT(certificate.max_row_error, 0.001);
      EXPECT_LT(certificate.max_map_error_left, 0.001);
      EXPECT_LT(certificate.max_map_error_right, 0.001);
      if (option.options.projection == RECTILINE_LATITUDE_LONGITUDE) {
        // What an error along the baseline does to the range, by the derivative of its formula.
        const rectiline_place& worst = certificate.worst_depth;
        const double f = result.left.fx;
        const double a =
            (result.axis == 0 ? worst.x - result.left.cx : worst.y - result.left.cy) / f;
        const double magnification = 2;  // at most, of target pixels per source pixel
        const double error = certificate.max_map_error_left + certificate.max_map_error_right;
        EXPECT_LT(certificate.max_depth_error,
                  magnification * error * worst.depth / (result.baseline * f * std::cos(a)));
      }
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
        OwnMap left(full);
        OwnMap right(full);
        const rectiline_rectification result = rectified(pair, larger, &left.map, &right.map);
        EXPECT_LT(result.left_share + result.right_share, 2);
      }
    }
  }
}

// ---- numbers ------------------------------------------------------------------------------------

/// A point of the scene as both views see it, by their rotations alone.
struct SeenPoint {
  Vec3 left;   // in the left view's frame
  Vec3 right;  // in the right view's frame
};

SeenPoint seenFrom(const PairCase& pair, const rectiline_rectification& result, const Vec3& P_ol) {
  const auto turned = [](const double(&R)[9], const Vec3& v) {
    AR::Math::Mat<double, 3, 3> matrix;
    std::copy_n(R, 9, matrix.data());
    return matrix * v;
  };
  const SE3<double> T_orol =
      poseOf(pair.device.cameras[pair.right]) * poseOf(pair.device.cameras[pair.left]).inverse();
  return {turned(result.R1, P_ol), turned(result.R2, T_orol * P_ol)};
}

const Vec3 kPoints[] = {{0.0, 0.0, 1.0}, {0.3, -0.2, 0.5}, {-2.0, 1.5, 4.0}, {5.0, 3.0, 30.0}};

TEST(RectifyTest, PinholeNumbersTurnDisparityIntoDepthAsOpenCvHasThem) {
  for (const PairCase& pair : pairCases()) {
    SCOPED_TRACE(pair.name);
    const rectiline_rectification r = rectified(pair);
    for (const Vec3& P_ol : kPoints) {
      const SeenPoint seen = seenFrom(pair, r, P_ol);
      // P1 and P2 both project points of the left view's frame.
      const auto project = [](const double(&P)[12], const Vec3& X) {
        double p[3];
        for (int i = 0; i < 3; ++i) {
          p[i] = P[4 * i] * X(0) + P[4 * i + 1] * X(1) + P[4 * i + 2] * X(2) + P[4 * i + 3];
        }
        return std::pair(p[0] / p[2], p[1] / p[2]);
      };
      const auto [u1, v1] = project(r.P1, seen.left);
      const auto [u2, v2] = project(r.P2, seen.left);
      const auto [ownU2, ownV2] = project(r.P1, seen.right);
      EXPECT_NEAR(u2, ownU2, 1e-8);
      EXPECT_NEAR(v2, ownV2, 1e-8);
      const double disparity = r.axis == 0 ? u1 - u2 : v1 - v2;
      EXPECT_NEAR(r.axis == 0 ? v1 - v2 : u1 - u2, 0, 1e-8) << "rows agree";
      EXPECT_EQ(std::signbit(disparity), r.disparity_sign < 0);
      EXPECT_NEAR(r.depth_constant / disparity / seen.left(2), 1, 1e-9);
      const double in[] = {u1, v1, disparity, 1};
      double out[4] = {};
      for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) out[i] += r.Q[4 * i + j] * in[j];
      }
      for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(out[i] / out[3], seen.left(i), 1e-7);
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
    const double f = r.axis == 0 ? r.left.fx : r.left.fy;
    const double c = r.axis == 0 ? r.left.cx : r.left.cy;
    const auto along = static_cast<std::size_t>(r.axis);
    const auto position = [&](const Vec3& P) {
      return c + f * std::asin(P(along) / AR::Math::norm(P));
    };
    for (const Vec3& P_ol : kPoints) {
      const SeenPoint seen = seenFrom(pair, r, P_ol);
      const double left = position(seen.left);
      const double right = position(seen.right);
      double range;
      ASSERT_EQ(rectiline_range_from_columns(&r, 1, &left, &right, &range), RECTILINE_OK);
      EXPECT_NEAR(range / AR::Math::norm(P_ol), 1, 1e-9);
    }
    const double left[] = {c, c, c + f * AR_PI / 2, c};
    const double right[] = {c, c + r.disparity_sign, c, c - 2 * f};
    double ranges[4];
    ASSERT_EQ(rectiline_range_from_columns(&r, 4, left, right, ranges), RECTILINE_OK);
    EXPECT_EQ(ranges[0], kInfinity) << "no disparity";
    EXPECT_TRUE(std::isnan(ranges[1])) << "behind";
    EXPECT_TRUE(std::isnan(ranges[2]) && std::isnan(ranges[3])) << "90 degrees and more";
    EXPECT_EQ(rectiline_range_from_columns(&r, SIZE_MAX / 8, left, right, ranges),
              RECTILINE_BAD_ARGUMENT);
  }
}

TEST(RectifyTest, MapsHoldWhatThePointFunctionsSay) {
  for (const PairCase& pair : pairCases()) {
    for (const std::int32_t projection : {RECTILINE_PINHOLE, RECTILINE_LATITUDE_LONGITUDE}) {
      SCOPED_TRACE(pair.name);
      rectiline_options options{};
      options.projection = projection;
      const rectiline_rectification view = rectified(pair, options);
      OwnMap left(view.left);
      OwnMap right(view.right);
      const rectiline_rectification result = rectified(pair, options, &left.map, &right.map);
      expectMapOf(pair.device.cameras[pair.left], result.left, left);
      expectMapOf(pair.device.cameras[pair.right], result.right, right);
    }
  }
}

// ---- memory -------------------------------------------------------------------------------------

TEST(RectifyTest, RowsMayLieApartAndNothingBetweenThemIsTouched) {
  const PairCase pair = pairCases()[0];
  const rectiline_view view = rectified(pair).left;
  OwnMap dense(view), denseRight(view);
  OwnMap padded(view, 3), paddedRight(view, 5);
  rectified(pair, {}, &dense.map, &denseRight.map);
  rectified(pair, {}, &padded.map, &paddedRight.map);
  for (int y = 0; y < view.height; ++y) {
    for (int x = 0; x < view.width; ++x) {
      ASSERT_EQ(padded.x[padded.index(x, y)], dense.x[dense.index(x, y)]);
      ASSERT_EQ(paddedRight.y[paddedRight.index(x, y)], denseRight.y[denseRight.index(x, y)]);
      ASSERT_EQ(padded.reasons[padded.index(x, y)], dense.reasons[dense.index(x, y)]);
    }
    for (int x = view.width; x < view.width + 3; ++x) {
      ASSERT_EQ(padded.x[padded.index(x, y)], OwnMap::kUntouched);
      ASSERT_EQ(padded.y[padded.index(x, y)], OwnMap::kUntouched);
      ASSERT_EQ(padded.reasons[padded.index(x, y)], 77);
    }
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
  EXPECT_TRUE(maps[0].x == maps[2].x && maps[1].y == maps[3].y);
}

}  // namespace
