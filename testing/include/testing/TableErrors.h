#pragma once

// What a camera's spline tables are off by between their knots, normalised: the library's own
// measure of its fit.

#include <algorithm>

#include "AR/CV/Camera/Camera.h"
#include "AR/CV/CameraCalibration/RadialDistortionDerivatives.h"
#include "AR/CV/CameraCalibration/UndistortionDerivatives.h"

namespace rectiline::testing {

template <typename P>
double distortionTableError(const AR::CV::Camera<P>& camera) {
  const auto& table = camera.getDistortionSpline();
  const AR::CV::CameraCalibration::DistortFn<P> distort(camera.getCamModel());
  return static_cast<double>(table.testAccuracy(distort, true, 0, table.coeffs.size()));
}

/// The larger of both tables' errors.
template <typename P>
double tableError(const AR::CV::Camera<P>& camera) {
  const auto& table = camera.getUndistortionSpline();
  const AR::CV::CameraCalibration::UndistortFn<P> undistort(camera);
  const P error = table.testAccuracy(undistort, true, 0, table.coeffs.size());
  return std::max(distortionTableError(camera), static_cast<double>(error));
}

}  // namespace rectiline::testing
