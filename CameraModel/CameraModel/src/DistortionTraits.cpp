// The table of the distortion models, and the only file that compiles their formulas into loops.

#include "CameraModel/DistortionTraits.h"

#include <array>
#include <cstddef>
#include <cstdint>

#include "CameraModel/models/Chebyshev4Parameters.h"
#include "CameraModel/models/Fisheye1Parameter.h"
#include "CameraModel/models/Fisheye4Parameters.h"
#include "CameraModel/models/FisheyeRational.h"
#include "CameraModel/models/FisheyeSpline.h"
#include "CameraModel/models/Linear.h"
#include "CameraModel/models/RadialPolynomial.h"

namespace CamModel {
namespace {

using AR::CV::CameraCalibration::DistortionDerivatives;

template <typename P>
using Factor = P (*)(const RDVec<P>& k, P x);
template <typename P>
using Derivative = P (*)(const RDVec<P>& k, P x, RDVec<P>& J, P& dFdx);

// The formula is a template argument and wholly inlined, so that the loop can be vectorised.
template <typename P, Factor<P> FORMULA>
[[gnu::flatten]] void factorAtEach(const RDVec<P>& k, std::span<const P> x, P* F) {
  const RDVec<P> coeffs = k;  // a copy, so that no output can be taken for a coefficient
  for (std::size_t i = 0; i < x.size(); ++i) F[i] = FORMULA(coeffs, x[i]);
}

template <typename P, Derivative<P> FORMULA>
[[gnu::flatten]] void derivativeAtEach(const RDVec<P>& k, std::span<const P> x, P* F, P* dFdx) {
  const RDVec<P> coeffs = k;
  RDVec<P> J;
  for (std::size_t i = 0; i < x.size(); ++i) F[i] = FORMULA(coeffs, x[i], J, dFdx[i]);
}

template <typename P, Factor<P> FORMULA>
constexpr FactorFunction<P> kFactor = {FORMULA, factorAtEach<P, FORMULA>};

template <typename P, Derivative<P> FORMULA>
constexpr DerivativeFunction<P> kDerivative = {FORMULA, derivativeAtEach<P, FORMULA>};

constexpr std::array<int, MAX_RD_PARAMS> kLegacySlots = {0, 1, 4, 5, 6, 7};
constexpr std::array<int, 4> kLegacyLeadingSlots = {0, 1, 2, 3};

template <typename P>
constexpr DistortionTraits<P> kModels[] = {
    {.name = "LINEAR",
     .model = LINEAR,
     .maxCoeffs = 0,
     .factor = kFactor<P, linearFactor<P>>,
     .inverse = linearInverse<P>,
     .derivative = kDerivative<P, DistortionDerivatives<P, LINEAR>::distortionFactorLinear>,
     .validEverywhere = true,
     .legacy = {.mode = 0, .modeWithTangential = 0}},
    {.name = "RADIAL_2_PARAMETERS",
     .model = RADIAL_2_PARAMETERS,
     .maxCoeffs = 2,
     .factor = kFactor<P, radialPolynomialFactor<P>>,
     .derivative =
         kDerivative<P, DistortionDerivatives<P, RADIAL_2_PARAMETERS>::distortionFactorRadial>,
     .legacy = {.mode = 2, .modeWithTangential = 3, .numMarked = 2, .slots = kLegacySlots}},
    {.name = "RADIAL_3_PARAMETERS",
     .model = RADIAL_3_PARAMETERS,
     .maxCoeffs = 3,
     .factor = kFactor<P, radialPolynomialFactor<P>>,
     .derivative =
         kDerivative<P, DistortionDerivatives<P, RADIAL_3_PARAMETERS>::distortionFactorRadial>,
     .legacy = {.mode = 4, .modeWithTangential = 5, .numMarked = 3, .slots = kLegacySlots}},
    {.name = "RADIAL_6_PARAMETERS",
     .model = RADIAL_6_PARAMETERS,
     .maxCoeffs = 6,
     .factor = kFactor<P, radialPolynomialFactor<P>>,
     .derivative =
         kDerivative<P, DistortionDerivatives<P, RADIAL_6_PARAMETERS>::distortionFactorRadial>,
     .limitToPole = limitToRadialPole<P>,
     .legacy = {.mode = 6, .modeWithTangential = 7, .numMarked = 6, .slots = kLegacySlots}},
    {.name = "FISHEYE_1_PARAMETER",
     .model = FISHEYE_1_PARAMETER,
     .maxCoeffs = 1,
     .factor = kFactor<P, fisheye1Factor<P>>,
     .inverse = fisheye1Inverse<P>,
     .derivative = kDerivative<
         P, DistortionDerivatives<P, FISHEYE_1_PARAMETER>::distortionFactorFisheye1Parameter>,
     .checkOmega = true,
     .closedFormRange = limitFisheye1Range<P>,
     .legacy =
         {.mode = 1, .modeWithTangential = 1, .numMarked = 1, .slots = {kLegacySlots.data(), 1}}},
    {.name = "FISHEYE_4_PARAMETERS",
     .model = FISHEYE_4_PARAMETERS,
     .maxCoeffs = 4,
     .factor = kFactor<P, fisheye4Factor<P>>,
     .derivative = kDerivative<
         P, DistortionDerivatives<P, FISHEYE_4_PARAMETERS>::distortionFactorFisheye4Parameters>,
     .legacy = {.mode = 8, .modeWithTangential = 8, .numMarked = 4, .slots = kLegacyLeadingSlots}},
    {.name = "CHEBYSHEV_4_PARAMETERS",
     .model = CHEBYSHEV_4_PARAMETERS,
     .maxCoeffs = 4,
     .factor = kFactor<P, chebyshev4Factor<P>>,
     .derivative = kDerivative<
         P,
         DistortionDerivatives<P, CHEBYSHEV_4_PARAMETERS>::distortionFactorChebyshev4Parameters>},
    {.name = "FISHEYE_SPLINE_3",
     .model = FISHEYE_SPLINE_3,
     .maxCoeffs = 6,
     .factor = kFactor<P, fisheyeSplineFactor<P>>,
     .derivative =
         kDerivative<P, DistortionDerivatives<P, FISHEYE_SPLINE_3>::distortionFactorFisheyeSpline>},
    {.name = "FISHEYE_RATIONAL",
     .model = FISHEYE_RATIONAL,
     .maxCoeffs = 6,
     .factor = kFactor<P, fisheyeRationalFactor<P>>,
     .derivative =
         kDerivative<P,
                     DistortionDerivatives<P, FISHEYE_RATIONAL>::distortionFactorFisheyeRational>,
     .checkOmega = true,
     .limitToPole = limitToFisheyePole<P>},
};

constexpr bool rowsFollowTheEnumeration() {
  std::int32_t row = 0;
  for (const DistortionTraits<float>& traits : kModels<float>) {
    if (traits.model != row++) return false;
  }
  return row == FISHEYE_RATIONAL + 1;
}
static_assert(rowsFollowTheEnumeration());

}  // namespace

template <typename P>
std::span<const DistortionTraits<P>> allTraits() noexcept {
  return kModels<P>;
}

template <typename P>
const DistortionTraits<P>* findTraits(const DistortionModel model) noexcept {
  const auto row = static_cast<std::uint32_t>(model);
  return row < std::size(kModels<P>) ? &kModels<P>[row] : nullptr;
}

template std::span<const DistortionTraits<float>> allTraits() noexcept;
template std::span<const DistortionTraits<double>> allTraits() noexcept;
template const DistortionTraits<float>* findTraits(DistortionModel model) noexcept;
template const DistortionTraits<double>* findTraits(DistortionModel model) noexcept;

}  // namespace CamModel
