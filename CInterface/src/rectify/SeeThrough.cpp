// rectiline_see_through: what each eye would see if the world were a plane in front of it.

#include <cstdint>
#include <string>

#include "AR/CV/Camera/Interchange.h"
#include "AR/CV/Camera/PixelSize.h"
#include "Boundary.h"
#include "Records.h"
#include "Structs.h"
#include "VIO/StereoRectify.h"
#include "rectify/MapFilling.h"
#include "rectify/SourceCameras.h"

namespace rectiline::capi {
namespace {

using AR::Math::SE3;
using CameraF = AR::CV::Camera<float>;

constexpr CameraPair kBothEyes = {0, 1};

DeviceCalibrationZEL readEyes(const DeviceCalibrationZEL* callers) {
  requirePointer(callers, "eyes");
  const DeviceCalibrationZEL eyes = *callers;
  const int count = eyes.num_cameras;
  if (count < 2 || count > RECTILINE_MAX_CAMERAS) {
    refuseArgument("eyes.num_cameras", count, "is %d; there must be two", count);
  }
  return eyes;
}

/// The eyes' cameras. A refusal says that the eyes are meant and not the device.
SourceCameras eyeCameras(const DeviceCalibrationZEL& eyes) {
  try {
    return sourceCameras(eyes, kBothEyes);
  } catch (Refusal& refusal) {
    setText(refusal.error.field, ("eyes." + std::string(refusal.error.field)).c_str());
    setText(refusal.error.text, ("Of the eyes: " + std::string(refusal.error.text)).c_str());
    throw;
  }
}

float checkedDistance(double distance) {
  const auto metres = static_cast<float>(distance);
  if (!(metres > 0)) {
    refuseArgument("plane_distance", distance, "is %g; it must be above 0, in metres", distance);
  }
  return metres;
}

/// In the steps of CreateFixedPlaneVSTMaps(), which multiplies the eye's pose by the identity.
SE3<float> relativePose(const XrPosedZEL_t& camera, const XrPosedZEL_t& eye) {
  return AR::CV::toXRRD(camera) * (AR::CV::toXRRD(eye) * SE3<float>()).inverse();
}

void requireEyesSize(const Map& map, const CameraF& eye, const char* name) {
  const AR::Math::Vec<int, 2> size = AR::CV::pixelSize(eye);
  requireSize(map, size(0), size(1), name);
}

void seeThrough(const DeviceCalibrationZEL* callersDevice, const DeviceCalibrationZEL* callersEyes,
                double planeDistance, bool keepOutside, const TargetMaps& maps) {
  const DeviceCalibrationZEL device = readDevice(callersDevice, 2);
  const DeviceCalibrationZEL eyes = readEyes(callersEyes);
  const float distance = checkedDistance(planeDistance);
  const SourceCameras cameras = sourceCameras(device, kBothEyes);
  const SourceCameras eye = eyeCameras(eyes);
  if (maps.left) requireEyesSize(*maps.left, eye.left, "left");
  if (maps.right) requireEyesSize(*maps.right, eye.right, "right");
  AR::CV::MapBatch<float> batch;
  const auto add = [&](int i, const CameraF& source, const CameraF& target, const Map& map) {
    const SE3<float> T_source_eye = relativePose(device.cameras[i].pose, eyes.cameras[i].pose);
    addMap(VIO::fixedPlaneJob(source, target, T_source_eye, distance, keepOutside), map, batch);
  };
  if (maps.left) add(0, cameras.left, eye.left, *maps.left);
  if (maps.right) add(1, cameras.right, eye.right, *maps.right);
  batch.fill();
}

}  // namespace
}  // namespace rectiline::capi

std::int32_t rectiline_see_through(const DeviceCalibrationZEL* device,
                                   const DeviceCalibrationZEL* eyes, double plane_distance,
                                   std::int32_t keep_outside, const rectiline_map* left,
                                   const rectiline_map* right) {
  using namespace rectiline::capi;
  return guarded([&] {
    const TargetMaps maps = checkedTargets(left, right);
    orFillNotMade(maps, [&] { seeThrough(device, eyes, plane_distance, keep_outside != 0, maps); });
  });
}
