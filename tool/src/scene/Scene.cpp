#include "scene/Scene.h"

#include <algorithm>
#include <cmath>

namespace rectiline::tool {
namespace {

/// A repeatable random value in [0, 1) for a lattice point.
double lattice(int i, int j) {
  std::uint32_t h =
      static_cast<std::uint32_t>(i) * 0x9E3779B1U ^ static_cast<std::uint32_t>(j) * 0x85EBCA77U;
  h = (h ^ (h >> 15)) * 0x2C1B3C6DU;
  h = (h ^ (h >> 13)) * 0x297A2D39U;
  return static_cast<double>((h ^ (h >> 16)) & 0xFFFFU) / 65536.0;
}

/// Lattice values, blended smoothly in between.
double noise(double x, double y) {
  const double fx = std::floor(x);
  const double fy = std::floor(y);
  const int i = static_cast<int>(fx);
  const int j = static_cast<int>(fy);
  const auto smooth = [](double t) { return t * t * (3 - 2 * t); };
  const double s = smooth(x - fx);
  const double t = smooth(y - fy);
  const double top = lattice(i, j) * (1 - s) + lattice(i + 1, j) * s;
  const double bottom = lattice(i, j + 1) * (1 - s) + lattice(i + 1, j + 1) * s;
  return top * (1 - t) + bottom * t;
}

}  // namespace

Scene::Scene() {
  // Boards at different depths, two of them at the side for wide lenses; then walls, floor, ceiling
  // and boxes.
  mPatches = {
      {{-1.05, -0.55, 1.15}, {0.95, 0.05, 0.25}, {-0.03, 0.72, 0.05}, 4, 3, 25, 230, 0},
      {{0.25, -0.70, 2.30}, {1.40, -0.10, -0.35}, {0.08, 1.15, 0.10}, 5, 4, 25, 230, 0},
      {{-1.40, -1.20, 0.30}, {0.10, 0, 1.80}, {0, 1.60, 0}, 6, 5, 25, 230, 0},
      {{-1.00, 1.00, 0.30}, {2.00, 0, 0}, {0, 0.05, 1.50}, 7, 5, 25, 230, 0},
      {{-2.20, -1.90, 4.60}, {4.40, 0, 0}, {0, 3.00, 0}, 8, 5, 60, 200, 0},
      {{-4, -2.5, 5}, {8, 0, 0}, {0, 4, 0}, 16, 8, 90, 150, 0.8},
      {{-4, 1.3, -2}, {8, 0, 0}, {0, 0, 7}, 16, 14, 70, 130, 0.6},
      {{-4, -2.5, -2}, {8, 0, 0}, {0, 0, 7}, 8, 7, 150, 170, 0.4},
      {{-4, -2.5, -2}, {0, 0, 7}, {0, 3.8, 0}, 14, 8, 110, 140, 0.7},
      {{4, -2.5, -2}, {0, 0, 7}, {0, 3.8, 0}, 14, 8, 110, 140, 0.7},
  };
  addBox({-0.55, 0.45, 1.60}, {0.55, 0.85, 0.40});
  addBox({0.65, 0.60, 1.35}, {0.40, 0.70, 0.40});
  addBox({-1.90, 0.30, 2.60}, {0.60, 1.00, 0.60});
}

void Scene::addBox(const Vec3d& c, const Vec3d& s) {
  const Vec3d x{s.x, 0, 0};
  const Vec3d y{0, s.y, 0};
  const Vec3d z{0, 0, s.z};
  mPatches.push_back({c, x, y, 3, 4, 60, 210, 0.5});
  mPatches.push_back({c, x, z, 3, 3, 90, 240, 0.5});
  mPatches.push_back({c, z, y, 3, 4, 40, 170, 0.5});
  mPatches.push_back({c + x, z, y, 3, 4, 40, 170, 0.5});
}

double Scene::shade(const Patch& patch, double a, double b) {
  const double u = a * patch.cellsU;
  const double v = b * patch.cellsV;
  const bool odd = ((static_cast<int>(u) + static_cast<int>(v)) & 1) != 0;
  const double grey = odd ? patch.bright : patch.dark;
  if (patch.roughness == 0) return grey;
  const double rough = 0.6 * noise(7 * u, 7 * v) + 0.4 * noise(23 * u, 23 * v) - 0.5;
  return grey + patch.roughness * 160 * rough;
}

std::optional<Hit> Scene::trace(const Vec3d& origin, const Vec3d& direction) const {
  constexpr double kNear = 1e-6;
  std::optional<Hit> nearest;
  for (const Patch& patch : mPatches) {
    const Vec3d n = cross(patch.u, patch.v);
    const double slope = dot(direction, n);
    if (slope == 0) continue;
    const double t = dot(patch.origin - origin, n) / slope;
    if (!(t > kNear) || (nearest && t >= nearest->distance)) continue;
    const Vec3d p = origin + direction * t - patch.origin;
    const double n2 = dot(n, n);
    const double a = dot(cross(p, patch.v), n) / n2;
    const double b = dot(cross(patch.u, p), n) / n2;
    if (a >= 0 && a < 1 && b >= 0 && b < 1) nearest = Hit{t, shade(patch, a, b)};
  }
  return nearest;
}

bool Scene::isVisible(const Vec3d& point, const Vec3d& viewpoint) const {
  const std::optional<Hit> hit = trace(viewpoint, point - viewpoint);
  return hit && hit->distance > 0.999;
}

bool Scene::isVisible(const Corner& corner, const Vec3d& viewpoint) const {
  constexpr double kReach = 0.8;  // of a cell: what a measurement of the corner looks at
  const Vec3d u = corner.edgeU * kReach;
  const Vec3d v = corner.edgeV * kReach;
  const Vec3d& p = corner.position;
  return isVisible(p, viewpoint) && isVisible(p + u + v, viewpoint) &&
         isVisible(p + u - v, viewpoint) && isVisible(p - u + v, viewpoint) &&
         isVisible(p - u - v, viewpoint);
}

std::vector<Corner> Scene::cornersSeenFrom(const std::vector<Vec3d>& viewpoints) const {
  std::vector<Corner> corners;
  for (const Patch& patch : mPatches) {
    if (patch.roughness != 0) continue;
    const Vec3d edgeU = patch.u * (1.0 / patch.cellsU);
    const Vec3d edgeV = patch.v * (1.0 / patch.cellsV);
    for (int j = 1; j < patch.cellsV; ++j) {
      for (int i = 1; i < patch.cellsU; ++i) {
        const Corner corner{patch.origin + edgeU * i + edgeV * j, edgeU, edgeV};
        const bool visible =
            std::all_of(viewpoints.begin(), viewpoints.end(),
                        [&](const Vec3d& viewpoint) { return isVisible(corner, viewpoint); });
        if (visible) corners.push_back(corner);
      }
    }
  }
  return corners;
}

}  // namespace rectiline::tool
