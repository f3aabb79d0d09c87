#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "scene/Geometry.h"

namespace rectiline::tool {

/// What a ray meets: the distance in lengths of its direction, and the grey value there.
struct Hit {
  double distance;
  double grey;
};

/// An inner corner of a checkerboard and the edges of its cells, metres.
struct Corner {
  Vec3d position;
  Vec3d edgeU;
  Vec3d edgeV;
};

/// A room with boxes and checkerboards, in the frame of the left camera: x right, y down,
/// z forward.
class Scene {
 public:
  Scene();

  [[nodiscard]] std::optional<Hit> trace(const Vec3d& origin, const Vec3d& direction) const;

  /// Inner corners of the checkerboards that can be seen, with their surroundings,
  /// from all of `viewpoints`.
  [[nodiscard]] std::vector<Corner> cornersSeenFrom(const std::vector<Vec3d>& viewpoints) const;

 private:
  /// A parallelogram origin + a u + b v with a, b in [0, 1], as a checkerboard or rough.
  struct Patch {
    Vec3d origin;
    Vec3d u;
    Vec3d v;
    int cellsU;
    int cellsV;
    double dark;
    double bright;
    double roughness;  // 0: a clean checkerboard
  };

  static double shade(const Patch& patch, double a, double b);
  [[nodiscard]] bool isVisible(const Vec3d& point, const Vec3d& viewpoint) const;
  [[nodiscard]] bool isVisible(const Corner& corner, const Vec3d& viewpoint) const;
  void addBox(const Vec3d& corner, const Vec3d& size);

  std::vector<Patch> mPatches;
};

}  // namespace rectiline::tool
