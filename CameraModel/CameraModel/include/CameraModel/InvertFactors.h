#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>

namespace CamModel {

/// So many radii are iterated side by side. The steps of one wait for each other, those of
/// several do not.
inline constexpr std::size_t kRadiiAtOnce = 16;

/// When an iteration has settled: by how much the factor changes then, and after so many
/// evaluations in any case.
template <typename P>
inline constexpr P kSettledChange = P(1e-6);
inline constexpr int kMaxEvaluations = 200;

namespace Internal {

/// The iterations for up to kRadiiAtOnce radii, in lock-step.
template <typename P>
struct InverseIterations {
  std::size_t count = 0;
  P y[kRadiiAtOnce];         // squared distorted radii
  P x[kRadiiAtOnce];         // estimates of the squared undistorted radii
  P F[kRadiiAtOnce];         // factors at x
  P previous[kRadiiAtOnce];  // factors at the estimates before
  P g[kRadiiAtOnce];         // estimates of the undistortion factors

  explicit InverseIterations(std::span<const P> squaredRadii) : count(squaredRadii.size()) {
    std::copy(squaredRadii.begin(), squaredRadii.end(), y);
    std::copy(squaredRadii.begin(), squaredRadii.end(), x);
    std::fill_n(previous, count, P(0));
  }

  /// One step from the factors F at x; true when all have settled. A settled radius keeps its x
  /// and so, from then on, finds the same g again.
  bool step(const P x_max) {
    int unsettled = 0;
    for (std::size_t i = 0; i < count; ++i) {
      g[i] = 1 / F[i];
      const bool settled = std::abs(previous[i] * g[i] - 1) < kSettledChange<P>;
      const P next = std::min(g[i] * g[i] * y[i], x_max);
      x[i] = settled ? x[i] : next;
      previous[i] = F[i];
      unsettled += settled ? 0 : 1;
    }
    return unsettled == 0;
  }
};

}  // namespace Internal

/// The undistortion factors g at the squared distorted radii y, by the fixed-point iteration
/// x = min(y / F(x)^2, x_max) from x = y, where `factors(x, F)` evaluates the distortion factor at
/// all of x. It ends when F changes by less than kSettledChange of itself, and in any case after
/// kMaxEvaluations, with the last estimate. `g` has the size of `y`.
template <typename P, typename FACTORS>
void invertFactors(const FACTORS& factors, std::span<const P> y, const P x_max, std::span<P> g) {
  for (std::size_t first = 0; first < y.size(); first += kRadiiAtOnce) {
    const std::size_t count = std::min(kRadiiAtOnce, y.size() - first);
    Internal::InverseIterations<P> iterations(y.subspan(first, count));
    for (int evaluation = 0; evaluation < kMaxEvaluations; ++evaluation) {
      factors(std::span<const P>(iterations.x, count), iterations.F);
      if (iterations.step(x_max)) break;
    }
    std::copy_n(iterations.g, count, g.begin() + first);
  }
}

}  // namespace CamModel
