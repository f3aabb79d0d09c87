#pragma once

// A small scene of textured planes, and what cameras see of it.

#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "Calls.h"
#include "Pose.h"
#include "rectiline_check/Check.h"

namespace rectiline::check::testing {

/// A repeatable value in [0, 1) for a lattice point.
inline double lattice(int i, int j, unsigned seed) {
  std::uint32_t h = static_cast<std::uint32_t>(i) * 0x9E3779B1U + seed * 0x7FEB352DU;
  h ^= static_cast<std::uint32_t>(j) * 0x85EBCA77U;
  h = (h ^ (h >> 15)) * 0x2C1B3C6DU;
  h = (h ^ (h >> 13)) * 0x297A2D39U;
  return static_cast<double>((h >> 8) & 0xFFFFU) / 65536.0;
}

/// Lattice values, blended smoothly in between.
inline double noise(double x, double y, unsigned seed) {
  const int i = static_cast<int>(std::floor(x));
  const int j = static_cast<int>(std::floor(y));
  const auto smooth = [](double t) { return t * t * (3 - 2 * t); };
  const double s = smooth(x - i);
  const double t = smooth(y - j);
  return (lattice(i, j, seed) * (1 - s) + lattice(i + 1, j, seed) * s) * (1 - t) +
         (lattice(i, j + 1, seed) * (1 - s) + lattice(i + 1, j + 1, seed) * s) * t;
}

/// The grey value on a ray from `origin`, in the frame in which the planes stand before z = 0:
/// screens of growing depth, each leaving a part of the view to those behind it.
inline std::uint8_t greyOnRay(const PositionZEL& origin, const double* ray) {
  struct Screen {
    double depth, fromX, toX, fromY, toY;
  };
  static constexpr std::array<Screen, 5> kScreens = {{{1.0, -0.7, -0.1, -0.5, 0.3},
                                                      {1.5, 0.2, 1.0, -0.2, 0.9},
                                                      {2.0, -1.6, 0.0, 0.4, 1.5},
                                                      {2.5, -0.4, 2.0, -2.0, -0.6},
                                                      {4.0, -99, 99, -99, 99}}};
  for (const Screen& s : kScreens) {
    const double t = (s.depth - origin.z) / ray[2];
    const double x = origin.x + t * ray[0];
    const double y = origin.y + t * ray[1];
    if (x < s.fromX || x > s.toX || y < s.fromY || y > s.toY) continue;
    const double scale = 16 / s.depth;  // cells per metre, so that all have some pixels
    const auto seed = static_cast<unsigned>(2 * s.depth);
    const double value = 0.6 * noise(scale * x, scale * y, seed) +
                         0.4 * noise(2.3 * scale * x, 2.3 * scale * y, seed + 1);
    return static_cast<std::uint8_t>(20 + 215 * value);
  }
  return 0;
}

/// What a camera sees. The planes stand in the frame that `T_camera_scene` comes from.
inline std::vector<std::uint8_t> renderImage(const CameraCalibrationZEL& camera,
                                             const XrPosedZEL_t& T_camera_scene) {
  const int width = camera.intrinsics.width;
  const std::size_t n = static_cast<std::size_t>(width) * camera.intrinsics.height;
  const XrPosedZEL_t T_scene_camera = inverse(T_camera_scene);
  std::vector<double> pixels;
  for (std::size_t i = 0; i < n; ++i) {
    pixels.push_back(static_cast<double>(i % width));
    pixels.push_back(static_cast<double>(i / width));
  }
  std::vector<double> rays(3 * n);
  require(rectiline_pixels_to_rays(&camera, n, pixels.data(), rays.data(), nullptr));
  std::vector<std::uint8_t> grey(n);
  for (std::size_t i = 0; i < n; ++i) {
    const double* r = &rays[3 * i];
    if (std::isnan(r[0])) continue;
    const QuaternionZEL q = T_scene_camera.orientation;
    const PositionZEL turned = compose({q, {0, 0, 0}}, {{0, 0, 0, 1}, {r[0], r[1], r[2]}}).position;
    const double ray[3] = {turned.x, turned.y, turned.z};
    grey[i] = greyOnRay(T_scene_camera.position, ray);
  }
  return grey;
}

}  // namespace rectiline::check::testing
