#include "ExactCamera.h"

#include "RecordChecks.h"

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
  const double p1 = mModel.tangentialDistortion(0);
  const double p2 = mModel.tangentialDistortion(1);
  const double r2 = x * x + y * y;
  const double F = mModel.distortionFactor(r2);
  const double xd = F * x + 2 * p1 * x * y + p2 * (r2 + 2 * x * x);
  const double yd = F * y + p1 * (r2 + 2 * y * y) + 2 * p2 * x * y;
  return {mModel.principalPoint(0) + mModel.focalLength(0) * xd,
          mModel.principalPoint(1) + mModel.focalLength(1) * yd};
}

bool ExactCamera::tryProject(const AR::Math::Vec<double, 3>& P, PixelPosition& pixel) const {
  if (!(P(2) > 0)) return false;
  pixel = this->pixel(P(0) / P(2), P(1) / P(2));
  return true;
}

}  // namespace VIO
