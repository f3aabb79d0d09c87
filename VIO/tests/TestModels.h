#pragma once

#include <array>

#include "AR/CV/CameraCalibration/RadialDistortionDerivatives.h"
#include "AR/CV/CameraCalibration/UndistortionDerivatives.h"
#include "CameraModel/CameraModel.h"
#include "TestDevices.h"

namespace VIO::testing {

/// One set of distortion coefficients; every model occurs.
struct ModelCase {
  const char* name;
  CamModel::DistortionModel model;
  std::array<double, 6> k;
  std::array<double, 2> p;
};

inline constexpr ModelCase kModels[] = {
    {"linear", CamModel::LINEAR, {}, {}},
    {"strong barrel", CamModel::RADIAL_2_PARAMETERS, {-0.28, 0.07}, {}},
    {"pincushion, tangential", CamModel::RADIAL_3_PARAMETERS, {0.1, -0.05, 0.01}, {1e-3, 5e-4}},
    {"radial 6", CamModel::RADIAL_6_PARAMETERS, {0.3, 0.02, 0.001, 0.55, 0.1, 0.003}, {}},
    {"fisheye 1", CamModel::FISHEYE_1_PARAMETER, {0.92}, {}},
    {"fisheye 4, tangential", CamModel::FISHEYE_4_PARAMETERS, {-0.01, 0.02, -0.015}, {1e-3, -1e-3}},
    {"chebyshev", CamModel::CHEBYSHEV_4_PARAMETERS, {-0.02, 0.004, 0.001, 0.0005}, {}},
    {"fisheye spline", CamModel::FISHEYE_SPLINE_3, {-0.01, -0.02, -0.03, -0.03, -0.06, -0.04}, {}},
    {"rational fisheye", CamModel::FISHEYE_RATIONAL, {0.9, 0.01, 0.02, -0.01, 0.003, 0.001}, {}},
};

/// A device of two 320 x 240 cameras of that kind, 0.1 m apart.
inline DeviceCalibrationZEL device(const ModelCase& c, double f = 200) {
  DeviceCalibrationZEL record = device();
  for (int i = 0; i < 2; ++i) {
    IntrinsicCameraCalibrationZEL& in = record.cameras[i].intrinsics;
    in = {320, 240, 160, 119.5, f, 1.02 * f, {}, 0, 0, c.model, 0};
    std::copy(c.k.begin(), c.k.end(), in.distortion);
    std::copy(c.p.begin(), c.p.end(), in.distortion + 6);
  }
  return record;
}

/// The exact pixel of the ray (x, y, 1).
inline AR::Math::Vec<double, 2> exactPixel(const CamModel::CameraModel<double>& model, double x,
                                           double y) {
  const double p1 = model.tangentialDistortion(0);
  const double p2 = model.tangentialDistortion(1);
  const double F = model.distortionFactor(x * x + y * y);
  const AR::Math::Vec<double, 2> d(F * x + 2 * p1 * x * y + p2 * (3 * x * x + y * y),
                                   F * y + p1 * (x * x + 3 * y * y) + 2 * p2 * x * y);
  return model.principalPoint + AR::Math::elementProduct(model.focalLength, d);
}

/// The larger of the radius errors of a camera's two tables, normalised.
inline double tableError(const AR::CV::Camera<float>& camera) {
  const auto& there = camera.getDistortionSpline();
  const auto& back = camera.getUndistortionSpline();
  const AR::CV::CameraCalibration::DistortFn<float> distort(camera.getCamModel());
  const AR::CV::CameraCalibration::UndistortFn<float> undistort(camera);
  return static_cast<double>(std::max(there.testAccuracy(distort, true, 0, there.coeffs.size()),
                                      back.testAccuracy(undistort, true, 0, back.coeffs.size())));
}

}  // namespace VIO::testing
