#include "quality/MapLookup.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace VIO {
namespace {

/// Lagrange's cubic weights of the samples at -1, 0, 1, 2 for a position t in [0, 1), and their
/// derivatives.
struct CubicWeights {
  explicit CubicWeights(double t)
      : value{-t * (t - 1) * (t - 2) / 6, (t + 1) * (t - 1) * (t - 2) / 2,
              -(t + 1) * t * (t - 2) / 2, (t + 1) * t * (t - 1) / 6},
        slope{-(3 * t * t - 6 * t + 2) / 6, (3 * t * t - 4 * t - 1) / 2,
              -(3 * t * t - 2 * t - 2) / 2, (3 * t * t - 1) / 6} {}

  std::array<double, 4> value;
  std::array<double, 4> slope;
};

/// Solves J step = error. False when J is singular or not a number.
bool trySolve(const AR::Math::Mat<double, 2, 2>& J, const PixelPosition& error,
              PixelPosition& step) {
  const double det = J(0, 0) * J(1, 1) - J(0, 1) * J(1, 0);
  if (!(std::fabs(det) > 0)) return false;
  step = {(J(1, 1) * error(0) - J(0, 1) * error(1)) / det,
          (J(0, 0) * error(1) - J(1, 0) * error(0)) / det};
  return true;
}

}  // namespace

bool MapLookup::tryInterpolate(const PixelPosition& target, Local& local) const {
  const double x = target(0);
  const double y = target(1);
  if (!(x >= 1 && x < mMap.width - 2 && y >= 1 && y < mMap.height - 2)) return false;
  const int x0 = static_cast<int>(x);
  const int y0 = static_cast<int>(y);
  const CubicWeights wx(x - x0);
  const CubicWeights wy(y - y0);
  local = {};
  for (std::size_t j = 0; j < 4; ++j) {
    for (std::size_t i = 0; i < 4; ++i) {
      const int column = x0 - 1 + static_cast<int>(i);
      const int row = y0 - 1 + static_cast<int>(j);
      if (!mMap.hasSource(column, row)) return false;
      const PixelPosition source = mMap.source(column, row);
      for (std::size_t k = 0; k < 2; ++k) {
        local.source(k) += wx.value[i] * wy.value[j] * source(k);
        local.J(k, 0) += wx.slope[i] * wy.value[j] * source(k);
        local.J(k, 1) += wx.value[i] * wy.slope[j] * source(k);
      }
    }
  }
  return true;
}

bool MapLookup::tryFind(const PixelPosition& source, PixelPosition& target) const {
  constexpr int kMaxSteps = 20;
  constexpr double kSettled = 1e-4;  // pixels; the step after such a one is far below float's
  PixelPosition p = target;
  for (int i = 0; i < kMaxSteps; ++i) {
    Local local;
    PixelPosition step;
    if (!tryInterpolate(p, local) || !trySolve(local.J, source - local.source, step)) return false;
    p = p + step;
    if (AR::Math::normSquared(step) < kSettled * kSettled) {
      target = p;
      return true;
    }
  }
  return false;
}

}  // namespace VIO
