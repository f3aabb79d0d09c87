#pragma once

#include <cstdint>

#include "AR/Math/Vector.h"

namespace CamModel {

/// The lens distortion models. Their formulas are in CameraModel/models/, what else is known of
/// them in the rows of CameraModel/DistortionTraits.h. The underlying type is fixed, so that a
/// value read from a record may be held, and refused, when it is none of these.
enum DistortionModel : std::int32_t {
  LINEAR = 0,
  RADIAL_2_PARAMETERS = 1,
  RADIAL_3_PARAMETERS = 2,
  RADIAL_6_PARAMETERS = 3,
  FISHEYE_1_PARAMETER = 4,
  FISHEYE_4_PARAMETERS = 5,
  CHEBYSHEV_4_PARAMETERS = 6,
  FISHEYE_SPLINE_3 = 7,
  FISHEYE_RATIONAL = 8,
};

/// Length of every vector of radial coefficients.
inline constexpr int MAX_RD_PARAMS = 6;

/// Radial coefficients k0 to k5. What each means is up to the model.
template <typename P>
using RDVec = AR::Math::Vec<P, MAX_RD_PARAMS>;

/// Squared radii are never trusted beyond this (a radius of 25 in the normalised plane).
inline constexpr int kMaxSquaredRadius = 625;

/// Range of radii in which a camera's distortion may be evaluated, as squares in the normalised
/// plane.
template <typename P>
struct RadiusLimits {
  P distortionLimit = P(kMaxSquaredRadius);    ///< largest squared undistorted (ideal) radius
  P undistortionLimit = P(kMaxSquaredRadius);  ///< largest squared distorted radius
};

/// True when `model` is one of the enumerators above.
[[nodiscard]] bool isKnownModel(DistortionModel model) noexcept;

/// The model's name, upper case, as radialDistortionModelStringToEnum accepts it. An unknown
/// model ends the process.
[[nodiscard]] const char* modelName(DistortionModel model);

/// How many leading radial coefficients of the model may be nonzero (0 to MAX_RD_PARAMS). An
/// unknown model ends the process.
[[nodiscard]] int maxNumRadialDistortionCoeffs(DistortionModel model);

}  // namespace CamModel
