#include "VIO/quality/CameraCertificate.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "AR/CV/Camera/Camera.h"
#include "AR/Math/Constants.h"
#include "CameraModel/Tangential.h"
#include "VIO/quality/ExactCamera.h"
#include "quality/WorstError.h"

namespace VIO {
namespace {

using Worst = WorstError<double>;  // by radius
using Camera = AR::CV::Camera<float>;
using Vec2 = AR::Math::Vec<float, 2>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
// A cubic that meets its function at both ends of a bin is furthest off near the middle, next to
// which two of eight samples lie.
constexpr std::size_t kSamplesPerBin = 8;
constexpr int kAngles = 8;  // the image's axes among them

/// Calls f(x, y) at points all over the disc of a spline over squared radii, each bin sampled.
template <typename F>
void overDisc(const Camera::Spline& spline, F&& f) {
  const double rangeMax = static_cast<double>(spline.rangeMax);
  const std::size_t samples = spline.coeffs.size() * kSamplesPerBin;
  for (std::size_t i = 0; i < samples; ++i) {
    const double r = std::sqrt(rangeMax * (static_cast<double>(i) + 0.5) / double(samples));
    for (int a = 0; a < kAngles; ++a) {
      const double angle = 2 * AR_PI * a / kAngles;
      f(r * std::cos(angle), r * std::sin(angle));
    }
  }
}

PixelPosition toDouble(const Vec2& v) { return v.cast<double>(); }

double distance(const PixelPosition& a, const PixelPosition& b) { return AR::Math::norm(a - b); }

void measureDistortion(const Camera& camera, const ExactCamera& exact, const Worst& worst) {
  overDisc(camera.getDistortionSpline(), [&](double x, double y) {
    const Vec2 ideal(static_cast<float>(x), static_cast<float>(y));
    Vec2 pixel;
    const PixelPosition p = toDouble(ideal);
    const bool found = camera.tryIdeal2pixel(ideal, pixel);
    worst.add(found ? distance(exact.pixel(p(0), p(1)), toDouble(pixel)) : kInfinity,
              AR::Math::norm(p));
  });
}

/// Measures pixels less than `validRadius` away from the principal point.
void measureUndistortion(const Camera& camera, const ExactCamera& exact, double validRadius,
                         const Worst& worst) {
  const Vec2& c = camera.getPrincipalPoint();
  const Vec2& f = camera.getOriginalFocalLength();
  overDisc(camera.getUndistortionSpline(), [&](double xd, double yd) {
    const Vec2 offset(f(0) * static_cast<float>(xd), f(1) * static_cast<float>(yd));
    const Vec2 pixel = c + offset;
    Vec2 ideal;
    const bool found = camera.tryPixel2ideal(pixel, ideal);
    if (!found && AR::Math::norm(toDouble(offset)) > validRadius) return;
    const PixelPosition p = toDouble(ideal);
    worst.add(found ? distance(exact.pixel(p(0), p(1)), toDouble(pixel)) : kInfinity,
              AR::Math::norm(p));
  });
}

/// Whether the pixel at a distance in some direction from the principal point has a ray.
bool hasRay(const Camera& camera, double angle, double r) {
  const Vec2 offset(static_cast<float>(r * std::cos(angle)),
                    static_cast<float>(r * std::sin(angle)));
  Vec2 ideal;
  return camera.tryPixel2ideal(camera.getPrincipalPoint() + offset, ideal);
}

/// The first of the radii `from`, `from` + `step`, ... that has no ray; `to` when none below it.
double firstWithoutRay(const Camera& camera, double angle, double from, double to, double step) {
  for (double r = from; r < to; r += step) {
    if (!hasRay(camera, angle, r)) return r;
  }
  return to;
}

/// How far from the principal point, pixels, every pixel still has a ray. Measured, because the
/// tangential terms move the disc of the radial table off the centre, and because near its border
/// their iteration settles or not as single precision rounds: up to half a pixel inside, single
/// pixels have no ray. The fine steps are there for those.
double validRadiusPixels(const Camera& camera) {
  constexpr int kDirections = 512;
  constexpr double kMargin = 4;
  constexpr double kCoarse = 2;
  constexpr double kFine = 1.0 / 16;
  const Vec2& f = camera.getOriginalFocalLength();
  const double rangeMax = static_cast<double>(camera.getUndistortionSpline().rangeMax);
  double radius = static_cast<double>(std::min(f(0), f(1))) * std::sqrt(rangeMax);
  if (!CamModel::hasTangentialTerm(camera.getTangentialDistortionCoeffs())) return radius;
  for (const double step : {kCoarse, kFine}) {
    const double from = step == kCoarse ? 0 : std::max(radius - kMargin, 0.0);
    for (int i = 0; i < kDirections; ++i) {
      radius = firstWithoutRay(camera, 2 * AR_PI * i / kDirections, from, radius, step);
    }
  }
  return std::max(radius - kFine, 0.0);
}

CameraCertificate certify(const Camera& camera, const ExactCamera& exact) {
  CameraCertificate result{};
  measureDistortion(camera, exact, {result.maxDistortionError, result.distortionErrorRadius});
  result.validRadiusPixels = validRadiusPixels(camera);
  measureUndistortion(camera, exact, result.validRadiusPixels,
                      {result.maxUndistortionError, result.undistortionErrorRadius});
  result.validRadius = std::sqrt(static_cast<double>(camera.getDistortionSpline().rangeMax));
  result.fieldOfView = 2 * std::atan(result.validRadius);
  result.distortionBins = static_cast<std::uint32_t>(camera.getDistortionSpline().coeffs.size());
  result.undistortionBins =
      static_cast<std::uint32_t>(camera.getUndistortionSpline().coeffs.size());
  return result;
}

}  // namespace

bool certifyCamera(const IntrinsicCameraCalibrationZEL& camera, CameraCertificate& certificate) {
  const std::optional<ExactCamera> exact = ExactCamera::fromRecord(camera);
  Camera tables;
  if (!exact || !tables.init(CamModel::CameraModel<float>(camera))) return false;
  certificate = certify(tables, *exact);
  return true;
}

}  // namespace VIO
