#pragma once

#include <array>
#include <cmath>

#include "CameraModel/DistortionModel.h"

// The distortion formulas written out once more, directly, in double: the oracle that the library's
// tables are measured against. Kept apart from the library's own code on purpose.

namespace rectiline::acceptance {

struct Point2 {
  double x;
  double y;
};

struct ExactModel {
  CamModel::DistortionModel model;
  std::array<double, 6> k{};
  double p1 = 0;
  double p2 = 0;
  double fx = 0;
  double fy = 0;
  double cx = 0;
  double cy = 0;

  /// Distorted over undistorted radius at undistorted radius r.
  [[nodiscard]] double factor(double r) const {
    const double x = r * r;
    switch (model) {
      case CamModel::LINEAR:
        return 1;
      case CamModel::RADIAL_2_PARAMETERS:
      case CamModel::RADIAL_3_PARAMETERS:
      case CamModel::RADIAL_6_PARAMETERS:
        return (1 + k[0] * x + k[1] * x * x + k[2] * x * x * x) /
               (1 + k[3] * x + k[4] * x * x + k[5] * x * x * x);
      case CamModel::FISHEYE_1_PARAMETER:
        return r < 1e-9 ? 2 * std::tan(k[0] / 2) / k[0]
                        : std::atan(2 * r * std::tan(k[0] / 2)) / (k[0] * r);
      default:
        return r < 1e-9 ? atCentre() : distortedAngle(std::atan(r), r) / r;
    }
  }

  /// The pixel of the ideal point (x, y).
  [[nodiscard]] Point2 pixel(double x, double y) const {
    const double r2 = x * x + y * y;
    const double d = factor(std::sqrt(r2));
    const double xd = d * x + 2 * p1 * x * y + p2 * (r2 + 2 * x * x);
    const double yd = d * y + p1 * (r2 + 2 * y * y) + 2 * p2 * x * y;
    return {cx + fx * xd, cy + fy * yd};
  }

  /// How far the pixel (u, v) is from that of the ideal point (x, y).
  [[nodiscard]] double distance(double x, double y, double u, double v) const {
    const Point2 truth = pixel(x, y);
    return std::hypot(truth.x - u, truth.y - v);
  }

 private:
  [[nodiscard]] double atCentre() const {
    return model == CamModel::FISHEYE_RATIONAL ? 2 * std::tan(k[0] / 2) / k[0] : 1;
  }

  [[nodiscard]] double distortedAngle(double theta, double r) const {
    const double t2 = theta * theta;
    if (model == CamModel::FISHEYE_4_PARAMETERS) {
      return theta * (1 + t2 * (k[0] + t2 * (k[1] + t2 * (k[2] + t2 * k[3]))));
    }
    if (model == CamModel::CHEBYSHEV_4_PARAMETERS) return theta * chebyshev(theta / 1.75);
    if (model == CamModel::FISHEYE_SPLINE_3) return theta * threeKnots(theta * 6 / M_PI);
    return rational(std::atan(2 * r * std::tan(k[0] / 2)) / k[0], r);
  }

  /// Even Chebyshev polynomials by their cosine form, without their values at 0.
  [[nodiscard]] double chebyshev(double z) const {
    double sum = 1;
    for (int n = 1; n <= 4; ++n) {
      const double t = z <= 1 ? std::cos(2 * n * std::acos(z)) : std::cosh(2 * n * std::acosh(z));
      const double atZero = n % 2 == 0 ? 1 : -1;
      sum += k[static_cast<std::size_t>(n - 1)] * (t - atZero);
    }
    return sum;
  }

  [[nodiscard]] double threeKnots(double s) const {
    const int j = s < 1 ? 0 : s < 2 ? 1 : 2;
    const double tau = s - j;
    const double value[4] = {1, 1 + k[0], 1 + k[2], 1 + k[4]};
    const double slope[4] = {0, k[1], k[3], k[5]};
    const double a = (1 + 2 * tau) * (1 - tau) * (1 - tau);
    const double b = tau * (1 - tau) * (1 - tau);
    const double c = tau * tau * (3 - 2 * tau);
    const double e = tau * tau * (tau - 1);
    return a * value[j] + b * slope[j] + c * value[j + 1] + e * slope[j + 1];
  }

