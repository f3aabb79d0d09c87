// Models that project onto a sphere or an ellipsoid first. None is one of the library's, all can be
// fitted. Each is valid where its denominator is positive and the image does not fold back.

#include <cmath>

#include "models/SourceModel.h"

namespace rectiline::formats {
namespace {

constexpr double kSmall = 1e-9;

/// Usenko, Demmel and Cremers, "The Double Sphere Camera Model", 2018, equations 40 to 45.
bool tryDoubleSphere(const LensParameters& lens, const Vec3& ray, Vec2& position) {
  const auto [x, y, z] = ray;
  const double r2 = x * x + y * y;
  const double d1 = std::sqrt(r2 + z * z);
  const double zeta = lens.xi * d1 + z;
  const double d2 = std::sqrt(r2 + zeta * zeta);
  const double norm = lens.alpha * d2 + (1 - lens.alpha) * zeta;
  const double w1 =
      lens.alpha > 0.5 ? (1 - lens.alpha) / lens.alpha : lens.alpha / (1 - lens.alpha);
  const double w2 = (w1 + lens.xi) / std::sqrt(2 * w1 * lens.xi + lens.xi * lens.xi + 1);
  position = {x / norm, y / norm};
  return norm > kSmall && z > -w2 * d1;
}

/// The extended unified model, the same paper's equations 18 to 22.
bool tryUnified(const LensParameters& lens, const Vec3& ray, Vec2& position) {
  const auto [x, y, z] = ray;
  const double d = std::sqrt(lens.beta * (x * x + y * y) + z * z);
  const double norm = lens.alpha * d + (1 - lens.alpha) * z;
  const double w = lens.alpha > 0.5 ? (1 - lens.alpha) / lens.alpha : lens.alpha / (1 - lens.alpha);
  position = {x / norm, y / norm};
  return norm > kSmall && z > -w * d;
}

/// Mei and Rives, "Single view point omnidirectional camera calibration from planar grids", 2007:
/// Brown-Conrady distortion on the plane behind a sphere's shifted centre.
bool tryOmnidirectional(const LensParameters& lens, const Vec3& ray, Vec2& position) {
  const double depth = ray[2] + lens.xi * std::sqrt(dot(ray, ray));
  if (!(depth > kSmall)) return false;
  return kBrownConrady.tryProject(lens, {ray[0], ray[1], depth}, position);
}

}  // namespace

const SourceModel kDoubleSphere{"double sphere", tryDoubleSphere, nullptr};
const SourceModel kUnified{"extended unified camera (EUCM)", tryUnified, nullptr};
const SourceModel kOmnidirectional{"omnidirectional", tryOmnidirectional, nullptr};

}  // namespace rectiline::formats
