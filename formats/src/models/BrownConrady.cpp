// Brown-Conrady in OpenCV's form. Source: OpenCV, "Camera Calibration and 3D Reconstruction":
//   x'' = x F + 2 p1 x y + p2 (r^2 + 2 x^2) + s1 r^2 + s2 r^4
//   y'' = y F + p1 (r^2 + 2 y^2) + 2 p2 x y + s3 r^2 + s4 r^4
//   F = (1 + k1 r^2 + k2 r^4 + k3 r^6) / (1 + k4 r^2 + k5 r^4 + k6 r^6)
// and, for a sensor turned by tx about x and ty about y, with R = Ry Rx,
//   (x', y') ~ [R33 0 -R13; 0 R33 -R23; 0 0 1] R (x'', y'', 1).

#include <cmath>

#include "models/LibraryLens.h"

namespace rectiline::formats {
namespace {

bool tryTilt(const LensParameters& lens, Vec2& p) {
  if (lens.tx == 0 && lens.ty == 0) return true;
  const double cx = std::cos(lens.tx), sx = std::sin(lens.tx);
  const double cy = std::cos(lens.ty), sy = std::sin(lens.ty);
  const Mat3 Rx{1, 0, 0, 0, cx, sx, 0, -sx, cx};
  const Mat3 Ry{cy, 0, -sy, 0, 1, 0, sy, 0, cy};
  const Mat3 R = Ry * Rx;
  const Mat3 ontoSensor{R[8], 0, -R[2], 0, R[8], -R[5], 0, 0, 1};
  const Vec3 tilted = ontoSensor * (R * Vec3{p[0], p[1], 1});
  p = {tilted[0] / tilted[2], tilted[1] / tilted[2]};
  return tilted[2] > 0;
}

bool tryProject(const LensParameters& lens, const Vec3& ray, Vec2& position) {
  Vec2 ideal;
  if (!tryIdealPoint(ray, ideal)) return false;
  const auto [x, y] = ideal;
  const double r2 = x * x + y * y;
  const double numerator = 1 + r2 * (lens.k1 + r2 * (lens.k2 + r2 * lens.k3));
  const double denominator = 1 + r2 * (lens.k4 + r2 * (lens.k5 + r2 * lens.k6));
  if (!(denominator > 0)) return false;
  const double F = numerator / denominator;
  position = {
      x * F + 2 * lens.p1 * x * y + lens.p2 * (r2 + 2 * x * x) + r2 * (lens.s1 + lens.s2 * r2),
      y * F + lens.p1 * (r2 + 2 * y * y) + 2 * lens.p2 * x * y + r2 * (lens.s3 + lens.s4 * r2)};
  return tryTilt(lens, position);
}

std::string convert(const LensParameters& lens, IntrinsicCameraCalibrationZEL& ours) {
  const bool hasThinPrism = lens.s1 != 0 || lens.s2 != 0 || lens.s3 != 0 || lens.s4 != 0;
  if (hasThinPrism)
    return "the Brown-Conrady model with thin prism terms s1 to s4 that are not zero";
  const bool isTilted = lens.tx != 0 || lens.ty != 0;
  if (isTilted) return "the Brown-Conrady model with a tilted sensor, tau that is not zero";
  setRational(lens, ours);
  return {};
}

}  // namespace

const SourceModel kBrownConrady{"Brown-Conrady", tryProject, convert};

}  // namespace rectiline::formats
