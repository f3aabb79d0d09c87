#include "AR/CV/Camera/Camera.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <functional>
#include <utility>

#include "AR/CV/CameraCalibration/RadialDistortionDerivatives.h"
#include "AR/CV/CameraCalibration/UndistortionDerivatives.h"
#include "AR/Common/Fnv1.h"
#include "AR/Common/Logger.h"
#include "AR/Common/Macros.h"
#include "CameraModel/IntrinsicRecord.h"

namespace AR::CV {
namespace {

using AR::Common::Logger;
using CameraCalibration::DistortFn;
using CameraCalibration::UndistortFn;

constexpr char kSource[] = "CV/src/Camera/Camera";

constexpr std::size_t MAX_BINS = 1024;
constexpr std::size_t kMinBinsForTrim = 32;
constexpr double kMaxFitError = 0.01;

// Keeps a lookup inside a spline's half-open range. Single precision in both variants.
constexpr float kJustInside = 0.9999999F;

template <typename P, typename FUNCTION>
double fitSpline(HermiteSplineInterpolation<P>& spline, const FUNCTION& fn, P squaredLimit) {
  // The limit's own radius, squared again: a record holds radii, so a camera that was written and
  // loaded is fitted over the same range.
  const P radius = std::sqrt(squaredLimit);
  // 5e-6 as single precision holds it, in both precisions: the number of bins follows from it.
  return static_cast<double>(
      spline.setupHermiteCoeffs(std::cref(fn), AR::Math::Vec<P, 2>(P(0), radius * radius), true,
                                MAX_BINS, P(4.9999999e-06F), kMinBinsForTrim));
}

}  // namespace

template <typename P>
bool Camera<P>::init(const Model& model) {
  Camera camera;
  camera.mModel = model;
  *this = Camera();  // not before: `model` may be this camera's own
  if (!camera.mModel.validateCoeffs()) {
    AR_LOG(Logger::ERR, kSource, "Cannot initialize camera from invalid intrinsics");
    return false;
  }
  const double distortionError = fitSpline(camera.mDistortionSpline, DistortFn<P>(camera.mModel),
                                           camera.mModel.limits.distortionLimit);
  if (!(distortionError <= kMaxFitError)) {
    AR_LOGF(Logger::ERR, kSource, "Relative approximation error in distortion too high (%f)",
            distortionError);
    return false;
  }
  const double undistortionError = fitSpline(camera.mUndistortionSpline, UndistortFn<P>(camera),
                                             camera.mModel.limits.undistortionLimit);
  if (!(undistortionError <= kMaxFitError)) {
    AR_LOGF(Logger::ERR, kSource, "Relative approximation error in undistortion too high (%f)",
            undistortionError);
    return false;
  }
  P distortionAt0 = 1;
  const bool hasDistortionAt0 = camera.mDistortionSpline.evaluate(P(0), distortionAt0);
  static_cast<void>(AR_CHECK(hasDistortionAt0 && distortionAt0 > 0,
                             "hasDistortionAt0 && distortionAt0>0", kSource));
  camera.setupFocalLengths(distortionAt0);
  *this = std::move(camera);
  static_cast<void>(AR_CHECK(isInitialized(), "isInitialized()", kSource));
  return true;
}

template <typename P>
bool Camera<P>::init(const Vec2& size, const Vec2& principalPoint, const Vec2& focalLength,
                     const RDVec& radial, const Vec2& tangential,
                     CamModel::DistortionModel distortionModel, const DistortionLimits& limits) {
  Model model(size, principalPoint, focalLength, radial, tangential, distortionModel, {});
  if (limits.distortionLimit > 0 && limits.undistortionLimit > 0) {
    model.limits.distortionLimit = limits.distortionLimit * limits.distortionLimit;
    model.limits.undistortionLimit = limits.undistortionLimit * limits.undistortionLimit;
  } else {
    model.setupValidDistortionRange({}, false);
  }
  return init(model);
}

template <typename P>
void Camera<P>::setupFocalLengths(P distortionAt0) {
  const Vec2 one(P(1), P(1));
  mInvFocalLength = one / mModel.focalLength;
  mCorrectedFocalLength = distortionAt0 * mModel.focalLength;
  mInvCorrectedFocalLength = one / mCorrectedFocalLength;
}

template <typename P>
bool Camera<P>::tryUndistortTangential(const Vec2& distorted, Vec2& ideal) const {
  constexpr int kMaxIterations = 10;
  Vec2 u;
  Vec2 t;
  for (int i = 0; i < kMaxIterations; ++i) {
    Vec2 next;
    if (!tryUndistortSymmetric(distorted - t, next)) {
      return false;
    }
    // Squared: a step of 1e-5, some thousandths of a pixel at usual focal lengths.
    if (AR::Math::normSquared(next - u) < P(1e-10)) {
      ideal = next;
      return true;
    }
    u = next;
    t = CamModel::tangentialTerm(mModel.tangentialDistortion, u);
  }
  return false;
}

template <typename P>
bool Camera<P>::tryUnprojectFromPix(const Vec2& pixel, Vec3& point, P depth) const {
  static_cast<void>(AR_CHECK(depth > 0, "depth>0", kSource));
  Vec2 u;
  if (!tryPixel2ideal(pixel, u)) {
    return false;
  }
  point = Vec3(u(0) * depth, u(1) * depth, depth);
  return true;
}

// J is the negated derivative of the ideal point by the pixel: in J C J^T the sign cancels.
template <typename P>
bool Camera<P>::tryDifferentiateUndistort(const Vec2& distorted, const Vec2& ideal, Mat2& J) const {
  constexpr P kStepPixels = P(0.1);
  for (int axis = 0; axis < 2; ++axis) {
    Vec2 shifted = distorted;
    shifted(axis) += kStepPixels / mModel.focalLength(axis);
    Vec2 idealShifted;
    if (!tryUndistort(shifted, idealShifted)) {
      return false;
    }
    // 10 is 1 / kStepPixels, exact where the step is not.
    J(0, axis) = (ideal(0) - idealShifted(0)) * 10;
    J(1, axis) = (ideal(1) - idealShifted(1)) * 10;
  }
  return true;
}

template <typename P>
bool Camera<P>::tryUndistortFeatMeasCov(const Vec2& pixel, const Mat2& pixelCov, Vec2& ideal,
                                        Mat2& idealCov) const {
  const Vec2 d = pixelToDistorted(pixel);
  Vec2 undistorted;
  Mat2 J;
  if (!tryUndistort(d, undistorted) || !tryDifferentiateUndistort(d, undistorted, J)) {
    return false;
  }
  ideal = undistorted;
  idealCov = J * pixelCov * transpose(J);
  return true;
}

template <typename P>
bool Camera<P>::tryUndistortFeatMeasCov(const Vec2& pixel, P pixelVariance, Vec2& ideal,
                                        Mat2& idealCov) const {
  const Mat2 pixelCov(pixelVariance, P(0), P(0), pixelVariance);
  return tryUndistortFeatMeasCov(pixel, pixelCov, ideal, idealCov);
}

template <typename P>
P Camera<P>::getFOV(P extentPixels) const {
  const P rd = std::min(std::sqrt(mModel.limits.undistortionLimit) * P(kJustInside),
                        extentPixels / 2 * mInvFocalLength(0));
  const P y = std::min(mUndistortionSpline.rangeMax * P(kJustInside), rd * rd);
  P G = 0;
  const bool success = mUndistortionSpline.evaluate(y, G);
  static_cast<void>(AR_CHECK(success, "success", kSource));
  return 2 * std::atan(std::sqrt(y) * G);
}

template <typename P>
P Camera<P>::getFOVPixels() const {
  return mean(mModel.focalLength) * std::sqrt(mUndistortionSpline.rangeMax);
}

template <typename P>
std::uint64_t Camera<P>::getHash(std::uint64_t seed) const {
  static_assert(std::endian::native == std::endian::little, "the hash is over little-endian bytes");
  const std::array<P, 4> terms = {mModel.focalLength(0), mModel.focalLength(1),
                                  mModel.principalPoint(0), mModel.principalPoint(1)};
  return AR::Common::fnv1(std::bit_cast<std::array<std::uint8_t, sizeof(terms)>>(terms), seed);
}

template <typename P>
IntrinsicCameraCalibrationZEL Camera<P>::toIDL() const {
  return CamModel::toRecord(mModel);
}

template class Camera<float>;
template class Camera<double>;

}  // namespace AR::CV
