#include "CameraModel/CameraModel.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>
#include <span>

#include "CameraModel/DistortionTraits.h"
#include "CameraModel/InvertFactors.h"
#include "CameraModel/ModelFault.h"

namespace CamModel {
namespace {

constexpr char kSource[] = "CameraModel/CameraModel/include/CameraModel/CameraModel";

/// `value` in precision P; beyond its range, infinite.
template <typename P>
P toPrecision(const double value) {
  constexpr double kMax = std::numeric_limits<P>::max();
  if (value > kMax) return std::numeric_limits<P>::infinity();
  if (value < -kMax) return -std::numeric_limits<P>::infinity();
  return static_cast<P>(value);
}

/// The undistortion factors G at the squared distorted radii y, in closed form or by iteration.
template <typename P>
void undistortEach(const DistortionTraits<P>& traits, const RDVec<P>& k, std::span<const P> y,
                   const P x_max, std::span<P> G) {
  if (traits.inverse != nullptr) {
    std::transform(y.begin(), y.end(), G.begin(), [&](P y_i) { return traits.inverse(k, y_i); });
    return;
  }
  invertFactors([&](std::span<const P> x, P* F) { traits.factor(k, x, F); }, y, x_max, G);
}

}  // namespace

template <typename P>
CameraModel<P>::CameraModel(const IntrinsicCameraCalibrationZEL& record)
    : size(static_cast<P>(record.width), static_cast<P>(record.height)),
      principalPoint(toPrecision<P>(record.principal_point_x),
                     toPrecision<P>(record.principal_point_y)),
      focalLength(toPrecision<P>(record.focal_length_x), toPrecision<P>(record.focal_length_y)),
      tangentialDistortion(toPrecision<P>(record.distortion[MAX_RD_PARAMS]),
                           toPrecision<P>(record.distortion[MAX_RD_PARAMS + 1])),
      model(static_cast<DistortionModel>(record.distortion_model)) {
  for (int i = 0; i < MAX_RD_PARAMS; ++i) {
    radialDistortion[i] = toPrecision<P>(record.distortion[i]);
  }
  // One limit without the other is worth nothing: both are found together.
  if (record.distortion_limit > 0 && record.undistortion_limit > 0) {
    const P r = toPrecision<P>(record.distortion_limit);
    const P rd = toPrecision<P>(record.undistortion_limit);
    limits = {.distortionLimit = r * r, .undistortionLimit = rd * rd};
    return;
  }
  const bool hasImage = size[0] != 0 || size[1] != 0;
  const bool hasFocalLength = focalLength[0] != 0 || focalLength[1] != 0;
  if (hasImage && hasFocalLength && isKnownModel(model)) setupValidDistortionRange({}, false);
}

template <typename P>
bool CameraModel<P>::validateCoeffs() const {
  const std::optional<ModelFault> fault = findFault(*this);
  if (fault) std::printf("%s%s\n", fault->prefix, fault->sentence);
  return !fault;
}

template <typename P>
template <std::floating_point T>
T CameraModel<P>::distortionFactor(const T x) const {
  const auto* const traits = findTraits<T>(model);
  AR_REQUIRE(traits != nullptr, "0 && \"Distortion model not implemented\"", kSource);
  return traits->factor(radialDistortion.template cast<T>(), x);
}

template <typename P>
template <std::floating_point T>
T CameraModel<P>::undistortionFactor(const T y) const {
  const auto* const traits = findTraits<T>(model);
  AR_REQUIRE(traits != nullptr, "0 && \"Undistortion model not implemented\"", kSource);
  T G = 0;
  undistortEach<T>(*traits, radialDistortion.template cast<T>(), {&y, 1},
                   static_cast<T>(limits.distortionLimit), {&G, 1});
  return G;
}

template <typename P>
void CameraModel<P>::distortionFactors(std::span<const P> x, std::span<P> F) const {
  const auto* const traits = findTraits<P>(model);
  AR_REQUIRE(traits != nullptr, "0 && \"Distortion model not implemented\"", kSource);
  traits->factor(radialDistortion, x, F.data());
}

template <typename P>
void CameraModel<P>::undistortionFactors(std::span<const P> y, std::span<P> G) const {
  const auto* const traits = findTraits<P>(model);
  AR_REQUIRE(traits != nullptr, "0 && \"Undistortion model not implemented\"", kSource);
  undistortEach<P>(*traits, radialDistortion, y, limits.distortionLimit, G);
}

template <typename P>
template <int N, std::floating_point T>
T CameraModel<P>::distort_FisheyeSpline(const T x) const {
  static_assert(N == 3, "the one number of segments that there is");
  return findTraits<T>(FISHEYE_SPLINE_3)->factor(radialDistortion.template cast<T>(), x);
}

template class CameraModel<float>;
template class CameraModel<double>;

#define INSTANTIATE_FACTORS(P, T)                                     \
  template AR_EXPORT T CameraModel<P>::distortionFactor(T x) const;   \
  template AR_EXPORT T CameraModel<P>::undistortionFactor(T y) const; \
  template AR_EXPORT T CameraModel<P>::distort_FisheyeSpline<3>(T x) const;
INSTANTIATE_FACTORS(float, float)
INSTANTIATE_FACTORS(float, double)
INSTANTIATE_FACTORS(double, float)
INSTANTIATE_FACTORS(double, double)
#undef INSTANTIATE_FACTORS

}  // namespace CamModel
