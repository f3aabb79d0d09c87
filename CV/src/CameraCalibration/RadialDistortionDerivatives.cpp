#include "AR/CV/CameraCalibration/RadialDistortionDerivatives.h"

#include <limits>

#include "AR/Common/Macros.h"
#include "CameraModel/DistortionTraits.h"

namespace AR::CV::CameraCalibration {
namespace {
constexpr char kSource[] = "CV/src/../include/AR/CV/CameraCalibration/RadialDistortionDerivatives";
}

template <typename P>
P distortionDerivative(const CamModel::CameraModel<P>& model, P x, CamModel::RDVec<P>& J, P& dFdx) {
  J = CamModel::RDVec<P>();
  dFdx = 0;
  const auto* traits = CamModel::findTraits<P>(model.model);
  if (!AR_CHECK(traits, "0 && \"Distortion model not handled in enum\"", kSource)) {
    return std::numeric_limits<P>::quiet_NaN();
  }
  return traits->derivative(model.radialDistortion, x, J, dFdx);
}

template <typename P>
auto DistortFn<P>::operator()(P x) const -> typename HermiteSplineInterpolation<P>::ResultAndDeriv {
  CamModel::RDVec<P> J;
  P dFdx;
  const P F = distortionDerivative(*mModel, x, J, dFdx);
  return {F, dFdx};
}

template float distortionDerivative(const CamModel::CameraModel<float>&, float,
                                    CamModel::RDVec<float>&, float&);
template double distortionDerivative(const CamModel::CameraModel<double>&, double,
                                     CamModel::RDVec<double>&, double&);
template class DistortFn<float>;
template class DistortFn<double>;

}  // namespace AR::CV::CameraCalibration
