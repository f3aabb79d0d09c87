#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "CameraModel/CameraModel.h"

namespace CamModel {

using Precisions = ::testing::Types<float, double>;

/// What `function` writes to standard output.
template <typename Function>
std::string textPrinted(Function function) {
  ::testing::internal::CaptureStdout();
  function();
  return ::testing::internal::GetCapturedStdout();
}

/// One lens: every model mild and strong.
struct CameraCase {
  const char* name;
  DistortionModel model;
  double k[MAX_RD_PARAMS];
  double tolRoundTrip;  // of the ideal radius, through both factors
};

inline constexpr CameraCase kCases[] = {
    {"linear", LINEAR, {}, 1e-6},
    {"radial2 mild", RADIAL_2_PARAMETERS, {-0.05, 0.01}, 1e-4},
    {"radial2 strong", RADIAL_2_PARAMETERS, {-0.28, 0.07}, 0.006},
    {"radial3 mild", RADIAL_3_PARAMETERS, {0.02, -0.01, 0.001}, 1e-4},
    {"radial3 strong", RADIAL_3_PARAMETERS, {-0.35, 0.15, -0.03}, 0.006},
    {"radial6 mild", RADIAL_6_PARAMETERS, {0.1, 0.01, 0.0, 0.12, 0.015, 0.001}, 1e-4},
    {"radial6 strong", RADIAL_6_PARAMETERS, {0.6, 0.3, 0.05, 0.9, 0.4, 0.1}, 0.006},
    {"fisheye1 mild", FISHEYE_1_PARAMETER, {0.5}, 1e-4},
    {"fisheye1 strong", FISHEYE_1_PARAMETER, {2.0}, 1e-3},
    {"fisheye4 mild", FISHEYE_4_PARAMETERS, {0.01, -0.002, 0.001, 0.0005}, 0.006},
    {"fisheye4 strong", FISHEYE_4_PARAMETERS, {-0.05, 0.02, -0.01, 0.002}, 0.006},
    {"chebyshev mild", CHEBYSHEV_4_PARAMETERS, {0.02, 0.004, -0.002, 0.001}, 0.006},
    {"chebyshev strong", CHEBYSHEV_4_PARAMETERS, {-0.1, 0.02, -0.005, 0.002}, 0.006},
    {"spline zero", FISHEYE_SPLINE_3, {}, 0.006},
    {"spline strong", FISHEYE_SPLINE_3, {-0.03, -0.06, -0.12, -0.1, -0.25, -0.12}, 0.006},
    {"rational mild", FISHEYE_RATIONAL, {0.9, 0.05, 0.03, 0.02, 0.01, 0.01}, 0.006},
    {"rational strong", FISHEYE_RATIONAL, {1.3, -0.2, 0.1, -0.1, 0.05, 0.03}, 0.006},
};

/// A camera of 640 x 480 pixels whose corners are at a radius of about 400 / f.
template <typename P>
CameraModel<P> makeCamera(DistortionModel model, const double (&k)[MAX_RD_PARAMS], double f = 200) {
  CameraModel<P> camera;
  camera.size = {P(640), P(480)};
  camera.principalPoint = {P(320), P(240)};
  camera.focalLength = {P(f), P(f)};
  for (int i = 0; i < MAX_RD_PARAMS; ++i) camera.radialDistortion[i] = P(k[i]);
  camera.model = model;
  return camera;
}

/// The polynomial with these coefficients, from the constant one upwards.
inline double sum(std::initializer_list<double> coefficients, double x) {
  double result = 0;
  int power = 0;
  for (const double c : coefficients) result += c * std::pow(x, power++);
  return result;
}

/// The distorted radius over the ideal one by the definition of each model, in double, without
/// series: for r > 0.
inline double referenceFactor(DistortionModel model, const RDVec<double>& k, double r) {
  const double x = r * r;
  const double theta = std::atan(r);
  const double t = std::tan(k[0] / 2);
  const double rho = std::atan(2 * r * t) / k[0];
  if (model == LINEAR) return 1;
  if (model <= RADIAL_6_PARAMETERS)
    return sum({1, k[0], k[1], k[2]}, x) / sum({1, k[3], k[4], k[5]}, x);
  if (model == FISHEYE_1_PARAMETER) return rho / r;
  if (model == FISHEYE_RATIONAL) {
    if (x < 1e-5) return 2 * t / k[0] - 2 * k[2] * t * t * x;
    return sum({0, 1, k[1], k[4]}, rho) / sum({1, k[2], k[3], k[5]}, rho) / r;
  }
  if (model == FISHEYE_4_PARAMETERS)
    return theta / r * sum({1, k[0], k[1], k[2], k[3]}, theta * theta);
  if (model == CHEBYSHEV_4_PARAMETERS) {
    const auto T = [&](int n) { return std::cos(n * std::acos(theta / 1.75)); };
    return theta / r *
           (1 + k[0] * (T(2) + 1) + k[1] * (T(4) - 1) + k[2] * (T(6) + 1) + k[3] * (T(8) - 1));
  }
  // FISHEYE_SPLINE_3, each segment in Bezier form.
  const double v[] = {1, 1 + k[0], 1 + k[2], 1 + k[4]};
  const double m[] = {0, k[1], k[3], k[5]};
  const double s = theta / std::acos(-1.0) * 6;
  const int j = s >= 2 ? 2 : (s >= 1 ? 1 : 0);
  const double a = s - j;
  const double b = 1 - a;
  return theta / r *
         (b * b * (b * v[j] + 3 * a * (v[j] + m[j] / 3)) +
          a * a * (a * v[j + 1] + 3 * b * (v[j + 1] - m[j + 1] / 3)));
}

}  // namespace CamModel
