#pragma once

// How far the vector forms of the map kernel may be from its plain form.

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>
#include <string>

#include "AR/CV/Map/MapJob.h"
#include "Map/MapKernel.h"
#include "testing/GuardedBuffer.h"
#include "testing/InstructionSets.h"

namespace rectiline::acceptance {

using Job = AR::CV::MapJob<float>;

/// Four units in the last place of a number as large as `size`.
inline float tolerance(float size) {
  return 4 * (std::nextafter(size, std::numeric_limits<float>::infinity()) - size);
}

/// Both maps of a job with their reasons, in memory whose edges are watched.
struct Maps {
  Maps(int w, int h) : width(w), height(h), X(count()), Y(count()), reasons(count()) {}

  [[nodiscard]] std::size_t count() const {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  }
  [[nodiscard]] bool hasSource(std::size_t i) const {
    return reasons[i] <= static_cast<int>(AR::CV::PixelSource::PastLastCentre);
  }
  [[nodiscard]] bool intact() const { return X.intact() && Y.intact() && reasons.intact(); }

  template <typename Row>
  void fill(Row&& row) {
    for (int y = 0; y < height; ++y) {
      const AR::CV::MapRowReport r =
          row(y, X.data() + y * width, Y.data() + y * width, reasons.data() + y * width);
      report.noInverse += r.noInverse;
      report.zeroDepth += r.zeroDepth;
    }
  }

  int width, height;
  testing::GuardedBuffer<float> X, Y;
  testing::GuardedBuffer<std::uint8_t> reasons;
  AR::CV::MapRowReport report;
};

inline Maps plainMaps(const Job& job, int width, int height) {
  Maps maps(width, height);
  maps.fill([&](int y, float* X, float* Y, std::uint8_t* reasons) {
    return mapRowScalar(job, y, width, X, Y, reasons);
  });
  return maps;
}

/// Calls check(plain, vector) with the maps of `job` for every instruction set.
template <typename Check>
void forEachVectorForm(const Job& job, int width, int height, Check&& check) {
  const Maps plain = plainMaps(job, width, height);
  testing::forEachInstructionSet([&] {
    const AR::CV::MapKernel kernel(job);
    Maps maps(width, height);
    maps.fill([&](int y, float* X, float* Y, std::uint8_t* reasons) {
      return kernel.row(y, width, X, Y, reasons);
    });
    check(plain, maps);
  });
}

inline bool isNear(float a, float b, float distance) { return std::fabs(a - b) <= distance; }

/// Whether rounding may decide about the pixel: a coordinate, its radius or its depth is at a
/// limit.
inline bool isAtLimit(const Job& job, int x, int y) {
  AR::CV::MapRowReport ignored;
  AR::Math::Vec<float, 3> ray;
  float u = std::numeric_limits<float>::quiet_NaN();
  float v = u;
  const AR::CV::MapRow<float> row(job, y);
  if (row.ray(x, ray, ignored) == AR::CV::PixelSource::NoInverse) return false;
  row.source(x, u, v, ignored);
  const float eps = tolerance(std::max(job.width, job.height));
  const auto atSide = [eps](float p, float size) {
    return isNear(p, 0, 2 * eps) || isNear(p, size - 1, eps) || isNear(p, size, eps);
  };
  const float r2 = (ray(0) * ray(0) + ray(1) * ray(1)) / (ray(2) * ray(2));
  const float range = job.source.getDistortionSpline().rangeMax;
  return atSide(u, job.width) || atSide(v, job.height) || isNear(r2, range, 1e-5F * range) ||
         isNear(ray(2), job.minDepth, 1e-6F);
}

/// Whether a position is the same up to rounding; NaN is the same as NaN.
inline bool agrees(float u, float v, float uOther, float vOther, float size) {
  const float largest = std::max({size, std::fabs(u), std::fabs(v)});
  // Kept positions far outside are differences of larger terms.
  const float eps = largest > size ? 2 * tolerance(largest) : tolerance(size);
  const auto same = [eps](float a, float b) {
    return a == b || (std::isnan(a) && std::isnan(b)) || isNear(a, b, eps);
  };
  return same(u, uOther) && same(v, vOther);
}

inline float distanceAt(const Maps& plain, const Maps& maps, std::size_t i) {
  return std::hypot(plain.X[i] - maps.X[i], plain.Y[i] - maps.Y[i]);
}

/// Whether a kept position outside the image may have moved that far by the rounding of its ray
/// alone: rays that graze the source camera lose digits in either form.
inline bool isRoundingOfRay(const Job& job, int x, int y, float distance) {
  constexpr float kRounding = 0x1p-21F;  // a few operations
  AR::CV::MapRowReport ignored;
  AR::Math::Vec<float, 3> ray;
  const AR::CV::MapRow<float> row(job, y);
  if (row.ray(x, ray, ignored) != AR::CV::PixelSource::Inside) return false;
  const AR::Math::Vec<float, 2> ideal(ray(0) / ray(2), ray(1) / ray(2));
  const float terms =
      AR::Math::norm(ray) + AR::Math::norm(job.offset_s) + AR::Math::norm(ray - job.offset_s);
  const float reach = kRounding * terms / std::fabs(ray(2)) * (1 + AR::Math::norm(ideal));
  AR::Math::Vec<float, 2> at, beside, below;
  const bool areProjected = job.source.tryIdeal2pixel(ideal, at) &&
                            job.source.tryIdeal2pixel({ideal(0) + reach, ideal(1)}, beside) &&
                            job.source.tryIdeal2pixel({ideal(0), ideal(1) + reach}, below);
  return areProjected && distance <= AR::Math::norm(beside - at) + AR::Math::norm(below - at);
}

/// The first pixel whose decision or position is not that of the plain form, both beside each
/// other; empty when there is none, the reports are equal, and nothing around the maps was written.
inline std::string disagreement(const Job& job, const Maps& plain, const Maps& maps) {
  const float size = std::max(job.width, job.height);
  std::ostringstream text;
  for (std::size_t i = 0; i < maps.count(); ++i) {
    const int x = static_cast<int>(i) % maps.width, y = static_cast<int>(i) / maps.width;
    const bool isSame =
        maps.reasons[i] == plain.reasons[i]
            ? agrees(plain.X[i], plain.Y[i], maps.X[i], maps.Y[i], size) ||
                  (!plain.hasSource(i) && isRoundingOfRay(job, x, y, distanceAt(plain, maps, i)))
            : isAtLimit(job, x, y);
    if (isSame) continue;
    text << "(" << x << ", " << y << "): " << int{plain.reasons[i]} << " " << plain.X[i] << " "
         << plain.Y[i] << " -> " << int{maps.reasons[i]} << " " << maps.X[i] << " " << maps.Y[i];
    return text.str();
  }
  if (maps.report.noInverse != plain.report.noInverse) return "pixels without an inverse";
  if (maps.report.zeroDepth != plain.report.zeroDepth) return "rays of depth 0";
  return maps.intact() ? "" : "written around the maps";
}

}  // namespace rectiline::acceptance
