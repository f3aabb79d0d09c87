#pragma once

#include <memory>
#include <span>

#include "AR/CV/Camera/Hermite.h"

namespace AR::CV {

template <typename P>
class Camera;
class SplineTable;

namespace CameraCalibration {

/// The undistortion factor G at the squared distorted radius `y`, from the camera's distortion
/// spline: the closed form where the model has one, else up to 200 fixed-point steps. The last
/// estimate when those do not converge; NaN when the camera has no distortion spline.
template <typename P>
[[nodiscard]] P iterativeUndistFromSpline(const Camera<P>& camera, P y);

/// G(y) with its derivative; below y = 0.0001 the derivative is that at 0.0001. A derivative that
/// is not a sound number is reported.
template <typename P>
[[nodiscard]] P undistort(const Camera<P>& camera, P y, P& dGdy);

/// The same for each of many squared distorted radii, side by side; with the derivative, for at
/// most kSamplesAtOnce of them. Outputs have the size of y.
template <typename P>
void iterativeUndistFromSpline(const Camera<P>& camera, std::span<const P> y, std::span<P> G);
template <typename P>
void undistort(const Camera<P>& camera, std::span<const P> y, std::span<P> G, std::span<P> dGdy);

/// The undistortion factor of a camera whose distortion spline is fitted, sampled for a spline.
/// Refers to the camera.
template <typename P>
class UndistortFn {
 public:
  explicit UndistortFn(const Camera<P>& camera);

  /// G(y) and dG/dy at each squared distorted radius y, of which there are at most kSamplesAtOnce.
  void operator()(typename HermiteSplineInterpolation<P>::Arguments y,
                  typename HermiteSplineInterpolation<P>::Samples samples) const;
  /// The same at one of them.
  [[nodiscard]] typename HermiteSplineInterpolation<P>::ResultAndDeriv operator()(P y) const;

 private:
  const Camera<P>* mCamera;
  std::shared_ptr<const SplineTable> mTable;  // of the distortion; null: for the plain form only
};

}  // namespace CameraCalibration
}  // namespace AR::CV
