// How exact the library's cameras are: every distortion model against its formula in double, over
// the whole valid disc, in single and in double precision. One printed line per camera.

#include <gtest/gtest.h>

#include <cstdio>

#include "LibraryCamera.h"

namespace rectiline::acceptance {
namespace {

using AR::CV::Camera;
using AR::Math::Vec;
using testing::intrinsicsOf;

constexpr int kRadii = 400;
constexpr int kAngles = 12;

/// Calls f(x, y) over the disc of radius r.
template <typename F>
void overDisc(double r, F&& f) {
  for (int i = 0; i <= kRadii; ++i) {
    for (int a = 0; a < kAngles; ++a) {
      const double angle = 2 * M_PI * (a + 0.37) / kAngles;
      const double radius = r * i / kRadii;
      f(radius * std::cos(angle), radius * std::sin(angle));
    }
  }
}

template <typename P>
double validRadius(const AR::CV::HermiteSplineInterpolation<P>& spline) {
  return std::sqrt(static_cast<double>(spline.rangeMax));
}

template <typename P>
Measured measureProjection(const Camera<P>& camera, const ExactModel& exact) {
  Measured m;
  overDisc(validRadius(camera.getDistortionSpline()), [&](double x, double y) {
    Vec<P, 2> pixel;
    const Vec<P, 3> point(x, y, 1);
    if (!camera.tryProjectToPix(point, pixel)) return;
    m.add(exact.distance(point(0), point(1), pixel(0), pixel(1)));
  });
  return m;
}

template <typename P>
Measured measureInverse(const Camera<P>& camera, const ExactModel& exact) {
  Measured m;
  overDisc(validRadius(camera.getUndistortionSpline()), [&](double xd, double yd) {
    const Vec<P, 2> pixel(exact.in.principal_point_x + exact.in.focal_length_x * xd,
                          exact.in.principal_point_y + exact.in.focal_length_y * yd);
    Vec<P, 2> ideal;
    if (!camera.tryPixel2ideal(pixel, ideal)) return;
    m.add(exact.distance(ideal(0), ideal(1), pixel(0), pixel(1)));
  });
  return m;
}

template <typename P>
void checkLens(const Lens& lens, const char* precision) {
  SCOPED_TRACE(lens.name);
  const Camera<P> camera = makeCamera<P>(intrinsicsOf(lens));
  const ExactModel exact(camera.toIDL());  // its figures rounded as the camera holds them
  const double fitError = testing::distortionTableError(camera);
  const double limit = errorBound(fitError, exact.in.focal_length_x);
  const Measured forward = measureProjection(camera, exact);
  const Measured inverse = measureInverse(camera, exact);
  std::printf(
      "%-22s %-6s bins %4zu fit %.1e radius %5.2f | to pixel %.5f px | to ideal %.5f px | bound "
      "%.5f\n",
      lens.name, precision, camera.getDistortionSpline().coeffs.size(), fitError,
      validRadius(camera.getDistortionSpline()), forward.worst, inverse.worst, limit);
  EXPECT_LE(forward.worst, limit);
  EXPECT_LE(inverse.worst, limit);
  EXPECT_GT(forward.tested, kRadii * kAngles * 9 / 10);
  EXPECT_GT(inverse.tested, kRadii * kAngles * 8 / 10);
}

TEST(CameraAccuracy, EveryModelAgainstItsFormula) {
  for (const Lens& lens : kLenses) {
    checkLens<double>(lens, "double");
    checkLens<float>(lens, "float");
  }
}

/// An ideal point (x, y) and its pixel (u, v).
struct KnownPoint {
  double x, y, u, v;
};

struct KnownCamera {
  const char* name;
  IntrinsicCameraCalibrationZEL record;
  KnownPoint points[4];
};

// clang-format off
// Lenses of real cameras, point by point, against exact projections computed outside of this code:
// the formulas of testing/ExactModel.h and the library's cameras must both return them.
const KnownCamera kKnown[] = {
    {"radtan 752x480", {752, 480, 367.215, 248.375, 458.654, 457.296,
      {-0.28340811, 0.07395907, 0, 0, 0, 0, 0.00019359, 1.76187114e-05},
      0, 0, CamModel::RADIAL_2_PARAMETERS, 0},
     {{0.1, 0.2, 412.4430663849897, 338.5669275526249},
      {-0.3, 0.25, 235.31837289229983, 357.97794326361907},
      {0.6, 0.1, 616.356234760275, 289.8078531603836},
      {-0.9, 0.7, 54.8272587782875, 490.7470864675304}}},
    {"rational 1024x1024", {1024, 1024, 521.9794921875, 511.7843017578125,
      505.36114501953125, 505.5526428222656,
      {0.4360889792442322, 0.0683431550860405, 0.00436929939314723,
       0.77323317527771, 0.14791269600391388, 0.020083265379071236,
       -8.999171404866502e-05, 6.388901238096878e-05},
      0, 0, CamModel::RADIAL_6_PARAMETERS, 0},
     {{0.1, 0.2, 571.6863827584848, 611.2302493170519},
      {0.35, -0.3, 687.4950009996876, 369.8563215778254},
      {-0.9, 0.7, 187.4330127330669, 772.0592323624594},
      {1.5, -1, 954.8762928014437, 222.99919674150084}}},
    {"fisheye4 512x512", {512, 512, 254.93170605935475, 256.8974428996504,
      190.97847715128717, 190.9733070521226,
      {0.0034823894022493434, 0.0007150348452162257, -0.0020532361418706202,
       0.00020293673591811182, 0, 0, 0, 0},
      0, 0, CamModel::FISHEYE_4_PARAMETERS, 0},
     {{-0.3, 0.25, 200.283242745566, 302.43659614187436},
      {-0.05, -0.45, 245.95943282523757, 176.14916983935564},
      {-0.9, 0.7, 126.39530140119271, 356.86749565241615},
      {1.5, -1, 424.4352094658841, 143.8981664530079}}},
    {"fisheye1 752x480", {752, 480, 368.20264278064553, 252.393048692916,
      334.23991339518517, 333.6035571693483, {0.962084349711143},
      0, 0, CamModel::FISHEYE_1_PARAMETER, 0},
     {{0.1, 0.2, 403.8301563544541, 323.5124140648734},
      {0.35, -0.3, 486.5046911907753, 151.18435076142018},
      {0.6, 0.1, 562.070550410002, 284.6428494169766},
      {1.5, -1, 681.0731968709924, 44.20979350184945}}},
};
// clang-format on

template <typename P>
void checkKnown(const KnownCamera& known) {
  SCOPED_TRACE(known.name);
  const Camera<P> camera = makeCamera<P>(known.record);
  const ExactModel exact(known.record);
  const double limit =
      errorBound(testing::distortionTableError(camera), known.record.focal_length_x);
  for (const KnownPoint& p : known.points) {
    EXPECT_LE(exact.distance(p.x, p.y, p.u, p.v), 1e-9) << p.x;
    Vec<P, 2> pixel, ideal;
    ASSERT_TRUE(camera.tryIdeal2pixel({p.x, p.y}, pixel)) << p.x;
    ASSERT_TRUE(camera.tryPixel2ideal({p.u, p.v}, ideal)) << p.x;
    EXPECT_LE(std::hypot(pixel(0) - p.u, pixel(1) - p.v), limit) << p.x;
    EXPECT_LE(exact.distance(ideal(0), ideal(1), p.u, p.v), limit) << p.x;
  }
}

TEST(CameraAccuracy, KnownProjectionsOfRealLenses) {
  for (const KnownCamera& known : kKnown) {
    checkKnown<double>(known);
    checkKnown<float>(known);
  }
}

}  // namespace
}  // namespace rectiline::acceptance
