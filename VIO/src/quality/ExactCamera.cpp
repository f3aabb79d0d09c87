#include "VIO/quality/ExactCamera.h"

#include "AR/CV/CameraCalibration/RadialDistortionDerivatives.h"
#include "CameraModel/Tangential.h"
#include "VIO/RecordChecks.h"

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

AR::Math::Mat<double, 2, 2> ExactCamera::derivative(const PixelPosition& ideal) const {
  const double x = ideal(0);
  const double y = ideal(1);
  const double r2 = x * x + y * y;
  double F;
  double dF;
  AR::CV::CameraCalibration::distortionDerivatives<double>(mModel, {&r2, 1}, &F, &dF);
  const double p1 = mModel.tangentialDistortion(0);
  const double p2 = mModel.tangentialDistortion(1);
  const double fx = mModel.focalLength(0);
  const double fy = mModel.focalLength(1);
  const double across = 2 * dF * x * y + 2 * p1 * x + 2 * p2 * y;
  return {fx * (F + 2 * dF * x * x + 2 * p1 * y + 6 * p2 * x), fx * across, fy * across,
          fy * (F + 2 * dF * y * y + 6 * p1 * y + 2 * p2 * x)};
}

// The miss is measured with pixel(), not with the factor that comes with the derivative: below
// small radii the two go by different series, 1e-5 pixels apart.
bool ExactCamera::tryUnproject(const PixelPosition& wanted, PixelPosition& ideal) const {
  constexpr int kMaxSteps = 20;
  constexpr double kSettled = 1e-10;    // pixels
  constexpr double kAcceptable = 1e-6;  // where a formula changes to its series it has a step
  PixelPosition best = ideal;
  PixelPosition miss = wanted - pixel(ideal(0), ideal(1));
  for (int i = 0; i < kMaxSteps && !(AR::Math::norm(miss) <= kSettled); ++i) {
    const auto J = derivative(best);
    const double determinant = J(0, 0) * J(1, 1) - J(0, 1) * J(1, 0);
    if (determinant == 0) break;
    const PixelPosition step(J(1, 1) * miss(0) - J(0, 1) * miss(1),
                             J(0, 0) * miss(1) - J(1, 0) * miss(0));
    const PixelPosition next = best + step / determinant;
    const PixelPosition nextMiss = wanted - pixel(next(0), next(1));
    if (!(AR::Math::norm(nextMiss) < AR::Math::norm(miss))) break;
    best = next;
    miss = nextMiss;
  }
  if (!(AR::Math::norm(miss) <= kAcceptable)) return false;
  ideal = best;
  return true;
}

}  // namespace VIO
