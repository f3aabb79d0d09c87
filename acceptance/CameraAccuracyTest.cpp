// How exact the library's cameras are: every distortion model against its formula in double, over
// the whole valid disc, in single and in double precision. One printed line per camera.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include "AR/CV/Camera/Camera.h"
#include "AR/CV/CameraCalibration/RadialDistortionDerivatives.h"
#include "AR/CV/CameraCalibration/UndistortionDerivatives.h"
#include "ExactModel.h"

namespace rectiline::acceptance {
namespace {

using AR::CV::Camera;
using AR::Math::Vec;

constexpr double kFitEps = 5e-6;
constexpr int kRadii = 400;
constexpr int kAngles = 12;

template <typename P>
Camera<P> makeCamera(const CameraCase& c) {
  CamModel::RDVec<P> k;
  for (std::size_t i = 0; i < 6; ++i) k(i) = static_cast<P>(c.exact.k[i]);
  Camera<P> camera;
  const bool ok = camera.init({P(c.width), P(c.height)}, {P(c.exact.cx), P(c.exact.cy)},
                              {P(c.exact.fx), P(c.exact.fy)}, k, {P(c.exact.p1), P(c.exact.p2)},
                              c.exact.model, {P(0), P(0)});
  EXPECT_TRUE(ok) << c.name;
  return camera;
}

/// The case with its figures rounded to precision P, as the camera holds them.
template <typename P>
ExactModel rounded(const ExactModel& exact) {
  ExactModel r = exact;
  for (double& k : r.k) k = static_cast<double>(static_cast<P>(k));
  for (double* v : {&r.p1, &r.p2, &r.fx, &r.fy, &r.cx, &r.cy}) {
    *v = static_cast<double>(static_cast<P>(*v));
  }
  return r;
}

/// The bound in pixels that a table with radius error `fitError` must keep.
double bound(double fitError, double focal) {
  const double exactEnough = std::max(0.01, 6e-6 * focal);
  return fitError < kFitEps ? exactEnough : std::max(exactEnough, 2 * fitError * focal + 0.005);
}

double distance(const ExactModel& exact, double x, double y, double u, double v) {
  const Point2 truth = exact.pixel(x, y);
  return std::hypot(truth.x - u, truth.y - v);
}

struct Measured {
  double worst = 0;
  int tested = 0;

  void add(double error) {
    worst = std::max(worst, error);
    ++tested;
  }
};

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
Measured measureProjection(const Camera<P>& camera, const ExactModel& exact) {
  Measured m;
  const double r = std::sqrt(static_cast<double>(camera.getDistortionSpline().rangeMax));
  overDisc(r, [&](double x, double y) {
    Vec<P, 2> pixel;
    const P px = static_cast<P>(x);
    const P py = static_cast<P>(y);
    if (!camera.tryProjectToPix({px, py, P(1)}, pixel)) return;
    m.add(distance(exact, static_cast<double>(px), static_cast<double>(py),
                   static_cast<double>(pixel(0)), static_cast<double>(pixel(1))));
  });
  return m;
}

template <typename P>
Measured measureInverse(const Camera<P>& camera, const ExactModel& exact) {
  Measured m;
  const double r = std::sqrt(static_cast<double>(camera.getUndistortionSpline().rangeMax));
  overDisc(r, [&](double xd, double yd) {
    const Vec<P, 2> pixel(static_cast<P>(exact.cx + exact.fx * xd),
                          static_cast<P>(exact.cy + exact.fy * yd));
    Vec<P, 2> ideal;
    if (!camera.tryPixel2ideal(pixel, ideal)) return;
    m.add(distance(exact, static_cast<double>(ideal(0)), static_cast<double>(ideal(1)),
                   static_cast<double>(pixel(0)), static_cast<double>(pixel(1))));
  });
  return m;
}

template <typename P>
double distortionFitError(const Camera<P>& camera) {
  const auto& spline = camera.getDistortionSpline();
  return static_cast<double>(
      spline.testAccuracy(AR::CV::CameraCalibration::DistortFn<P>(camera.getCamModel()), true, 0,
                          spline.coeffs.size()));
}

template <typename P>
void checkCase(const CameraCase& c, const char* precision) {
  SCOPED_TRACE(c.name);
  const Camera<P> camera = makeCamera<P>(c);
  const ExactModel exact = rounded<P>(c.exact);
  const double fitError = distortionFitError(camera);
  const double limit = bound(fitError, exact.fx);
  const Measured forward = measureProjection(camera, exact);
  const Measured inverse = measureInverse(camera, exact);
  std::printf(
      "%-18s %-6s bins %4zu fit %.1e radius %5.2f | to pixel %.5f px | to ideal %.5f px | bound "
      "%.5f\n",
      c.name, precision, camera.getDistortionSpline().coeffs.size(), fitError,
      std::sqrt(static_cast<double>(camera.getDistortionSpline().rangeMax)), forward.worst,
      inverse.worst, limit);
  EXPECT_LE(forward.worst, limit);
  EXPECT_LE(inverse.worst, limit);
  EXPECT_GT(forward.tested, kRadii * kAngles * 9 / 10);
  EXPECT_GT(inverse.tested, kRadii * kAngles * 8 / 10);
}

TEST(CameraAccuracy, EveryModelAgainstItsFormula) {
  for (const CameraCase& c : cameraCases()) {
    checkCase<double>(c, "double");
    checkCase<float>(c, "float");
  }
}

}  // namespace
}  // namespace rectiline::acceptance
