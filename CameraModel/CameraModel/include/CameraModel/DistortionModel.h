#pragma once

#include <cstdint>
#include <iterator>

#include "AR/Common/Macros.h"
#include "AR/Math/Vector.h"

/// The lens distortion models, MODEL(name, number in records): the one list of them. The
/// enumeration, its names as text, the count and the table of what the library knows of a model
/// follow from it. What a model is stands in one file, src/models/, which nothing else names.
#define RECTILINE_DISTORTION_MODELS(MODEL) \
  MODEL(LINEAR, 0)                         \
  MODEL(RADIAL_2_PARAMETERS, 1)            \
  MODEL(RADIAL_3_PARAMETERS, 2)            \
  MODEL(RADIAL_6_PARAMETERS, 3)            \
  MODEL(FISHEYE_1_PARAMETER, 4)            \
  MODEL(FISHEYE_4_PARAMETERS, 5)           \
  MODEL(CHEBYSHEV_4_PARAMETERS, 6)         \
  MODEL(FISHEYE_SPLINE_3, 7)               \
  MODEL(FISHEYE_RATIONAL, 8)               \
  /* a model is one line above this one */

namespace CamModel {

/// The underlying type is fixed, so that a value read from a record may be held, and refused, when
/// it is none of these.
enum DistortionModel : std::int32_t {
#define RECTILINE_ENUMERATOR(name, number) name = (number),
  RECTILINE_DISTORTION_MODELS(RECTILINE_ENUMERATOR)
#undef RECTILINE_ENUMERATOR
};

/// All of them, by number.
inline constexpr DistortionModel kDistortionModels[] = {
#define RECTILINE_NAME(name, number) name,
    RECTILINE_DISTORTION_MODELS(RECTILINE_NAME)
#undef RECTILINE_NAME
};

/// How many models there are; their numbers are 0 to one less.
inline constexpr std::int32_t kNumDistortionModels = std::size(kDistortionModels);

/// Length of every vector of radial coefficients.
inline constexpr int MAX_RD_PARAMS = 6;

/// Radial coefficients k0 to k5. What each means is up to the model.
template <typename P>
using RDVec = AR::Math::Vec<P, MAX_RD_PARAMS>;

/// Squared radii are never trusted beyond this (a radius of 25 in the normalised plane).
inline constexpr int kMaxSquaredRadius = 625;

/// Below this squared radius quotients by the radius lose their digits: formulas give way to their
/// first-order series there, and derivatives of the inverse are taken at it.
template <typename P>
inline constexpr P kSmallSquaredRadius = P(0.0001);

/// Range of radii in which a camera's distortion may be evaluated, as squares in the normalised
/// plane.
template <typename P>
struct RadiusLimits {
  P distortionLimit = P(kMaxSquaredRadius);    ///< largest squared undistorted (ideal) radius
  P undistortionLimit = P(kMaxSquaredRadius);  ///< largest squared distorted radius

  bool operator==(const RadiusLimits&) const = default;
};

/// True when `model` is one of the enumerators above.
[[nodiscard]] constexpr bool isKnownModel(DistortionModel model) noexcept {
  return model >= 0 && model < kNumDistortionModels;
}

/// The model's name, upper case, as radialDistortionModelStringToEnum accepts it. An unknown
/// model ends the process.
[[nodiscard]] AR_EXPORT const char* modelName(DistortionModel model);

/// How many leading radial coefficients of the model may be nonzero (0 to MAX_RD_PARAMS). An
/// unknown model ends the process.
[[nodiscard]] AR_EXPORT int maxNumRadialDistortionCoeffs(DistortionModel model);

}  // namespace CamModel
