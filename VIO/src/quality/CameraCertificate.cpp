#include "VIO/quality/CameraCertificate.h"

#include <cmath>
#include <optional>

#include "AR/CV/Camera/Camera.h"
#include "AR/Math/Constants.h"
#include "VIO/quality/ExactCamera.h"
#include "quality/WorstError.h"

namespace VIO {
namespace {

using Worst = WorstError<double>;  // by radius
using Camera = AR::CV::Camera<float>;
using Vec2 = AR::Math::Vec<float, 2>;

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
    if (!camera.tryIdeal2pixel(ideal, pixel)) return;
    const PixelPosition p = toDouble(ideal);
    worst.add(distance(exact.pixel(p(0), p(1)), toDouble(pixel)), AR::Math::norm(p));
  });
}

void measureUndistortion(const Camera& camera, const ExactCamera& exact, const Worst& worst) {
  const Vec2& c = camera.getPrincipalPoint();
  const Vec2& f = camera.getOriginalFocalLength();
  overDisc(camera.getUndistortionSpline(), [&](double xd, double yd) {
    const Vec2 pixel(c(0) + f(0) * static_cast<float>(xd), c(1) + f(1) * static_cast<float>(yd));
    Vec2 ideal;
    if (!camera.tryPixel2ideal(pixel, ideal)) return;
    const PixelPosition p = toDouble(ideal);
    worst.add(distance(exact.pixel(p(0), p(1)), toDouble(pixel)), AR::Math::norm(p));
  });
}

CameraCertificate certify(const Camera& camera, const ExactCamera& exact) {
  CameraCertificate result{};
  measureDistortion(camera, exact, {result.maxDistortionError, result.distortionErrorRadius});
  measureUndistortion(camera, exact, {result.maxUndistortionError, result.undistortionErrorRadius});
  result.validRadius = std::sqrt(static_cast<double>(camera.getDistortionSpline().rangeMax));
  result.validRadiusPixels = static_cast<double>(camera.getFOVPixels());
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
