#pragma once

#include <span>

#include "AR/CV/Camera/Hermite.h"
#include "CameraModel/CameraModel.h"
#include "CameraModel/DistortionTraits.h"

namespace AR::CV::CameraCalibration {

/// The distortion factor F of `model` at the squared ideal radius `x`, with its derivative `dFdx`
/// and the derivatives J by the six radial coefficients. An unknown model is reported: then the
/// factor is NaN and the derivatives are 0.
template <typename P>
[[nodiscard]] P distortionDerivative(const CamModel::CameraModel<P>& model, P x,
                                     CamModel::RDVec<P>& J, P& dFdx);

/// The same for the one model MODEL with the radial coefficients `k`.
template <typename P, CamModel::DistortionModel MODEL>
[[nodiscard]] P derivativeOfModel(const CamModel::RDVec<P>& k, P x, CamModel::RDVec<P>& J,
                                  P& dFdx) {
  return CamModel::findTraits<P>(MODEL)->derivative(k, x, J, dFdx);
}

/// derivativeOfModel by name.
template <typename P, CamModel::DistortionModel MODEL>
struct DistortionDerivatives;

template <typename P>
struct DistortionDerivatives<P, CamModel::FISHEYE_1_PARAMETER> {
  static constexpr auto distortionFactorFisheye1Parameter =
      derivativeOfModel<P, CamModel::FISHEYE_1_PARAMETER>;
};
template <typename P>
struct DistortionDerivatives<P, CamModel::FISHEYE_4_PARAMETERS> {
  static constexpr auto distortionFactorFisheye4Parameters =
      derivativeOfModel<P, CamModel::FISHEYE_4_PARAMETERS>;
};
template <typename P>
struct DistortionDerivatives<P, CamModel::CHEBYSHEV_4_PARAMETERS> {
  static constexpr auto distortionFactorChebyshev4Parameters =
      derivativeOfModel<P, CamModel::CHEBYSHEV_4_PARAMETERS>;
};
template <typename P>
struct DistortionDerivatives<P, CamModel::FISHEYE_SPLINE_3> {
  static constexpr auto distortionFactorFisheyeSpline =
      derivativeOfModel<P, CamModel::FISHEYE_SPLINE_3>;
};
template <typename P>
struct DistortionDerivatives<P, CamModel::FISHEYE_RATIONAL> {
  static constexpr auto distortionFactorFisheyeRational =
      derivativeOfModel<P, CamModel::FISHEYE_RATIONAL>;
};

/// F and dF/dx of `model` at each squared ideal radius x, side by side; F and dFdx have the size of
/// x. An unknown model is reported once and gives what it gives above.
template <typename P>
void distortionDerivatives(const CamModel::CameraModel<P>& model, std::span<const P> x, P* F,
                           P* dFdx);

/// The distortion factor of a model, sampled for a spline. Refers to the model.
template <typename P>
class DistortFn {
 public:
  explicit DistortFn(const CamModel::CameraModel<P>& model) : mModel(&model) {}

  /// F(x) and dF/dx at each squared ideal radius x, of which there are at most kSamplesAtOnce.
  void operator()(typename HermiteSplineInterpolation<P>::Arguments x,
                  typename HermiteSplineInterpolation<P>::Samples samples) const;
  /// The same at one of them.
  [[nodiscard]] typename HermiteSplineInterpolation<P>::ResultAndDeriv operator()(P x) const;

 private:
  const CamModel::CameraModel<P>* mModel;
};

}  // namespace AR::CV::CameraCalibration
