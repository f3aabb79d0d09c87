#include "AR/CV/CameraCalibration/UndistortionDerivatives.h"

#include <algorithm>
#include <cmath>

#include "AR/CV/Camera/Camera.h"
#include "AR/CV/CameraCalibration/RadialDistortionDerivatives.h"
#include "AR/Common/Macros.h"
#include "AR/Math/MathDebugging.h"
#include "CameraModel/DistortionTraits.h"

namespace AR::CV::CameraCalibration {
namespace {

constexpr char kSource[] = "CV/src/../include/AR/CV/CameraCalibration/UndistortionDerivatives";
constexpr int kMaxIterations = 200;

// Below this squared radius the derivative loses its digits: it divides small differences by y.
template <typename P>
constexpr P kMinSquaredRadius = P(0.0001);

template <typename P>
P invertSpline(const HermiteSplineInterpolation<P>& distortion, P y) {
  P F = distortion.evaluateClamped(y);
  P g = 1 / F;
  for (int i = 1; i < kMaxIterations; ++i) {
    const P previousF = F;
    F = distortion.evaluateClamped(std::min(g * g * y, distortion.rangeMax));
    g = 1 / F;
    if (std::abs(previousF * g - 1) < P(1e-6)) {
      break;
    }
  }
  return g;
}

// G = r / s with s = sqrt(y), the distorted radius, and r the ideal one:
// dG/dy = 1 / (2 y D) - r / (2 y s), D = ds/dr = F + 2 x dF/dx at x = r^2.
template <typename P>
P derivativeOfFactor(const Camera<P>& camera, P y, P G) {
  const P s = std::sqrt(y);
  const P r = s * G;
  const P x = r * r;
  CamModel::RDVec<P> J;
  P dFdx;
  const P F = distortionDerivative(camera.getCamModel(), x, J, dFdx);
  const P D = F + 2 * x * dFdx;
  return 1 / (2 * y * D) - r / (2 * y * s);
}

}  // namespace

template <typename P>
P iterativeUndistFromSpline(const Camera<P>& camera, P y) {
  const auto* traits = CamModel::findTraits<P>(camera.getRadialDistortionModel());
  if (traits && traits->inverse) {
    return camera.getCamModel().undistortionFactor(y);
  }
  return invertSpline(camera.getDistortionSpline(), y);
}

template <typename P>
P undistort(const Camera<P>& camera, P y, P& dGdy) {
  const P G = iterativeUndistFromSpline(camera, y);
  if (y >= kMinSquaredRadius<P>) {
    dGdy = derivativeOfFactor(camera, y, G);
  } else {
    const P yMin = kMinSquaredRadius<P>;
    dGdy = derivativeOfFactor(camera, yMin, iterativeUndistFromSpline(camera, yMin));
  }
  static_cast<void>(AR_CHECK(AR::Math::isGoodNum(dGdy), "Math::isGoodNum(D)", kSource));
  return G;
}

template <typename P>
auto UndistortFn<P>::operator()(P y) const ->
    typename HermiteSplineInterpolation<P>::ResultAndDeriv {
  P dGdy;
  const P G = undistort(*mCamera, y, dGdy);
  return {G, dGdy};
}

template float iterativeUndistFromSpline(const Camera<float>&, float);
template double iterativeUndistFromSpline(const Camera<double>&, double);
template float undistort(const Camera<float>&, float, float&);
template double undistort(const Camera<double>&, double, double&);
template class UndistortFn<float>;
template class UndistortFn<double>;

}  // namespace AR::CV::CameraCalibration
