#include "Records.h"

#include <cmath>
#include <optional>

#include "Boundary.h"
#include "CameraModel/ModelFault.h"
#include "VIO/RecordChecks.h"

namespace rectiline::capi {
namespace {

using Model = CamModel::CameraModel<float>;
using ExactModel = CamModel::CameraModel<double>;

void requireConvertible(const IntrinsicCameraCalibrationZEL& intrinsics, int camera) {
  const std::optional<VIO::RecordFault> fault = VIO::findFault(intrinsics);
  if (!fault) return;
  refuseCamera(camera, {"intrinsics", fault->field}, fault->value, "is %g; it %s", fault->value,
               fault->expected);
}

template <typename P>
void requireUsable(const CamModel::CameraModel<P>& model, int camera) {
  const std::optional<CamModel::ModelFault> fault = CamModel::findFault(model);
  if (!fault) return;
  refuseCamera(camera, {"intrinsics", fault->field}, fault->value, "is %g: %s", fault->value,
               fault->sentence);
}

/// The model alone, for the checks: the limits of a lens that gives none are a search, which only
/// makeCamera() needs.
IntrinsicCameraCalibrationZEL withoutLimits(IntrinsicCameraCalibrationZEL intrinsics) {
  intrinsics.distortion_limit = 1;
  intrinsics.undistortion_limit = 1;
  return intrinsics;
}

}  // namespace

void requireIntrinsics(const CameraCalibrationZEL& record, int camera) {
  requireConvertible(record.intrinsics, camera);
  const IntrinsicCameraCalibrationZEL intrinsics = withoutLimits(record.intrinsics);
  requireUsable(Model(intrinsics), camera);
  // Points and certificates compute in double, in which a coefficient too many may be above 0, or a
  // denominator have a root, that single precision rounds away.
  requireUsable(ExactModel(intrinsics), camera);
}

void requirePose(const CameraCalibrationZEL& record, int camera) {
  const std::optional<VIO::RecordFault> fault = VIO::findFault(record.pose);
  if (!fault) return;
  const char* const text =
      fault->field[0] == 'o' ? "has a squared length of %g; it %s" : "is %g; it %s";
  refuseCamera(camera, {"pose", fault->field}, fault->value, text, fault->value, fault->expected);
}

DeviceCalibrationZEL readDevice(const DeviceCalibrationZEL* callers, int least) {
  requirePointer(callers, "device");
  const DeviceCalibrationZEL device = *callers;
  const int count = device.num_cameras;
  if (count < least || count > RECTILINE_MAX_CAMERAS) {
    refuseArgument("device.num_cameras", count, "is %d; it must be from %d to %d", count, least,
                   RECTILINE_MAX_CAMERAS);
  }
  return device;
}

CameraCalibrationZEL readCamera(const CameraCalibrationZEL* callers) {
  requirePointer(callers, "camera");
  return *callers;
}

AR::CV::Camera<float> makeCamera(const CameraCalibrationZEL& record, int camera) {
  requireIntrinsics(record, camera);
  const Model model(record.intrinsics);
  AR::CV::Camera<float> made;
  if (!made.init(model)) {
    refuseCamera(camera, "intrinsics.distortion", record.intrinsics.distortion[0],
                 "cannot be approximated to 0.01 over the lens's range (ideal radius up to %g); "
                 "check the coefficients, or give the radii within which they hold as "
                 "distortion_limit and undistortion_limit",
                 static_cast<double>(std::sqrt(model.limits.distortionLimit)));
  }
  const float atCentre = model.distortionFactor(0.0F);
  if (!(atCentre > 0)) {
    refuseCamera(camera, "intrinsics.distortion", atCentre,
                 "makes the focal length at the image's centre %g times the given one; it must be "
                 "positive",
                 static_cast<double>(atCentre));
  }
  return made;
}

}  // namespace rectiline::capi
