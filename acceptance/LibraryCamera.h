#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "AR/CV/Camera/Camera.h"
#include "AR/CV/CameraCalibration/RadialDistortionDerivatives.h"
#include "ExactModel.h"

// The library's cameras beside their formulas, and what error a camera may have.

namespace rectiline::acceptance {

/// The library's camera with the figures of `exact`, its limits computed.
template <typename P>
AR::CV::Camera<P> makeCamera(const CameraCase& c) {
  const ExactModel& exact = c.exact;
  CamModel::RDVec<P> k;
  for (std::size_t i = 0; i < exact.k.size(); ++i) k(i) = static_cast<P>(exact.k[i]);
  AR::CV::Camera<P> camera;
  const bool ok = camera.init({c.width, c.height}, {exact.cx, exact.cy}, {exact.fx, exact.fy}, k,
                              {exact.p1, exact.p2}, exact.model, {0, 0});
  EXPECT_TRUE(ok) << c.name;
  return camera;
}

/// The largest error in the radius that the camera's distortion table has between its knots.
template <typename P>
double distortionFitError(const AR::CV::Camera<P>& camera) {
  const auto& spline = camera.getDistortionSpline();
  return static_cast<double>(
      spline.testAccuracy(AR::CV::CameraCalibration::DistortFn<P>(camera.getCamModel()), true, 0,
                          spline.coeffs.size()));
}

/// The bound in pixels that a camera whose table has the radius error `fitError` must keep.
inline double errorBound(double fitError, double focal) {
  constexpr double kFitEps = 5e-6;
  const double exactEnough = std::max(0.01, 6e-6 * focal);
  return fitError < kFitEps ? exactEnough : std::max(exactEnough, 2 * fitError * focal + 0.005);
}

/// The largest of some errors, and how many there were.
struct Measured {
  double worst = 0;
  int tested = 0;

  void add(double error) {
    if (!(error <= worst)) worst = error;  // keeps NaN, which no bound admits
    ++tested;
  }
};

}  // namespace rectiline::acceptance
