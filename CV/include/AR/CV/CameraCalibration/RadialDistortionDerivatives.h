#pragma once

#include "AR/CV/Camera/Hermite.h"
#include "CameraModel/CameraModel.h"

namespace AR::CV::CameraCalibration {

/// The distortion factor F of `model` at the squared ideal radius `x`, with its derivative `dFdx`
/// and the derivatives J by the six radial coefficients. An unknown model is reported: then the
/// factor is NaN and the derivatives are 0.
template <typename P>
[[nodiscard]] P distortionDerivative(const CamModel::CameraModel<P>& model, P x,
                                     CamModel::RDVec<P>& J, P& dFdx);

/// The distortion factor of a model, sampled for a spline. Refers to the model.
template <typename P>
class DistortFn {
 public:
  explicit DistortFn(const CamModel::CameraModel<P>& model) : mModel(&model) {}

  /// F(x) and dF/dx at the squared ideal radius x.
  [[nodiscard]] typename HermiteSplineInterpolation<P>::ResultAndDeriv operator()(P x) const;

 private:
  const CamModel::CameraModel<P>* mModel;
};

}  // namespace AR::CV::CameraCalibration
