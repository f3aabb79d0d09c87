#pragma once

// Lens models of calibration files, each by its own formula. They take the plane z = 1 or a ray of
// the camera's frame (x right, y down, z forward) to the plane that the focal lengths scale:
//   u = fx x' + skew y' + cx,  v = fy y' + cy.

#include <string>

#include "Pose.h"

namespace rectiline::formats {

/// What the models and formats call their numbers; which of them mean something, the model says.
struct LensParameters {
  double fx = 0, fy = 0, cx = 0, cy = 0, skew = 0;
  double k1 = 0, k2 = 0, k3 = 0, k4 = 0, k5 = 0, k6 = 0;  // radial
  double p1 = 0, p2 = 0;                                  // tangential, in OpenCV's order
  double s1 = 0, s2 = 0, s3 = 0, s4 = 0;                  // thin prism
  double tx = 0, ty = 0;                                  // turns of a tilted sensor
  double codx = 0, cody = 0;                              // centre of distortion
  double omega = 0;                                       // field of view of the arctangent model
  double xi = 0, alpha = 0, beta = 0;                     // sphere and ellipsoid models
  double limit = 0;  // largest ideal radius of the calibration; 0 or less: not given
};

struct SourceModel {
  const char* name;
  /// The position x', y' of a ray of unit length; false where the model has none.
  bool (*tryProject)(const LensParameters& lens, const Vec3& ray, Vec2& position);
  /// Sets the library's model and coefficients and returns nothing; or returns what of the lens
  /// they cannot express. Null for a model that they cannot express at all.
  std::string (*convert)(const LensParameters& lens, IntrinsicCameraCalibrationZEL& ours);
};

/// Brown-Conrady as OpenCV has it, up to 14 coefficients; all zero: a pinhole.
extern const SourceModel kBrownConrady;
/// Kannala-Brandt: r_d = t + k1 t^3 + ... + k4 t^9 of the angle t off the axis.
extern const SourceModel kKannalaBrandt;
/// The same with tangential and thin prism terms on the fisheye's own plane.
extern const SourceModel kThinPrismFisheye;
/// Arctangent or FOV: r_d = atan(2 r tan(omega / 2)) / omega.
extern const SourceModel kFieldOfView;
/// Rational, distortion about a centre, cross terms p x y instead of 2 p x y.
extern const SourceModel kRational6KT;
extern const SourceModel kDoubleSphere;
extern const SourceModel kUnified;
extern const SourceModel kOmnidirectional;

/// The position of an ideal point by a model of the plane z = 1; false behind the camera.
inline bool tryIdealPoint(const Vec3& ray, Vec2& ideal) {
  if (!(ray[2] > 0)) return false;
  ideal = {ray[0] / ray[2], ray[1] / ray[2]};
  return true;
}

}  // namespace rectiline::formats
