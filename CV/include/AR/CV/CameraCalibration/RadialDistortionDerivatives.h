#pragma once

#include <span>

#include "AR/CV/Camera/Hermite.h"
#include "CameraModel/CameraModel.h"

namespace AR::CV::CameraCalibration {

/// The distortion factor F of `model` at the squared ideal radius `x`, with its derivative `dFdx`
/// and the derivatives J by the six radial coefficients. An unknown model is reported: then the
/// factor is NaN and the derivatives are 0.
template <typename P>
[[nodiscard]] P distortionDerivative(const CamModel::CameraModel<P>& model, P x,
                                     CamModel::RDVec<P>& J, P& dFdx);

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

  /// F(x) and dF/dx at each squared ideal radius x.
  void operator()(typename HermiteSplineInterpolation<P>::Arguments x,
                  typename HermiteSplineInterpolation<P>::Samples samples) const;

 private:
  const CamModel::CameraModel<P>* mModel;
};

}  // namespace AR::CV::CameraCalibration
