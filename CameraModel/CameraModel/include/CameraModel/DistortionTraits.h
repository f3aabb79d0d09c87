#pragma once

// Everything the library knows of a distortion model, one row a model: all other code reads this
// table and none branches on the model. A further model is one file in CameraModel/models/, one
// enumerator and one row here.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "CameraModel/DistortionModel.h"
#include "CameraModel/models/Chebyshev4Parameters.h"
#include "CameraModel/models/Fisheye1Parameter.h"
#include "CameraModel/models/Fisheye4Parameters.h"
#include "CameraModel/models/FisheyeRational.h"
#include "CameraModel/models/FisheyeSpline.h"
#include "CameraModel/models/Linear.h"
#include "CameraModel/models/RadialPolynomial.h"

namespace CamModel {

/// How a model is written into the legacy vector of 8 coefficients.
struct LegacyForm {
  int mode = -1;                    ///< number of the legacy mode; -1: the model has no legacy form
  int modeWithTangential = -1;      ///< the same for a camera with tangential coefficients
  int numMarked = 0;                ///< so many leading coefficients must not be written as zero
  std::span<const int> slots = {};  ///< place of coefficient i in the vector, for those written
};

inline constexpr std::array<int, MAX_RD_PARAMS> kLegacySlots = {0, 1, 4, 5, 6, 7};
inline constexpr std::array<int, 4> kLegacyLeadingSlots = {0, 1, 2, 3};

/// One row of the table.
template <typename P>
struct DistortionTraits {
  const char* name = nullptr;  ///< text form, upper case
  DistortionModel model = LINEAR;
  int maxCoeffs = 0;  ///< leading radial coefficients that may be nonzero

  /// x: squared ideal radius; the distorted radius is sqrt(x) * factor.
  P (*factor)(const RDVec<P>& k, P x) = nullptr;
  /// y: squared distorted radius; the ideal radius is sqrt(y) * inverse. Null: no closed form.
  P (*inverse)(const RDVec<P>& k, P y) = nullptr;
  /// The factor with its derivatives: J by the coefficients, dFdx by x.
  P (*derivative)(const RDVec<P>& k, P x, RDVec<P>& J, P& dFdx) = nullptr;

  bool checkOmega = false;  ///< validation asks for 0 < k0 < pi

  // The range of valid radii: none to be found, in closed form, or (where neither is set) by a
  // march outwards in radius, short of a pole if the model can have one.
  bool validEverywhere = false;
  void (*closedFormRange)(const RDVec<P>& k, RadiusLimits<P>& limits) = nullptr;
  void (*limitToPole)(const RDVec<P>& k, RadiusLimits<P>& limits) = nullptr;

  LegacyForm legacy = {};
};

namespace Internal {
template <typename P, DistortionModel MODEL>
using Derivatives = AR::CV::CameraCalibration::DistortionDerivatives<P, MODEL>;
}

template <typename P>
inline constexpr DistortionTraits<P> kModels[] = {
    {.name = "LINEAR",
     .model = LINEAR,
     .maxCoeffs = 0,
     .factor = linearFactor<P>,
     .inverse = linearInverse<P>,
     .derivative = Internal::Derivatives<P, LINEAR>::distortionFactorLinear,
     .validEverywhere = true,
     .legacy = {.mode = 0, .modeWithTangential = 0}},
    {.name = "RADIAL_2_PARAMETERS",
     .model = RADIAL_2_PARAMETERS,
     .maxCoeffs = 2,
     .factor = radialPolynomialFactor<P>,
     .derivative = Internal::Derivatives<P, RADIAL_2_PARAMETERS>::distortionFactorRadial,
     .legacy = {.mode = 2, .modeWithTangential = 3, .numMarked = 2, .slots = kLegacySlots}},
    {.name = "RADIAL_3_PARAMETERS",
     .model = RADIAL_3_PARAMETERS,
     .maxCoeffs = 3,
     .factor = radialPolynomialFactor<P>,
     .derivative = Internal::Derivatives<P, RADIAL_3_PARAMETERS>::distortionFactorRadial,
     .legacy = {.mode = 4, .modeWithTangential = 5, .numMarked = 3, .slots = kLegacySlots}},
    {.name = "RADIAL_6_PARAMETERS",
     .model = RADIAL_6_PARAMETERS,
     .maxCoeffs = 6,
     .factor = radialPolynomialFactor<P>,
     .derivative = Internal::Derivatives<P, RADIAL_6_PARAMETERS>::distortionFactorRadial,
     .limitToPole = limitToRadialPole<P>,
     .legacy = {.mode = 6, .modeWithTangential = 7, .numMarked = 6, .slots = kLegacySlots}},
    {.name = "FISHEYE_1_PARAMETER",
     .model = FISHEYE_1_PARAMETER,
     .maxCoeffs = 1,
     .factor = fisheye1Factor<P>,
     .inverse = fisheye1Inverse<P>,
     .derivative = Internal::Derivatives<P, FISHEYE_1_PARAMETER>::distortionFactorFisheye1Parameter,
     .checkOmega = true,
     .closedFormRange = limitFisheye1Range<P>,
     .legacy =
         {.mode = 1, .modeWithTangential = 1, .numMarked = 1, .slots = {kLegacySlots.data(), 1}}},
    {.name = "FISHEYE_4_PARAMETERS",
     .model = FISHEYE_4_PARAMETERS,
     .maxCoeffs = 4,
     .factor = fisheye4Factor<P>,
     .derivative =
         Internal::Derivatives<P, FISHEYE_4_PARAMETERS>::distortionFactorFisheye4Parameters,
     .legacy = {.mode = 8, .modeWithTangential = 8, .numMarked = 4, .slots = kLegacyLeadingSlots}},
    {.name = "CHEBYSHEV_4_PARAMETERS",
     .model = CHEBYSHEV_4_PARAMETERS,
     .maxCoeffs = 4,
     .factor = chebyshev4Factor<P>,
     .derivative =
         Internal::Derivatives<P, CHEBYSHEV_4_PARAMETERS>::distortionFactorChebyshev4Parameters},
    {.name = "FISHEYE_SPLINE_3",
     .model = FISHEYE_SPLINE_3,
     .maxCoeffs = 6,
     .factor = fisheyeSplineFactor<P>,
     .derivative = Internal::Derivatives<P, FISHEYE_SPLINE_3>::distortionFactorFisheyeSpline},
    {.name = "FISHEYE_RATIONAL",
     .model = FISHEYE_RATIONAL,
     .maxCoeffs = 6,
     .factor = fisheyeRationalFactor<P>,
     .derivative = Internal::Derivatives<P, FISHEYE_RATIONAL>::distortionFactorFisheyeRational,
     .checkOmega = true,
     .limitToPole = limitToFisheyePole<P>},
};

/// The row of `model`, or null when the model is unknown.
template <typename P>
[[nodiscard]] constexpr const DistortionTraits<P>* findTraits(DistortionModel model) noexcept {
  const auto row = static_cast<std::uint32_t>(model);
  return row < std::size(kModels<P>) ? &kModels<P>[row] : nullptr;
}

namespace Internal {
constexpr bool rowsFollowTheEnumeration() {
  std::int32_t row = 0;
  for (const DistortionTraits<float>& traits : kModels<float>) {
    if (traits.model != row++) return false;
  }
  return row == FISHEYE_RATIONAL + 1;
}
static_assert(rowsFollowTheEnumeration());
}  // namespace Internal

}  // namespace CamModel
