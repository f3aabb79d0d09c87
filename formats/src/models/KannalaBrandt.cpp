// Kannala-Brandt fisheye lenses, as of OpenCV's fisheye module, Kalibr's "equidistant", Basalt's
// "kb4" and COLMAP's OPENCV_FISHEYE. Defined for rays behind the camera, too.

#include <cmath>

#include "models/LibraryLens.h"

namespace rectiline::formats {
namespace {

/// Scales (x, y) of a ray to the length of its angle off the axis.
Vec2 equidistant(const Vec3& ray, double& angle) {
  const double r = std::hypot(ray[0], ray[1]);
  angle = std::atan2(r, ray[2]);
  const double scale = r > 0 ? angle / r : 1;
  return {ray[0] * scale, ray[1] * scale};
}

bool tryProject(const LensParameters& lens, const Vec3& ray, Vec2& position) {
  double t = 0;
  const auto [x, y] = equidistant(ray, t);
  const double t2 = t * t;
  const double F = 1 + t2 * (lens.k1 + t2 * (lens.k2 + t2 * (lens.k3 + t2 * lens.k4)));
  position = {x * F, y * F};
  return F > 0;
}

std::string convert(const LensParameters& lens, IntrinsicCameraCalibrationZEL& ours) {
  const double coefficients[4] = {lens.k1, lens.k2, lens.k3, lens.k4};
  for (int i = 0; i < 4; ++i) ours.distortion[i] = coefficients[i];
  ours.distortion_model = kFisheye4;
  return {};
}

/// As COLMAP's THIN_PRISM_FISHEYE: all terms are of the position on the equidistant plane.
bool tryProjectThinPrism(const LensParameters& lens, const Vec3& ray, Vec2& position) {
  double t = 0;
  const auto [x, y] = equidistant(ray, t);
  const double t2 = t * t;
  const double radial = t2 * (lens.k1 + t2 * (lens.k2 + t2 * (lens.k3 + t2 * lens.k4)));
  position = {x + x * radial + 2 * lens.p1 * x * y + lens.p2 * (t2 + 2 * x * x) + lens.s1 * t2,
              y + y * radial + 2 * lens.p2 * x * y + lens.p1 * (t2 + 2 * y * y) + lens.s2 * t2};
  return 1 + radial > 0;
}

std::string convertThinPrism(const LensParameters& lens, IntrinsicCameraCalibrationZEL& ours) {
  const bool isRadial = lens.p1 == 0 && lens.p2 == 0 && lens.s1 == 0 && lens.s2 == 0;
  if (!isRadial) return "the thin prism fisheye model with p1, p2, sx1 or sy1 that are not zero";
  return convert(lens, ours);
}

}  // namespace

const SourceModel kKannalaBrandt{"Kannala-Brandt", tryProject, convert};
const SourceModel kThinPrismFisheye{"thin prism fisheye", tryProjectThinPrism, convertThinPrism};

}  // namespace rectiline::formats
