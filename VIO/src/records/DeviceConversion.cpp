#include "VIO/DeviceConversion.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <iterator>

#include "AR/CV/Camera/Interchange.h"
#include "AR/Common/ExceptionBarrier.h"
#include "AR/Common/TimeStamp.h"
#include "AR/Common/WorkerPool.h"
#include "VIO/RecordChecks.h"
#include "VIO/StereoRectifyWrapper.h"
#include "entry/CallerMaps.h"
#include "entry/Status.h"

namespace VIO {
namespace {

using AR::CV::CamImageId;
using AR::CV::FullCamera;
using AR::CV::FullStereoCameraCalibration;
using AR::Math::SE3;

/// `defaultId` is what a camera is called that neither its place nor its record names.
CamImageId cameraId(const CameraCalibrationZEL& record, std::size_t index,
                    const CamImageId& defaultId) {
  if (index == 0) return CamImageId("trackingA0");
  if (index == 1) return CamImageId("trackingB1");
  return record.name[0] == '\0' ? defaultId : CamImageId(record.name);
}

bool tryInitCamera(const CameraCalibrationZEL& record, std::size_t index,
                   FullCamera<float>& camera) {
  const auto lineTime =
      static_cast<float>(AR::Common::TimeStamp::fromNanoSeconds(record.line_time_ns).seconds());
  const bool isRollingShutter = record.line_time_ns != 0;
  const bool ok =
      camera.init(CamModel::CameraModel<float>(record.intrinsics), AR::CV::toXRRD(record.pose),
                  cameraId(record, index, camera.getCamId()), isRollingShutter, lineTime,
                  record.capture_details, 0.0);
  if (isRollingShutter) {
    camera.getRSCorrector().centerRow = static_cast<float>(record.rs_center_row);
  }
  return ok;
}

SE3<float> imuPose(const XrPosedZEL_t& pose) {
  return isConvertible(pose) ? AR::CV::toXRRD(pose) : SE3<float>();
}

IMUCalibration<float> convertImu(const ImuCalibrationZEL& record) {
  IMUCalibration<float> imu;
  imu.isPresent = true;
  for (std::size_t i = 0; i < std::size(imu.vectors); ++i) {
    for (std::size_t k = 0; k < 3; ++k) {
      const double value = record.vectors[i][k];
      imu.vectors[i](k) = isFiniteFloat(value) ? static_cast<float>(value) : 0.0F;
    }
  }
  imu.T_imu_ref = imuPose(record.pose);
  return imu;
}

ImuCalibrationZEL toRecord(const IMUCalibration<float>& imu) {
  ImuCalibrationZEL record{};
  for (std::size_t i = 0; i < std::size(imu.vectors); ++i) {
    for (std::size_t k = 0; k < 3; ++k)
      record.vectors[i][k] = static_cast<double>(imu.vectors[i](k));
  }
  record.pose = AR::CV::se32idl(imu.T_imu_ref);
  return record;
}

bool areConvertible(const DeviceCalibrationZEL& record) {
  if (!(record.num_cameras >= 0 && record.num_cameras <= RECTILINE_MAX_CAMERAS)) {
    return false;
  }
  return std::all_of(record.cameras, record.cameras + record.num_cameras,
                     [](const CameraCalibrationZEL& camera) {
                       return isConvertible(camera.intrinsics) && isConvertible(camera.pose);
                     });
}

}  // namespace

bool deviceFromIdl(const DeviceCalibrationZEL& record, FullStereoCameraCalibration<float>& rig,
                   IMUCalibration<float>& imu) {
  if (!areConvertible(record)) return false;
  if (record.num_imus >= 1) imu = convertImu(record.imus[0]);
  const auto count = static_cast<unsigned>(record.num_cameras);
  rig.setupEmptyCalibrationWithDefaultIds(count);
  std::atomic<bool> ok = true;
  AR::Common::WorkerPools::dispatch(
      [&](int i) {
        const auto index = static_cast<std::size_t>(i);
        if (!tryInitCamera(record.cameras[index], index, rig.at(index))) ok = false;
      },
      unsigned(count));
  return ok;
}

void calibrationToIdlFormat(const FullStereoCameraCalibration<float>& rig,
                            const IMUCalibration<float>& imu, DeviceCalibrationZEL& record) {
  std::fill(std::begin(record.header), std::end(record.header), '\0');
  std::snprintf(record.header, sizeof record.header, "%s", rig.getDeviceUID().c_str());
  record.num_imus = imu.isPresent ? 1 : 0;
  record.reserved0 = 0;
  if (imu.isPresent) record.imus[0] = toRecord(imu);
  std::size_t i = 0;
  for (const FullCamera<float>& camera : rig) record.cameras[i++] = camera.toIdl(SE3<float>());
  record.reserved1 = 0;
  record.num_cameras = static_cast<std::int32_t>(i);
}

}  // namespace VIO

std::int32_t copySourceAndTargetCalibration(const DeviceCalibrationZEL& source,
                                            const DeviceCalibrationZEL& target,
                                            AR::CV::FullStereoCameraCalibration<float>& sourceCal,
                                            AR::CV::FullStereoCameraCalibration<float>& targetCal) {
  const auto convert = [&] {
    VIO::IMUCalibration<float> scratch;
    const DeviceCalibrationZEL records[] = {source, target};
    const bool converted = VIO::deviceFromIdl(records[0], sourceCal, scratch) &&
                           VIO::deviceFromIdl(records[1], targetCal, scratch);
    return converted ? VIO::kSuccess : VIO::kSizeMismatch;
  };
  return AR::Common::withoutExceptions(AR_HERE, VIO::kWrapperSource, convert,
                                       [] { return VIO::kSizeMismatch; });
}
