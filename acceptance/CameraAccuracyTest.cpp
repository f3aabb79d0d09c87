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

}  // namespace
}  // namespace rectiline::acceptance
