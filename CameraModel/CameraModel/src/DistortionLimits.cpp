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

// A march is looked at in blocks of so many radii.
constexpr std::size_t kBlock = kRadiiAtOnce * kRadiiAtOnce;

/// Consecutive undistorted radii of the march, whose iterations run side by side.
template <typename P>
struct MarchedRadii {
  std::size_t count = 0;
  P r[kBlock];
  P rd[kBlock];  // distorted radii
  P y[kBlock];   // rd^2

  /// Adds the radii from `next` on that are within x_max, at most kRadiiAtOnce; `next` becomes the
  /// one after them.
  void add(const CameraModel<P>& model, P& next, P x_max) {
    const std::size_t first = count;
    P x[kRadiiAtOnce];
    P F[kRadiiAtOnce];
    for (; count - first < kRadiiAtOnce && next * next <= x_max; ++count, next += kStep<P>) {
      r[count] = next;
      x[count - first] = next * next;
    }
    model.distortionFactors({x, count - first}, {F, count - first});
    for (std::size_t i = first; i < count; ++i) {
      rd[i] = r[i] * F[i - first];
      y[i] = rd[i] * rd[i];
    }
  }

  /// How many of the radii, from the first, undistortion returns. `isSlowing`: see March.
  [[nodiscard]] std::size_t countReturned(const CameraModel<P>& model, bool isSlowing) const {
    constexpr P kTolerance = P(0.005);
    P lastErrors[kRadiiAtOnce];
    if (isSlowing) errorsAt(model, kRadiiAtOnce - 1, kRadiiAtOnce, lastErrors);
    for (std::size_t first = 0; first < count; first += kRadiiAtOnce) {
      // With the last one well returned, so are those before it, which need fewer steps.
      const bool isFull = count - first >= kRadiiAtOnce;
      if (isSlowing && isFull && lastErrors[first / kRadiiAtOnce] <= kTolerance * P(0.75)) continue;
      P errors[kRadiiAtOnce];
      const std::size_t checked = errorsAt(model, first, 1, errors);
      for (std::size_t i = 0; i < checked; ++i) {
        if (!(errors[i] <= kTolerance)) return first + i;
      }
    }
    return count;
  }

 private:
  /// By how much undistortion misses up to kRadiiAtOnce radii, `stride` apart; returns how many.
  std::size_t errorsAt(const CameraModel<P>& model, std::size_t first, std::size_t stride,
                       P* errors) const {
    P y_i[kRadiiAtOnce];
    P G[kRadiiAtOnce];
    std::size_t n = 0;
    for (; n < kRadiiAtOnce && first + n * stride < count; ++n) y_i[n] = y[first + n * stride];
    model.undistortionFactors({y_i, n}, {G, n});
    for (std::size_t i = 0; i < n; ++i) {
      errors[i] = std::abs(rd[first + i * stride] * G[i] - r[first + i * stride]);
    }
    return n;
  }
};

/// The march outwards over the radii within a model's limits, to the first whose distorted radius
/// does not grow steadily within the image.
template <typename P>
class March {
 public:
  explicit March(const CameraModel<P>& model) : mModel(model), mLimit(mMax.distortionLimit) {}

  [[nodiscard]] bool isOver() const { return mIsOver; }
  /// The squared radius that the march came to; the model's own limit when it came to that.
  [[nodiscard]] P limit() const { return mLimit; }
  /// The distorted radius that the march came to.
  [[nodiscard]] P distortedRadius() const { return mPrevious; }
  /// Whether d ln(rd) / d ln(r) fell all along. The fixed-point iteration goes, in ln(r), from an
  /// estimate t by ln(rd) - S(t) with S(ln r) = ln(rd): where S' falls outwards, an estimate that
  /// is as far from its goal is farther from it after the step, the farther out the goal lies, and
  /// so the iterations of larger radii take more steps.
  [[nodiscard]] bool isSlowing() const { return mIsSlowing; }

  /// The next radii.
  [[nodiscard]] MarchedRadii<P> next() {
    MarchedRadii<P> radii;
    while (!mIsOver && radii.count < kBlock) {
      std::size_t i = radii.count;
      radii.add(mModel, mNext, mMax.distortionLimit);
      mSteps += static_cast<int>(radii.count - i);
      while (i < radii.count && isSteady(radii.r[i], radii.rd[i], radii.y[i])) ++i;
      mIsOver = i < radii.count || mSteps >= kMaxSteps || !(mNext * mNext <= mMax.distortionLimit);
      if (i < radii.count) {
        const P last = radii.r[i] - kStep<P>;
        mLimit = last * last;
      } else if (mSteps >= kMaxSteps) {
        mLimit = radii.r[i - 1] * radii.r[i - 1];
      }
      radii.count = i;
    }
    return radii;
  }

 private:
  bool isSteady(P r, P rd, P y) {
    // 50 is 1 / kStep. Near a slope of 0 the radius turns back and has no inverse; no lens is as
    // steep as 20, but the neighbourhood of a pole is.
    const P slope = (rd - mPrevious) * 50;
    if (!(slope >= P(0.005) && slope <= 20 && y <= mMax.undistortionLimit)) return false;
    // Differences round: a hundredth upwards is not taken for growth.
    const P relativeSlope = slope * r / rd;
    mIsSlowing = mIsSlowing && relativeSlope <= P(1.01) * mLeastRelativeSlope;
    mLeastRelativeSlope = std::min(mLeastRelativeSlope, relativeSlope);
    mPrevious = rd;
    return true;
  }

  const CameraModel<P>& mModel;
  const RadiusLimits<P> mMax = mModel.limits;
  P mLimit;
  P mNext = kStep<P>;
  P mPrevious = 0;
  P mLeastRelativeSlope = 1;
  int mSteps = 0;
  bool mIsSlowing = true;
  bool mIsOver = !(kStep<P> * kStep<P> <= mMax.distortionLimit);
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
  March<P> march(*this);
  std::optional<P> returnedTo;  // the distorted radius
  while (!march.isOver()) {
    const P previous = march.distortedRadius();
    const MarchedRadii<P> radii = march.next();
    if (returnedTo) continue;
    const std::size_t returned = radii.countReturned(*this, march.isSlowing());
    if (returned < radii.count) returnedTo = returned > 0 ? radii.rd[returned - 1] : previous;
  }
  limits.distortionLimit = march.limit();
  if (returnedTo) limits.undistortionLimit = *returnedTo * *returnedTo;
  return !returnedTo;
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
