// See-through maps: what each eye would see if the world were a plane in front of it.

#include "AR/Common/ExceptionBarrier.h"
#include "AR/Common/Logger.h"
#include "AR/Common/Macros.h"
#include "VIO/StereoRectify.h"
#include "VIO/StereoRectifyWrapper.h"
#include "entry/CallerMaps.h"

namespace {

using AR::Common::CallSite;
using AR::CV::CalibrationInfo;
using AR::CV::FullCamera;
using AR::Math::SE3;
using Rig = AR::CV::FullStereoCameraCalibration<float>;
using VIO::CallerMapPair;
using VIO::CallerMaps;
using VIO::kWrapperSource;

/// The real cameras and the eyes, in one reference frame.
struct SeeThrough {
  Rig cameras{CalibrationInfo(CalibrationInfo::API, 0)};
  Rig eyes{CalibrationInfo(CalibrationInfo::API, 0)};
};

bool convert(const CallSite& site, const DeviceCalibrationZEL& device,
             const DeviceCalibrationZEL& seeThrough, SeeThrough& rigs) {
  const bool ret = copySourceAndTargetCalibration(device, seeThrough, rigs.cameras, rigs.eyes) == 0;
  if (!AR_CHECK_AT(site, ret, "ret", kWrapperSource)) return false;
  SE3<float> T_ref_moved;
  VIO::moveLeftCameraToOrigin(rigs.cameras, T_ref_moved);
  for (FullCamera<float>& eye : rigs.eyes) {
    eye.setExtrinsics(eye.getCamReferenceToLocal() * T_ref_moved);
  }
  return true;
}

void lookThrough(const FullCamera<float>& camera, const FullCamera<float>& eye, float planeDistance,
                 bool keepOutside, const CallerMapPair& maps, AR::CV::MapBatch<float>& batch) {
  maps.make(VIO::pixelSize(eye.getIntrinsics()), [&](auto& mapXY) {
    VIO::setupFixedPlaneMap(camera, keepOutside, eye, planeDistance, mapXY, batch);
  });
}

bool createFixedPlaneMaps(const CallSite& site, const DeviceCalibrationZEL* deviceCalibration,
                          const DeviceCalibrationZEL* seeThroughCalibration, bool keepOutside,
                          float planeDistance, const CallerMaps& maps) {
  VIO::checkMaps(site, maps);
  const std::optional<DeviceCalibrationZEL> device = VIO::copyOf(deviceCalibration);
  const std::optional<DeviceCalibrationZEL> eyes = VIO::copyOf(seeThroughCalibration);
  const bool usableDevice = VIO::checkDevice(site, device, VIO::kDeviceText);
  const bool usableEyes = VIO::checkDevice(
      site, eyes, "seeThroughCalibration != nullptr && seeThroughCalibration->num_cameras == 2");
  if (!(planeDistance > 0)) {
    AR_LOGF(AR::Common::Logger::ERR, kWrapperSource, "Invalid fixed plane distance %f",
            static_cast<double>(planeDistance));
    return false;
  }
  SeeThrough rigs;
  if (!usableDevice || !usableEyes || !convert(site, *device, *eyes, rigs)) {
    maps.fillNotMade();
    return true;
  }
  VIO::checkMapSizes(site, maps, VIO::pixelSize(rigs.eyes.at(0).getIntrinsics()),
                     VIO::pixelSize(rigs.eyes.at(1).getIntrinsics()));
  AR::CV::MapBatch<float> batch;
  lookThrough(rigs.cameras.at(0), rigs.eyes.at(0), planeDistance, keepOutside, maps.left, batch);
  lookThrough(rigs.cameras.at(1), rigs.eyes.at(1), planeDistance, keepOutside, maps.right, batch);
  batch.fill();
  return true;
}

}  // namespace

bool CreateFixedPlaneVSTMaps(const DeviceCalibrationZEL* deviceCalibration,
                             const DeviceCalibrationZEL* seeThroughCalibration,
                             std::uint32_t keepOutside, float planeDistance, float* mapLeftX,
                             std::uint32_t mapLeftX_size, float* mapLeftY,
                             std::uint32_t mapLeftY_size, float* mapRightX,
                             std::uint32_t mapRightX_size, float* mapRightY,
                             std::uint32_t mapRightY_size) {
  const CallSite site = AR_HERE;
  const CallerMaps maps{{{mapLeftX, mapLeftX_size}, {mapLeftY, mapLeftY_size}},
                        {{mapRightX, mapRightX_size}, {mapRightY, mapRightY_size}}};
  return AR::Common::withoutExceptions(
      site, kWrapperSource,
      [&] {
        return createFixedPlaneMaps(site, deviceCalibration, seeThroughCalibration,
                                    keepOutside != 0, planeDistance, maps);
      },
      [&] { return maps.fillNotMade(), true; });
}
