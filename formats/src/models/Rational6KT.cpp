// The factory model of Azure Kinect and Windows Mixed Reality cameras. Source: the sensor SDK's
// public transformation code:
//   (x, y) about (codx, cody), F rational as in Brown-Conrady,
//   x' = x F + codx + p2 (r^2 + 2 x^2) + p1 x y
//   y' = y F + cody + p1 (r^2 + 2 y^2) + p2 x y

#include "models/LibraryLens.h"

namespace rectiline::formats {
namespace {

bool tryProject(const LensParameters& lens, const Vec3& ray, Vec2& position) {
  Vec2 ideal;
  if (!tryIdealPoint(ray, ideal)) return false;
  const double x = ideal[0] - lens.codx;
  const double y = ideal[1] - lens.cody;
  const double r2 = x * x + y * y;
  const double numerator = 1 + r2 * (lens.k1 + r2 * (lens.k2 + r2 * lens.k3));
  const double denominator = 1 + r2 * (lens.k4 + r2 * (lens.k5 + r2 * lens.k6));
  if (!(denominator > 0)) return false;
  const double F = numerator / denominator;
  position = {x * F + lens.codx + lens.p2 * (r2 + 2 * x * x) + lens.p1 * x * y,
              y * F + lens.cody + lens.p1 * (r2 + 2 * y * y) + lens.p2 * x * y};
  return true;
}

std::string convert(const LensParameters& lens, IntrinsicCameraCalibrationZEL& ours) {
  if (lens.codx != 0 || lens.cody != 0) {
    return "the Rational6KT model with a centre of distortion codx, cody that is not zero";
  }
  if (lens.p1 != 0 || lens.p2 != 0) {
    return "the Rational6KT model with cross terms p1, p2 that are not zero";
  }
  setRational(lens, ours);
  return {};
}

}  // namespace

const SourceModel kRational6KT{"Rational6KT", tryProject, convert};

}  // namespace rectiline::formats
