#include "scene/CornerCheck.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <optional>
#include <vector>

#include "cli/Error.h"
#include "scene/Scene.h"

namespace rectiline::tool {
namespace {

struct Position {
  double x;
  double y;
};

std::vector<Corner> readCorners(const std::string& file) {
  std::ifstream in(file);
  if (!in) throw Error(file + ": cannot be read");
  std::vector<Corner> corners;
  std::string line;
  while (std::getline(in, line)) {
    Corner c;
    Vec3d& p = c.position;
    Vec3d& u = c.edgeU;
    Vec3d& v = c.edgeV;
    if (std::sscanf(line.c_str(), "%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf", &p.x, &p.y, &p.z, &u.x,
                    &u.y, &u.z, &v.x, &v.y, &v.z) != 9) {
      throw Error(file + ": not a line of nine numbers: " + line);
    }
    corners.push_back(c);
  }
  return corners;
}

/// Sums of image gradients in a window about a corner, weighted towards its middle.
struct GradientSums {
  bool complete = true;           // every pixel of the window has a source
  double xx = 0, xy = 0, yy = 0;  // of gradient products
  double dx = 0, dy = 0;          // of gradient products times the offset from the corner

  void add(double w, double gx, double gy, double x, double y) {
    xx += w * gx * gx;
    xy += w * gx * gy;
    yy += w * gy * gy;
    dx += w * (gx * gx * x + gx * gy * y);
    dy += w * (gx * gy * x + gy * gy * y);
  }
};

GradientSums sumGradients(const GreyImage& image, const Position& q, int cx, int cy, int radius) {
  GradientSums sums;
  for (int y = cy - radius; y <= cy + radius; ++y) {
    for (int x = cx - radius; x <= cx + radius; ++x) {
      // What is rendered is never quite black: 0 is the mark of a pixel without a source.
      if (image(x, y) == 0) sums.complete = false;
      const double gx = (image(x + 1, y) - image(x - 1, y)) / 2.0;
      const double gy = (image(x, y + 1) - image(x, y - 1)) / 2.0;
      const double ox = x - q.x;
      const double oy = y - q.y;
      sums.add(std::exp(-2 * (ox * ox + oy * oy) / (radius * radius)), gx, gy, ox, oy);
    }
  }
  return sums;
}

/// The saddle point of a checkerboard near `start`: the point q at which every image gradient at a
/// neighbour p is perpendicular to p - q, in least squares (Foerstner & Guelch 1987). Nothing when
/// the window leaves the image, holds no corner, or the search wanders off.
std::optional<Position> refineCorner(const GreyImage& image, const Position& start, int radius) {
  constexpr double kMinContrast = 1e8;  // of two crossing edges, squared sums of gradients
  Position q = start;
  for (int iteration = 0; iteration < 20; ++iteration) {
    const int cx = static_cast<int>(std::lround(q.x));
    const int cy = static_cast<int>(std::lround(q.y));
    if (cx <= radius || cy <= radius || cx >= image.width - radius - 1 ||
        cy >= image.height - radius - 1) {
      return std::nullopt;
    }
    const GradientSums s = sumGradients(image, q, cx, cy, radius);
    const double det = s.xx * s.yy - s.xy * s.xy;
    if (!s.complete || !(det > kMinContrast)) return std::nullopt;
    const double stepX = (s.yy * s.dx - s.xy * s.dy) / det;
    const double stepY = (s.xx * s.dy - s.xy * s.dx) / det;
    q = {q.x + stepX, q.y + stepY};
    if (std::hypot(q.x - start.x, q.y - start.y) > radius) return std::nullopt;
    if (std::hypot(stepX, stepY) < 1e-4) return q;
  }
  return std::nullopt;
}

/// Where the claimed rectified cameras see one point.
struct Expected {
  Position left;
  Position right;
  double depth;  // metres
};

std::optional<Expected> expect(const RectifiedImages& pair, const Vec3d& P_ol) {
  const rectiline_view& view = pair.rectification.left;
  const Vec3d P_tl = rotateBack(view.R_camera_view, P_ol);
  if (!(P_tl.z > 0.1)) return std::nullopt;
  const Position left{view.cx + view.fx * P_tl.x / P_tl.z, view.cy + view.fy * P_tl.y / P_tl.z};
  const double disparity = pair.rectification.depth_constant / P_tl.z;
  const Position right{left.x - (pair.isVertical() ? 0 : disparity),
                       left.y - (pair.isVertical() ? disparity : 0)};
  return Expected{left, right, P_tl.z};
}

/// The window that stays within the four cells around a corner, at most kMaxRadius.
int windowRadius(const RectifiedImages& pair, const Corner& corner, const Position& centre) {
  constexpr double kMaxRadius = 9;
  double nearest = kMaxRadius / 0.6;
  for (const Vec3d& side : {corner.edgeU, corner.edgeU * -1, corner.edgeV, corner.edgeV * -1}) {
    const std::optional<Expected> end = expect(pair, corner.position + side);
    if (!end) return 0;
    nearest = std::min(nearest, std::hypot(end->left.x - centre.x, end->left.y - centre.y));
  }
  return static_cast<int>(0.6 * nearest);
}

/// A corner as measured in both images.
struct Measured {
  double acrossBaseline;  // left minus right, pixels
  double disparity;       // pixels
  double depth;           // true depth, metres
};

std::optional<Measured> measure(const RectifiedImages& pair, const Corner& corner) {
  // Smaller cells come from a part of the raw image that the map reduces by skipping pixels: what
  // would be measured there is the sampling.
  constexpr int kMinRadius = 7;
  const std::optional<Expected> expected = expect(pair, corner.position);
  if (!expected) return std::nullopt;
  const int radius = windowRadius(pair, corner, expected->left);
  if (radius < kMinRadius) return std::nullopt;
  const auto left = refineCorner(pair.left, expected->left, radius);
  const auto right = refineCorner(pair.right, expected->right, radius);
  if (!left || !right) return std::nullopt;
  const double dx = left->x - right->x;
  const double dy = left->y - right->y;
  return pair.isVertical() ? Measured{dx, dy, expected->depth} : Measured{dy, dx, expected->depth};
}

}  // namespace

CornerErrors checkCorners(const RectifiedImages& pair, const std::string& pointsFile) {
  CornerErrors errors;
  const double depthConstant = pair.rectification.depth_constant;
  for (const Corner& corner : readCorners(pointsFile)) {
    const std::optional<Measured> m = measure(pair, corner);
    if (!m) continue;
    const double row = std::fabs(m->acrossBaseline);
    const double disparityError = m->disparity - depthConstant / m->depth;
    const double depthShare = std::fabs(depthConstant / m->disparity / m->depth - 1);
    ++errors.points;
    errors.rowRms += row * row;
    errors.disparityRms += disparityError * disparityError;
    errors.depthRmsShare += depthShare * depthShare;
    errors.rowMax = std::max(errors.rowMax, row);
    errors.depthMaxShare = std::max(errors.depthMaxShare, depthShare);
  }
  const double n = std::max(errors.points, 1);
  for (double* sum : {&errors.rowRms, &errors.disparityRms, &errors.depthRmsShare}) {
    *sum = std::sqrt(*sum / n);
  }
  return errors;
}

}  // namespace rectiline::tool
