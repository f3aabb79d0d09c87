#include "AR/CV/Camera/CameraUtil.h"

#include <algorithm>

#include "AR/Common/Logger.h"
#include "AR/Math/LU.h"
#include "AR/Math/Matrix.h"
#include "CameraModel/DistortionTraits.h"
#include "CameraModel/IntrinsicRecord.h"

namespace AR::CV {
namespace {

using CamModel::CameraModel;
using CamModel::DistortionModel;
using CamModel::RDVec;
using Common::Logger;

constexpr char kSource[] = "CV/src/Camera/CameraUtil";
constexpr char kHeaderSource[] = "CV/src/../include/AR/CV/Camera/CameraUtil";

/// Stands for 0 in a legacy vector.
template <typename P>
constexpr P kMark = P(1e-8);

/// Of the fisheye coefficients (row i: of theta^(2i+2)) from the Chebyshev weights (columns):
/// column n holds the coefficients of T_2n(theta / 1.75), whose constant term the model leaves out.
/// 0.653... is 2 / 1.75^2, 0.852... is 8 / 1.75^4, and so on.
const Math::Mat<double, 4, 4>& fisheyeFromChebyshev() {
  static const Math::Mat<double, 4, 4> M(
      0.65306122448979587, -2.6122448979591835, 5.8775510204081627, -10.448979591836734,  //
      0.0, 0.85297792586422305, -5.1178675551853381, 17.059558517284461,                  //
      0.0, 0.0, 1.1140936174553115, -8.9127489396424924,                                  //
      0.0, 0.0, 0.0, 1.455142684023264);
  return M;
}

template <typename P>
CameraModel<P> fisheyeToChebyshev(const CameraModel<P>& model, Math::LU<double, 4>& lu) {
  IntrinsicCameraCalibrationZEL record = CamModel::toRecord(model);
  const Math::Vec<double, 4> k(record.distortion[0], record.distortion[1], record.distortion[2],
                               record.distortion[3]);
  double* const c = record.distortion;
  std::fill_n(c, CamModel::MAX_RD_PARAMS, 0.0);
  lu.solve(k, Math::Vector<double, 4, Math::Linear, Math::VectorReference>(c));
  record.distortion_model = CamModel::CHEBYSHEV_4_PARAMETERS;
  return CameraModel<P>(record);
}

/// The model of a legacy vector that is not of the four-parameter fisheye.
template <typename P>
DistortionModel modelOfOldVec(const Math::Vec<P, 8>& o) {
  if (o[5] != 0 || o[6] != 0 || o[7] != 0) return CamModel::RADIAL_6_PARAMETERS;
  if (o[4] != 0) return CamModel::RADIAL_3_PARAMETERS;
  if (o[1] != 0) return CamModel::RADIAL_2_PARAMETERS;
  if (o[0] != 0) return CamModel::FISHEYE_1_PARAMETER;
  return CamModel::LINEAR;
}

}  // namespace

bool radialDistortionModelStringToEnum(const std::string& name, DistortionModel& model) {
  for (const DistortionModel candidate : CamModel::kDistortionModels) {
    if (name != CamModel::modelName(candidate)) continue;
    model = candidate;
    return true;
  }
  AR_LOGF(Logger::ERR, kSource, "Radial distortion model %s not supported (use UPPERCASE).",
          name.c_str());
  return false;
}

template <typename P>
void getOldDistortionVec(const DistortionModel model, const Math::Vec<P, 2>& tangential,
                         const RDVec<P>& radial, Math::Vec<P, 8>& oldVec,
                         OLD_DISTORTION_MODE& mode) {
  oldVec = {};
  oldVec[2] = tangential[0];
  oldVec[3] = tangential[1];
  const auto* const traits = CamModel::findTraits<P>(model);
  const CamModel::LegacyForm legacy = traits != nullptr ? traits->legacy : CamModel::LegacyForm{};
  if (!AR_CHECK(legacy.mode >= 0, "0 && \"Unhandled enum option\"", kHeaderSource)) return;

  RDVec<P> k = radial;
  for (int i = 0; i < legacy.numMarked; ++i) {
    if (k[i] == 0) k[i] = kMark<P>;
  }
  for (size_t i = 0; i < legacy.slots.size(); ++i) oldVec[legacy.slots[i]] = k[i];
  const bool hasTangential = Math::normSquared(tangential) > 0;
  mode = static_cast<OLD_DISTORTION_MODE>(hasTangential ? legacy.modeWithTangential : legacy.mode);
}

template <typename P>
void getNewDistortionVec(const Math::Vec<P, 8>& oldVec, const bool isFisheye4,
                         DistortionModel& model, Math::Vec<P, 2>& tangential, RDVec<P>& radial) {
  model = isFisheye4 ? CamModel::FISHEYE_4_PARAMETERS : modelOfOldVec(oldVec);
  const auto slots = CamModel::findTraits<P>(model)->legacy.slots;
  radial = {};
  for (size_t i = 0; i < slots.size(); ++i) radial[i] = oldVec[slots[i]];
  tangential = {};
  // The other models have no tangential coefficients: these slots hold something else.
  const bool isRadial = slots.size() == CamModel::MAX_RD_PARAMS;
  if (isRadial) tangential = Math::Vec<P, 2>(oldVec[2], oldVec[3]);
}

template <typename P>
void convert4ParamFisheyeModelToChebyshev(const Common::ArrayView<CameraModel<P>> models) {
  Math::LU<double, 4> lu;
  lu.compute(fisheyeFromChebyshev());
  for (CameraModel<P>& model : models) {
    if (model.model != CamModel::FISHEYE_4_PARAMETERS) continue;
    AR_LOG(Logger::DEBUG, kSource, "Convert camera to CHEBYSHEV_4_PARAMETERS model");
    model = fisheyeToChebyshev(model, lu);
  }
}

#define INSTANTIATE_LEGACY(P)                                                                 \
  template void getOldDistortionVec(DistortionModel model, const Math::Vec<P, 2>& tangential, \
                                    const RDVec<P>& radial, Math::Vec<P, 8>& oldVec,          \
                                    OLD_DISTORTION_MODE& mode);                               \
  template void getNewDistortionVec(const Math::Vec<P, 8>& oldVec, bool isFisheye4,           \
                                    DistortionModel& model, Math::Vec<P, 2>& tangential,      \
                                    RDVec<P>& radial);
INSTANTIATE_LEGACY(float)
INSTANTIATE_LEGACY(double)
#undef INSTANTIATE_LEGACY
template void convert4ParamFisheyeModelToChebyshev<float>(Common::ArrayView<CameraModel<float>>);
template void convert4ParamFisheyeModelToChebyshev<double>(Common::ArrayView<CameraModel<double>>);

}  // namespace AR::CV
