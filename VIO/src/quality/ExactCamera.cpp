#include "VIO/quality/ExactCamera.h"

#include "CameraModel/Tangential.h"
#include "records/RecordChecks.h"

namespace VIO {
namespace {

/// The model of a record without its limits: the formulas hold at any radius, and a search for
/// limits that are not given would be wasted.
CamModel::CameraModel<double> unlimitedModel(IntrinsicCameraCalibrationZEL record) {
  record.distortion_limit = 1;
  record.undistortion_limit = 1;
  return CamModel::CameraModel<double>(record);
}

}  // namespace

std::optional<ExactCamera> ExactCamera::fromRecord(const IntrinsicCameraCalibrationZEL& record) {
  if (!isConvertible(record)) return std::nullopt;
  const CamModel::CameraModel<double> model = unlimitedModel(record);
  if (!model.validateCoeffs()) return std::nullopt;
  return ExactCamera(model);
}

PixelPosition ExactCamera::pixel(double x, double y) const {
  const AR::Math::Vec<double, 2> ideal(x, y);
  const auto d = mModel.distortionFactor(AR::Math::normSquared(ideal)) * ideal +
                 CamModel::tangentialTerm(mModel.tangentialDistortion, ideal);
  return mModel.principalPoint + AR::Math::elementProduct(mModel.focalLength, d);
}

bool ExactCamera::tryProject(const AR::Math::Vec<double, 3>& P, PixelPosition& pixel) const {
  if (!(P(2) > 0)) return false;
  pixel = this->pixel(P(0) / P(2), P(1) / P(2));
  return true;
}

}  // namespace VIO
