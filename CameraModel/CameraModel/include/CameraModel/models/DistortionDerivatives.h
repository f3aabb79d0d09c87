#pragma once

#include "CameraModel/DistortionModel.h"

namespace AR::CV::CameraCalibration {

/// The factor of one model with its analytic derivatives; specialised beside each model's formula.
/// The one static function of a specialisation returns F(x), sets J to the derivatives of F by
/// the six radial coefficients, and dFdx to the derivative by x, the squared ideal radius.
template <typename P, CamModel::DistortionModel MODEL>
struct DistortionDerivatives;

}  // namespace AR::CV::CameraCalibration
