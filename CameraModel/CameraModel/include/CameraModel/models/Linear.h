#pragma once

#include "CameraModel/models/DistortionDerivatives.h"

// LINEAR: the pinhole camera, F(x) = 1 everywhere.

namespace CamModel {

template <typename P>
P linearFactor(const RDVec<P>& /*k*/, P /*x*/) {
  return P(1);
}

template <typename P>
P linearInverse(const RDVec<P>& /*k*/, P /*y*/) {
  return P(1);
}

}  // namespace CamModel

namespace AR::CV::CameraCalibration {

template <typename P>
struct DistortionDerivatives<P, CamModel::LINEAR> {
  static P distortionFactorLinear(const CamModel::RDVec<P>& /*k*/, P /*x*/, CamModel::RDVec<P>& J,
                                  P& dFdx) {
    J = {};
    dFdx = P(0);
    return P(1);
  }
};

}  // namespace AR::CV::CameraCalibration