  /// Below r^2 = 1e-5 the model is, by definition, its short form.
  [[nodiscard]] double rational(double rho, double r) const {
    const double t = std::tan(k[0] / 2);
    if (r * r < 1e-5) return r * (2 * t / k[0] - 2 * k[2] * t * t * r * r);
    return rho * (1 + k[1] * rho + k[4] * rho * rho) /
           (1 + k[2] * rho + k[3] * rho * rho + k[5] * rho * rho * rho);
  }
};

/// One camera of the measurements.
struct CameraCase {
  const char* name;
  int width;
  int height;
  ExactModel exact;
};

/// Every model, mild and strong, with tangential terms and without.
inline std::array<CameraCase, 36> cameraCases() {
  using namespace CamModel;
  struct Lens {
    const char* name;
    const char* withTangential;
    DistortionModel model;
    std::array<double, 6> k;
    double focal;
  };
  const Lens lenses[] = {
      {"linear", "linear+t", LINEAR, {}, 450},
      {"radial2 mild", "radial2 mild+t", RADIAL_2_PARAMETERS, {-0.05, 0.01}, 500},
      {"radial2 strong", "radial2 strong+t", RADIAL_2_PARAMETERS, {-0.2834, 0.0740}, 458},
      {"radial3 mild", "radial3 mild+t", RADIAL_3_PARAMETERS, {-0.04, 0.02, -0.005}, 700},
      {"radial3 strong", "radial3 strong+t", RADIAL_3_PARAMETERS, {-0.3691, 0.1968, -0.0568}, 560},
      {"radial6 mild",
       "radial6 mild+t",
       RADIAL_6_PARAMETERS,
       {0.2, 0.05, 0.01, 0.3, 0.02, 0.005},
       500},
      {"radial6 strong",
       "radial6 strong+t",
       RADIAL_6_PARAMETERS,
       {5.2, 3.4, 0.18, 5.55, 5.1, 0.96},
       504},
      {"fisheye1 mild", "fisheye1 mild+t", FISHEYE_1_PARAMETER, {0.5}, 420},
      {"fisheye1 strong", "fisheye1 strong+t", FISHEYE_1_PARAMETER, {0.93}, 300},
      {"fisheye1 wide", "fisheye1 wide+t", FISHEYE_1_PARAMETER, {1.05}, 255},
      {"fisheye4 mild", "fisheye4 mild+t", FISHEYE_4_PARAMETERS, {-0.01, 0.02, -0.01, 0.002}, 380},
      {"fisheye4 wide",
       "fisheye4 wide+t",
       FISHEYE_4_PARAMETERS,
       {0.0035, 0.0007, -0.0021, 0.0002},
       191},
      {"chebyshev mild", "chebyshev mild+t", CHEBYSHEV_4_PARAMETERS, {-0.02, 0.004, 0.001, 0}, 380},
      {"chebyshev wide",
       "chebyshev wide+t",
       CHEBYSHEV_4_PARAMETERS,
       {-0.06, 0.01, -0.002, 0.001},
       230},
      {"spline3 mild",
       "spline3 mild+t",
       FISHEYE_SPLINE_3,
       {-0.01, -0.02, -0.03, -0.03, -0.05, -0.02},
       380},
      {"spline3 wide",
       "spline3 wide+t",
       FISHEYE_SPLINE_3,
       {0.01, 0.02, 0.03, 0.01, 0.02, -0.03},
       210},
      {"rational mild",
       "rational mild+t",
       FISHEYE_RATIONAL,
       {0.5, 0.02, 0.01, 0.03, 0.01, 0.005},
       420},
      {"rational strong",
       "rational strong+t",
       FISHEYE_RATIONAL,
       {0.9, 0.1, 0.08, 0.05, -0.02, 0.01},
       300},
  };
  std::array<CameraCase, 36> cases{};
  std::size_t i = 0;
  for (const Lens& lens : lenses) {
    ExactModel exact{lens.model, lens.k, 0, 0, lens.focal, lens.focal * 0.998, 321.3, 238.6};
    cases[i++] = {lens.name, 640, 480, exact};
    exact.p1 = 4e-4;
    exact.p2 = -2.5e-4;
    cases[i++] = {lens.withTangential, 640, 480, exact};
  }
  return cases;
}

}  // namespace rectiline::acceptance
