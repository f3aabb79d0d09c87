// The arctangent or FOV model. Source: Devernay and Faugeras, "Straight lines have to be straight",
// 2001: r_d = atan(2 r tan(omega / 2)) / omega; omega 0 means a pinhole.

#include <cmath>

#include "models/LibraryLens.h"

namespace rectiline::formats {
namespace {

bool tryProject(const LensParameters& lens, const Vec3& ray, Vec2& position) {
  if (!tryIdealPoint(ray, position)) return false;
  const double r = std::hypot(position[0], position[1]);
  if (lens.omega == 0) return true;
  const double slope = 2 * std::tan(lens.omega / 2);
  const double factor = r > 0 ? std::atan(r * slope) / (r * lens.omega) : slope / lens.omega;
  position = {position[0] * factor, position[1] * factor};
  return true;
}

std::string convert(const LensParameters& lens, IntrinsicCameraCalibrationZEL& ours) {
  ours.distortion[0] = lens.omega;
  ours.distortion_model = lens.omega == 0 ? kLinear : kFisheye1;
  return {};
}

}  // namespace

const SourceModel kFieldOfView{"FOV", tryProject, convert};

}  // namespace rectiline::formats
