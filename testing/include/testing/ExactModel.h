#pragma once

// The distortion formulas written out once more, directly, in double: the oracle that the library's
// tables are measured against. Kept apart from the library's own code on purpose.

#include <cmath>

#include "CameraModel/DistortionModel.h"
#include "rectiline/CalibrationRecords.h"

namespace rectiline::testing {

struct Point2 {
  double x;
  double y;
};

/// The camera of a record.
class ExactModel {
 public:
  explicit ExactModel(const IntrinsicCameraCalibrationZEL& record) : in(record) {}

  /// Distorted over undistorted radius at undistorted radius r.
  [[nodiscard]] double factor(double r) const {
    const double atCentre = hasOmega() ? 2 * std::tan(k(0) / 2) / k(0) : 1;
    return r < 1e-9 ? atCentre : distortedRadius(r) / r;
  }

  /// The pixel of the ideal point (x, y).
  [[nodiscard]] Point2 pixel(double x, double y) const {
    const double p1 = in.distortion[6];
    const double p2 = in.distortion[7];
    const double r2 = x * x + y * y;
    const double d = factor(std::sqrt(r2));
    const double xd = d * x + 2 * p1 * x * y + p2 * (r2 + 2 * x * x);
    const double yd = d * y + p1 * (r2 + 2 * y * y) + 2 * p2 * x * y;
    return {in.principal_point_x + in.focal_length_x * xd,
            in.principal_point_y + in.focal_length_y * yd};
  }

  /// How far the pixel (u, v) is from that of the ideal point (x, y).
  [[nodiscard]] double distance(double x, double y, double u, double v) const {
    const Point2 truth = pixel(x, y);
    return std::hypot(truth.x - u, truth.y - v);
  }

  IntrinsicCameraCalibrationZEL in;

 private:
  [[nodiscard]] CamModel::DistortionModel model() const {
    return static_cast<CamModel::DistortionModel>(in.distortion_model);
  }

  [[nodiscard]] bool hasOmega() const {
    return model() == CamModel::FISHEYE_1_PARAMETER || model() == CamModel::FISHEYE_RATIONAL;
  }

  // Without a default, so that a model without its formula does not compile.
  [[nodiscard]] double distortedRadius(double r) const {
    const double theta = std::atan(r);
    switch (model()) {
      case CamModel::LINEAR:
        return r;
      case CamModel::RADIAL_2_PARAMETERS:
      case CamModel::RADIAL_3_PARAMETERS:
      case CamModel::RADIAL_6_PARAMETERS:
        return r * quotient(r * r);
      case CamModel::FISHEYE_1_PARAMETER:
        return rho(r);
      case CamModel::FISHEYE_4_PARAMETERS:
        return theta * angles(theta * theta);
      case CamModel::CHEBYSHEV_4_PARAMETERS:
        return theta * chebyshev(theta / 1.75);
      case CamModel::FISHEYE_SPLINE_3:
        return theta * threeKnots(theta * 6 / M_PI);
      case CamModel::FISHEYE_RATIONAL:
        return rational(r);
    }
    return NAN;
  }

  [[nodiscard]] double quotient(double x) const {
    return (1 + k(0) * x + k(1) * x * x + k(2) * x * x * x) /
           (1 + k(3) * x + k(4) * x * x + k(5) * x * x * x);
  }

  [[nodiscard]] double rho(double r) const { return std::atan(2 * r * std::tan(k(0) / 2)) / k(0); }

  [[nodiscard]] double angles(double t2) const {
    return 1 + t2 * (k(0) + t2 * (k(1) + t2 * (k(2) + t2 * k(3))));
  }

  /// Even Chebyshev polynomials by their cosine form, without their values at 0.
  [[nodiscard]] double chebyshev(double z) const {
    double sum = 1;
    for (int n = 1; n <= 4; ++n) {
      const double t = z <= 1 ? std::cos(2 * n * std::acos(z)) : std::cosh(2 * n * std::acosh(z));
      const double atZero = n % 2 == 0 ? 1 : -1;
      sum += k(n - 1) * (t - atZero);
    }
    return sum;
  }

  [[nodiscard]] double threeKnots(double s) const {
    const int j = s < 1 ? 0 : s < 2 ? 1 : 2;
    const double tau = s - j;
    const double value[4] = {1, 1 + k(0), 1 + k(2), 1 + k(4)};
    const double slope[4] = {0, k(1), k(3), k(5)};
    const double a = (1 + 2 * tau) * (1 - tau) * (1 - tau);
    const double b = tau * (1 - tau) * (1 - tau);
    const double c = tau * tau * (3 - 2 * tau);
    const double e = tau * tau * (tau - 1);
    return a * value[j] + b * slope[j] + c * value[j + 1] + e * slope[j + 1];
  }

  /// Below r^2 = 1e-5 the model is, by definition, its short form.
  [[nodiscard]] double rational(double r) const {
    const double t = std::tan(k(0) / 2);
    if (r * r < 1e-5) return r * (2 * t / k(0) - 2 * k(2) * t * t * r * r);
    const double a = rho(r);
    return a * (1 + k(1) * a + k(4) * a * a) / (1 + k(2) * a + k(3) * a * a + k(5) * a * a * a);
  }

  [[nodiscard]] double k(int i) const { return in.distortion[i]; }
};

}  // namespace rectiline::testing
