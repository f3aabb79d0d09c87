// Undistortion maps of a device's two cameras.

#include "AR/Common/ExceptionBarrier.h"
#include "AR/Common/Logger.h"
#include "AR/Common/Macros.h"
#include "VIO/DeviceConversion.h"
#include "VIO/StereoRectify.h"
#include "VIO/StereoRectifyWrapper.h"
#include "entry/CallerMaps.h"

namespace {

using AR::Common::assertSuccess;
using AR::Common::CallSite;
using AR::CV::CalibrationInfo;
using AR::CV::CamImageId;
using AR::Math::SO3;
using Rig = AR::CV::FullStereoCameraCalibration<float>;
using VIO::CallerMapPair;
using VIO::CallerMaps;
using VIO::kWrapperSource;

/// Cameras 0 and 1 of `source` as pinhole cameras with their corrected focal lengths scaled.
Rig pinholePair(const Rig& source, float fovFactor) {
  const CamImageId ids[] = {source.at(0).getCamId(), source.at(1).getCamId()};
  Rig target = source.selectCameras<float>({ids, 2});
  for (AR::CV::FullCamera<float>& camera : target) {
    assertSuccess(camera.initIntrinsics(VIO::pinholeModelOf(camera.getIntrinsics(), fovFactor)));
  }
  return target;
}

void undistortInto(const AR::CV::FullCamera<float>& source, const AR::CV::FullCamera<float>& target,
                   bool keepOutside, const AR::Math::Vec<int, 2>& size, const CallerMapPair& maps,
                   AR::CV::MapBatch<float>& batch) {
  if (!target.isInitialized()) {
    maps.fillNotMade();
    return;
  }
  const bool isOfSize = VIO::pixelSize(target.getIntrinsics()) == size;
  maps.make(size, [&](auto& mapXY) {
    VIO::setupUndistortMap(source.getIntrinsics(), target.getIntrinsics(), keepOutside,
                           SO3<float>(), mapXY, batch);
    if (isOfSize) return;
    // Both pairs have the left camera's size. What of a right camera of another size would fit, and
    // was made after the report, is not an image of it.
    batch.fill();
    for (auto& image : mapXY) image.clear(VIO::kNoSource);
  });
}

bool createUndistortMap(const CallSite& site, const DeviceCalibrationZEL* deviceCalibration,
                        bool keepOutside, float fovFactor, const CallerMaps& maps) {
  VIO::checkMaps(site, maps);
  const std::optional<DeviceCalibrationZEL> device = VIO::copyOf(deviceCalibration);
  const bool usable = VIO::checkDevice(site, device, VIO::kDeviceText);
  if (!(fovFactor > 0)) {
    AR_LOGF(AR::Common::Logger::ERR, kWrapperSource, "Invalid undistortion field of view factor %f",
            static_cast<double>(fovFactor));
    return false;
  }
  Rig source(CalibrationInfo(CalibrationInfo::API, 0));
  VIO::IMUCalibration<float> scratch;
  const bool ret = usable && VIO::deviceFromIdl(*device, source, scratch);
  if (usable) AR_CHECK_AT(site, ret, "ret", kWrapperSource);
  if (!ret) {
    maps.fillNotMade();
    return true;
  }
  const AR::Math::Vec<int, 2> size = VIO::pixelSize(source.at(0).getIntrinsics());
  VIO::checkMapSizes(site, maps, size, size);
  const Rig target = pinholePair(source, fovFactor);
  AR::CV::MapBatch<float> batch;
  undistortInto(source.at(0), target.at(0), keepOutside, size, maps.left, batch);
  undistortInto(source.at(1), target.at(1), keepOutside, size, maps.right, batch);
  batch.fill();
  return true;
}

}  // namespace

bool CreateUndistortMap(const DeviceCalibrationZEL* deviceCalibration, std::uint32_t keepOutside,
                        const float fovFactor, float* mapLeftX, std::uint32_t mapLeftX_size,
                        float* mapLeftY, std::uint32_t mapLeftY_size, float* mapRightX,
                        std::uint32_t mapRightX_size, float* mapRightY,
                        std::uint32_t mapRightY_size) {
  const CallSite site = AR_HERE;
  const CallerMaps maps{{{mapLeftX, mapLeftX_size}, {mapLeftY, mapLeftY_size}},
                        {{mapRightX, mapRightX_size}, {mapRightY, mapRightY_size}}};
  return AR::Common::withoutExceptions(
      site, kWrapperSource,
      [&] {
        return createUndistortMap(site, deviceCalibration, keepOutside != 0, fovFactor, maps);
      },
      [&] { return maps.fillNotMade(), true; });
}
