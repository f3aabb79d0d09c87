#include "AR/CV/CameraCalibration/RadialDistortionDerivatives.h"

#include <algorithm>
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
void distortionDerivatives(const CamModel::CameraModel<P>& model, std::span<const P> x, P* F,
                           P* dFdx) {
  const auto* traits = CamModel::findTraits<P>(model.model);
  if (AR_CHECK(traits, "0 && \"Distortion model not handled in enum\"", kSource)) {
    traits->derivative(model.radialDistortion, x, F, dFdx);
    return;
  }
  std::fill_n(F, x.size(), std::numeric_limits<P>::quiet_NaN());
  std::fill_n(dFdx, x.size(), P(0));
}

template <typename P>
void DistortFn<P>::operator()(typename HermiteSplineInterpolation<P>::Arguments x,
                              typename HermiteSplineInterpolation<P>::Samples samples) const {
  AR_REQUIRE(x.size() <= kSamplesAtOnce, "x.size() <= kSamplesAtOnce", kSource);
  P F[kSamplesAtOnce];
  P dFdx[kSamplesAtOnce];
  distortionDerivatives(*mModel, x, F, dFdx);
  for (std::size_t i = 0; i < x.size(); ++i) {
    samples[i] = {F[i], dFdx[i]};
  }
}

template <typename P>
auto DistortFn<P>::operator()(P x) const -> typename HermiteSplineInterpolation<P>::ResultAndDeriv {
  typename HermiteSplineInterpolation<P>::ResultAndDeriv sample;
  (*this)({&x, 1}, {&sample, 1});
  return sample;
}

template float distortionDerivative(const CamModel::CameraModel<float>&, float,
                                    CamModel::RDVec<float>&, float&);
template double distortionDerivative(const CamModel::CameraModel<double>&, double,
                                     CamModel::RDVec<double>&, double&);
template void distortionDerivatives(const CamModel::CameraModel<float>&, std::span<const float>,
                                    float*, float*);
template void distortionDerivatives(const CamModel::CameraModel<double>&, std::span<const double>,
                                    double*, double*);
template class DistortFn<float>;
template class DistortFn<double>;

}  // namespace AR::CV::CameraCalibration
