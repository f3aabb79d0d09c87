#include "AR/CV/CameraCalibration/UndistortionDerivatives.h"

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <utility>

#include "AR/CV/Camera/Camera.h"
#include "AR/CV/CameraCalibration/RadialDistortionDerivatives.h"
#include "AR/Common/Macros.h"
#include "AR/Math/MathDebugging.h"
#include "CameraModel/DistortionTraits.h"
#include "CameraModel/InvertFactors.h"
#include "InvertSplineSimd.h"
#include "Map/MapRowSimd.h"

namespace AR::CV::CameraCalibration {
namespace {

constexpr char kSource[] = "CV/src/../include/AR/CV/CameraCalibration/UndistortionDerivatives";

// G = r / s with s = sqrt(y), the distorted radius, and r the ideal one:
// dG/dy = 1 / (2 y D) - r / (2 y s), D = ds/dr = F + 2 x dF/dx at x = r^2.
template <typename P>
void derivativesOfFactor(const Camera<P>& camera, std::span<const P> y, std::span<const P> G,
                         std::span<P> dGdy) {
  P x[kSamplesAtOnce];
  P F[kSamplesAtOnce];
  P dFdx[kSamplesAtOnce];
  for (std::size_t i = 0; i < y.size(); ++i) {
    const P r = std::sqrt(y[i]) * G[i];
    x[i] = r * r;
  }
  distortionDerivatives<P>(camera.getCamModel(), {x, y.size()}, F, dFdx);
  for (std::size_t i = 0; i < y.size(); ++i) {
    const P s = std::sqrt(y[i]);
    const P r = s * G[i];
    const P D = F[i] + 2 * x[i] * dFdx[i];
    dGdy[i] = 1 / (2 * y[i] * D) - r / (2 * y[i] * s);
  }
}

}  // namespace

template <typename P>
void iterativeUndistFromSpline(const Camera<P>& camera, std::span<const P> y, std::span<P> G) {
  const auto* traits = CamModel::findTraits<P>(camera.getRadialDistortionModel());
  if (traits && traits->inverse) {
    camera.getCamModel().undistortionFactors(y, G);
    return;
  }
  const HermiteSplineInterpolation<P>& spline = camera.getDistortionSpline();
  CamModel::invertFactors([&](std::span<const P> x, P* F) { spline.evaluateClamped(x, F); }, y,
                          spline.rangeMax, G);
}

/// The derivatives dG/dy where G(y) is known.
template <typename P>
void undistort(const Camera<P>& camera, std::span<const P> y, std::span<const P> G,
               std::span<P> dGdy) {
  AR_REQUIRE(y.size() <= kSamplesAtOnce, "y.size() <= kSamplesAtOnce", kSource);
  P yOfSlope[kSamplesAtOnce];
  P GOfSlope[kSamplesAtOnce];
  std::copy(y.begin(), y.end(), yOfSlope);
  std::copy(G.begin(), G.end(), GOfSlope);
  for (std::size_t i = 0; i < y.size(); ++i) {
    if (y[i] >= CamModel::kSmallSquaredRadius<P>) continue;
    // The slope divides by y: nearer to the centre that of this radius stands for it.
    yOfSlope[i] = CamModel::kSmallSquaredRadius<P>;
    GOfSlope[i] = iterativeUndistFromSpline(camera, CamModel::kSmallSquaredRadius<P>);
  }
  derivativesOfFactor<P>(camera, {yOfSlope, y.size()}, {GOfSlope, y.size()}, dGdy);
  for (const P slope : dGdy) {
    static_cast<void>(AR_CHECK(AR::Math::isGoodNum(slope), "Math::isGoodNum(D)", kSource));
  }
}

template <typename P>
void undistort(const Camera<P>& camera, std::span<const P> y, std::span<P> G, std::span<P> dGdy) {
  iterativeUndistFromSpline(camera, y, G);
  undistort<P>(camera, y, std::span<const P>(G), dGdy);
}

template <typename P>
P iterativeUndistFromSpline(const Camera<P>& camera, P y) {
  P G = 0;
  iterativeUndistFromSpline<P>(camera, {&y, 1}, {&G, 1});
  return G;
}

template <typename P>
P undistort(const Camera<P>& camera, P y, P& dGdy) {
  P G = 0;
  undistort<P>(camera, {&y, 1}, std::span<P>(&G, 1), {&dGdy, 1});
  return G;
}

template <typename P>
UndistortFn<P>::UndistortFn(const Camera<P>& camera) : mCamera(&camera) {
  if constexpr (std::is_same_v<P, float>) {
    const auto* traits = CamModel::findTraits<P>(camera.getRadialDistortionModel());
    const HermiteSplineInterpolation<P>& spline = camera.getDistortionSpline();
    if (traits == nullptr || traits->inverse != nullptr || !spline.isInit()) return;
    const auto layout = CV::Internal::splineLayout(spline.coeffs.size());
    auto table = std::make_shared<SplineTable>(spline, layout);
    if (table->isUsable()) mTable = std::move(table);
  }
}

template <typename P>
void UndistortFn<P>::operator()(typename HermiteSplineInterpolation<P>::Arguments y,
                                typename HermiteSplineInterpolation<P>::Samples samples) const {
  P G[kSamplesAtOnce];
  P dGdy[kSamplesAtOnce];
  AR_REQUIRE(y.size() <= kSamplesAtOnce, "y.size() <= kSamplesAtOnce", kSource);
  bool isDone = false;
  if constexpr (std::is_same_v<P, float>) {
    isDone = mTable && CV::Internal::tryInvertSpline(*mTable, y, {G, y.size()});
  }
  if (!isDone) iterativeUndistFromSpline<P>(*mCamera, y, {G, y.size()});
  undistort<P>(*mCamera, y, std::span<const P>(G, y.size()), {dGdy, y.size()});
  for (std::size_t i = 0; i < y.size(); ++i) {
    samples[i] = {G[i], dGdy[i]};
  }
}

template <typename P>
auto UndistortFn<P>::operator()(P y) const ->
    typename HermiteSplineInterpolation<P>::ResultAndDeriv {
  typename HermiteSplineInterpolation<P>::ResultAndDeriv sample;
  (*this)({&y, 1}, {&sample, 1});
  return sample;
}

template float iterativeUndistFromSpline(const Camera<float>&, float);
template double iterativeUndistFromSpline(const Camera<double>&, double);
template float undistort(const Camera<float>&, float, float&);
template double undistort(const Camera<double>&, double, double&);
template class UndistortFn<float>;
template class UndistortFn<double>;

}  // namespace AR::CV::CameraCalibration
