// The range of radii in which a camera's distortion may be evaluated.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <numbers>

#include "CameraModel/CameraModel.h"
#include "CameraModel/DistortionTraits.h"
#include "CameraModel/InvertFactors.h"

namespace CamModel {
namespace {

template <typename P>
constexpr P kStep = P(0.02);  // of the march

// The march ends for any record, also one whose limit is infinite.
constexpr int kMaxSteps = 1'000'000;

/// Consecutive undistorted radii of the march, whose iterations run side by side.
template <typename P>
struct MarchedRadii {
  std::size_t count = 0;
  P r[kRadiiAtOnce];
  P x[kRadiiAtOnce];   // r^2
  P rd[kRadiiAtOnce];  // distorted radii
  P y[kRadiiAtOnce];   // rd^2

  /// The radii from `next` on that are within x_max; `next` becomes the one after them.
  MarchedRadii(P& next, P x_max) {
    for (; count < kRadiiAtOnce && next * next <= x_max; ++count, next += kStep<P>) {
      r[count] = next;
      x[count] = next * next;
    }
  }

  void distort(const CameraModel<P>& model) {
    P F[kRadiiAtOnce];
    model.distortionFactors({x, count}, {F, count});
    for (std::size_t i = 0; i < count; ++i) {
      rd[i] = r[i] * F[i];
      y[i] = rd[i] * rd[i];
    }
  }

  /// How many of the radii, from the first, grow steadily within the image; `previous` is the
  /// distorted radius before them.
  [[nodiscard]] std::size_t countSteady(P previous, P y_max) const {
    for (std::size_t i = 0; i < count; ++i) {
      // 50 is 1 / kStep. Near a slope of 0 the radius turns back and has no inverse; no lens
      // is as steep as 20, but the neighbourhood of a pole is.
      const P slope = (rd[i] - previous) * 50;
      if (!(slope >= P(0.005) && slope <= 20 && y[i] <= y_max)) return i;
      previous = rd[i];
    }
    return count;
  }

