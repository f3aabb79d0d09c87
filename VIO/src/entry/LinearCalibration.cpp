// Device calibrations whose cameras are pinhole cameras.

#include "AR/CV/Image/ImageOps.h"
#include "AR/Common/ExceptionBarrier.h"
#include "VIO/DeviceConversion.h"
#include "VIO/StereoRectifyWrapper.h"
#include "entry/CallerMaps.h"

namespace {

using AR::CV::CalibrationInfo;
using AR::CV::FullCamera;
using AR::Math::Vec;
using CameraF = AR::CV::Camera<float>;
using Rig = AR::CV::FullStereoCameraCalibration<float>;
using Vec2 = Vec<float, 2>;

struct Pinhole {
  Vec2 size;
  Vec2 focal;
  Vec2 principalPoint;
};

bool tryMakeCamera(const Pinhole& pinhole, CameraF& camera) {
  constexpr float kLimit = 25;  // a radius; the model keeps its square, 625
  return camera.init(pinhole.size, pinhole.principalPoint, pinhole.focal, CamModel::RDVec<float>(),
                     Vec2(), CamModel::LINEAR, {kLimit, kLimit});
}

/// Applies the caller's wishes for camera `i`: a new size scales the intrinsics with it, intrinsics
/// replace them. The source's size is that of a camera, so not 0.
void transformCamera(const CalibrationTransform& transform, std::size_t i, Pinhole& pinhole) {
  if (i >= transform.numCameras) return;
  if (transform.imageSizes != nullptr) {
    const std::int32_t* const wanted = transform.imageSizes + 2 * i;
    const Vec2 size(static_cast<float>(wanted[0]), static_cast<float>(wanted[1]));
    const Vec2 scale = size / pinhole.size;
    pinhole.focal = AR::Math::elementProduct(pinhole.focal, scale);
    pinhole.principalPoint = AR::Math::elementProduct(pinhole.principalPoint, scale);
    pinhole.size = size;
  }
  if (transform.intrinsics != nullptr) {
    const float* const wanted = transform.intrinsics + 4 * i;
    pinhole.focal = Vec2(wanted[0], wanted[1]);
    pinhole.principalPoint = Vec2(wanted[2], wanted[3]);
  }
}

bool tryMakeLinear(const FullCamera<float>& source, bool largest,
                   const CalibrationTransform& transform, std::size_t i,
                   FullCamera<float>& target) {
  const CameraF& distorted = source.getIntrinsics();
  Pinhole pinhole{distorted.getSize(), distorted.getOriginalFocalLength(),
                  distorted.getPrincipalPoint()};
  CameraF linear;
  if (!tryMakeCamera(pinhole, linear)) return false;
  if (largest) {
    pinhole.focal = AR::CV::ImageOps::estimateUndistortedFocalLength(distorted, linear);
  }
  transformCamera(transform, i, pinhole);
  return tryMakeCamera(pinhole, linear) &&
         target.init(linear.getCamModel(), source.getCamReferenceToLocal(), source.getCamId(),
                     false, 0.0F, AR::CV::CaptureDetails(), 0.0);
}

void makeLinear(const DeviceCalibrationZEL& source, bool largest,
                const CalibrationTransform& transform, DeviceCalibrationZEL& target) {
  const CalibrationInfo info(CalibrationInfo::UNKNOWN, 0);
  Rig sourceRig(info);
  VIO::IMUCalibration<float> scratch;
  if (!VIO::deviceFromIdl(source, sourceRig, scratch)) return;
  Rig linearRig(info);
  linearRig.setupEmptyCalibrationWithDefaultIds(sourceRig.size());
  for (std::size_t i = 0; i < sourceRig.size(); ++i) {
    if (!tryMakeLinear(sourceRig.at(i), largest, transform, i, linearRig.at(i))) return;
  }
  DeviceCalibrationZEL record = target;  // so that the target stays whole when this throws
  VIO::calibrationToIdlFormat(linearRig, VIO::IMUCalibration<float>(), record);
  target = record;
}

}  // namespace

void getLinearCalibration(const DeviceCalibrationZEL* source, bool largest,
                          const CalibrationTransform& transform, DeviceCalibrationZEL* target) {
  const std::optional<DeviceCalibrationZEL> device = VIO::copyOf(source);
  if (!device || target == nullptr) return;
  AR::Common::withoutExceptions(
      AR_HERE, VIO::kWrapperSource,
      [&] { makeLinear(*device, largest, CalibrationTransform(transform), *target); }, [] {});
}

void LargestLinearCalibration(const DeviceCalibrationZEL* source,
                              const CalibrationTransform& transform, DeviceCalibrationZEL* target) {
  getLinearCalibration(source, true, transform, target);
}

void SameFocalLengthLinearCalibration(const DeviceCalibrationZEL* source,
                                      const CalibrationTransform& transform,
                                      DeviceCalibrationZEL* target) {
  getLinearCalibration(source, false, transform, target);
}