  /// How many of the first `steady` radii, from the first, undistortion returns.
  [[nodiscard]] std::size_t countReturned(const CameraModel<P>& model, std::size_t steady) const {
    P G[kRadiiAtOnce];
    model.undistortionFactors({y, steady}, {G, steady});
    for (std::size_t i = 0; i < steady; ++i) {
      if (!(std::abs(rd[i] * G[i] - r[i]) <= P(0.005))) return i;
    }
    return steady;
  }
};

}  // namespace

template <typename P>
void CameraModel<P>::setupMaxDistortionRanges(const std::optional<P> imageCircleDiameter) {
  limits = {};
  P y_max = 0;
  // One pixel beyond the outermost centres on every side.
  for (const P u : {P(-1), size[0]}) {
    for (const P v : {P(-1), size[1]}) {
      const P x = (u - principalPoint[0]) / focalLength[0];
      const P y = (v - principalPoint[1]) / focalLength[1];
      y_max = std::max(y_max, x * x + y * y);
    }
  }
  if (imageCircleDiameter) {
    const P rd = *imageCircleDiameter / (focalLength[0] + focalLength[1]);
    y_max = std::min(y_max, rd * rd);
  }
  limits.undistortionLimit = y_max;
}

template <typename P>
void CameraModel<P>::setupValidDistortionRange(const FOVLimit& fov, const bool verbose) {
  setupMaxDistortionRanges(fov.hasImageCircle ? std::optional<P>(fov.imageCircleDiameter)
                                              : std::nullopt);
  constexpr P kMax = kMaxSquaredRadius;
  if (fov.maxFovDeg < 180) {
    const P r = std::tan(fov.maxFovDeg * std::numbers::pi_v<P> / 180 / 2);
    limits.distortionLimit = std::min(r * r, kMax);
  }
  const auto* const traits = findTraits<P>(model);
  if (traits != nullptr && traits->validEverywhere) return;
  if (traits != nullptr && traits->closedFormRange != nullptr) {
    traits->closedFormRange(radialDistortion, limits);
  } else {
    findDistortionLimits();
  }
  limits.distortionLimit = std::min(limits.distortionLimit, kMax);
  limits.undistortionLimit = std::min(limits.undistortionLimit, kMax);
  if (!verbose) return;
  const double r = std::sqrt(limits.distortionLimit);
  const double rd_px = std::sqrt(limits.undistortionLimit) * focalLength[0];
  std::printf("Model %s. Distortion is valid up-to a radius of %.1f in the ideal focal plane\n",
              modelName(model), r);
  std::printf(
      "Model %s. Undistortion is valid up-to a radius of %.1f pixels from the principal point\n",
      modelName(model), rd_px);
}

template <typename P>
void CameraModel<P>::findDistortionLimits() {
  const auto* const traits = findTraits<P>(model);
  if (traits != nullptr) limitToPole(*traits);
  // The square of the first step: below it there is nothing to march.
  if (limits.distortionLimit >= P(0.0004) && !marchToDistortionLimit()) return;
  const P F = distortionFactor(limits.distortionLimit);
  limits.undistortionLimit = F * F * limits.distortionLimit;
}

template <typename P>
bool CameraModel<P>::marchToDistortionLimit() {
  const P x_max = limits.distortionLimit;
  const P y_max = limits.undistortionLimit;
  bool failed = false;
  P previous = 0;
  int steps = 0;
  for (P r = kStep<P>; r * r <= x_max && steps < kMaxSteps;) {
    MarchedRadii<P> radii(r, x_max);
    steps += static_cast<int>(radii.count);
    radii.distort(*this);
    const std::size_t steady = radii.countSteady(previous, y_max);
    const std::size_t returned = failed ? steady : radii.countReturned(*this, steady);
    if (returned < steady) {
      const P rd = returned > 0 ? radii.rd[returned - 1] : previous;
      limits.undistortionLimit = rd * rd;
      failed = true;
    }
    if (steady < radii.count) {
      const P last = radii.r[steady] - kStep<P>;
      limits.distortionLimit = last * last;
      break;
    }
    previous = radii.rd[steady - 1];
    if (steps >= kMaxSteps) limits.distortionLimit = radii.x[steady - 1];
  }
  return !failed;
}

template <typename P>
void CameraModel<P>::limitToPole(const DistortionTraits<P>& traits) {
  const auto pole = traits.findPole ? traits.findPole(radialDistortion) : std::nullopt;
  if (!pole) return;
  limits.distortionLimit = std::min(limits.distortionLimit, pole->limit);
  std::printf(traits.poleText, static_cast<double>(pole->root),
              std::sqrt(static_cast<double>(limits.distortionLimit)));
}

template <typename P>
void CameraModel<P>::setMaxDistortionLimits_6paramRadial() {
  limitToPole(*findTraits<P>(RADIAL_6_PARAMETERS));
}

template <typename P>
void CameraModel<P>::setMaxDistortionLimits_fisheyeRational() {
  limitToPole(*findTraits<P>(FISHEYE_RATIONAL));
}

#define INSTANTIATE_LIMITS(P)                                                                   \
  template void CameraModel<P>::setupMaxDistortionRanges(std::optional<P> imageCircleDiameter); \
  template void CameraModel<P>::setupValidDistortionRange(const FOVLimit& fov, bool verbose);   \
  template void CameraModel<P>::findDistortionLimits();                                         \
  template bool CameraModel<P>::marchToDistortionLimit();                                       \
  template void CameraModel<P>::limitToPole(const DistortionTraits<P>& traits);                 \
  template void CameraModel<P>::setMaxDistortionLimits_6paramRadial();                          \
  template void CameraModel<P>::setMaxDistortionLimits_fisheyeRational();
INSTANTIATE_LIMITS(float)
INSTANTIATE_LIMITS(double)
#undef INSTANTIATE_LIMITS

}  // namespace CamModel
