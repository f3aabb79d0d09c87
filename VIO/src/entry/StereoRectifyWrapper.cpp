#include "VIO/StereoRectifyWrapper.h"

#include <cmath>

#include "AR/CV/Stereo/Rectify.h"
#include "AR/Common/ExceptionBarrier.h"
#include "AR/Common/Macros.h"
#include "VIO/DeviceConversion.h"
#include "VIO/StereoRectify.h"
#include "entry/CallerMaps.h"

namespace {

using AR::Common::CallSite;
using AR::CV::CalibrationInfo;
using AR::Math::SO3;
using AR::Math::Vec;
using Rig = AR::CV::FullStereoCameraCalibration<float>;
using VIO::CallerMapPair;
using VIO::CallerMaps;
using VIO::kWrapperSource;

/// The rectified pair of a device.
struct Rectification {
  Rig source{CalibrationInfo(CalibrationInfo::API, 0)};
  Rig target{CalibrationInfo(CalibrationInfo::RECTIFICATION, 0)};
  SO3<float> R_oltl;
  AR::CV::DepthParams<float> depth;
};

/// False, after a report, when the device has no rectified pair.
bool rectify(const CallSite& site, const DeviceCalibrationZEL& device, Rectification& pair) {
  constexpr std::uint32_t kNumDisparities = 64;
  constexpr float kMinDepth = 0;  // a depth range would stretch the pixels along the rows
  constexpr float kMaxDepth = 10;
  constexpr std::uint32_t kSourceWidth = 0;
  VIO::IMUCalibration<float> imu;
  const bool ret = VIO::deviceFromIdl(device, pair.source, imu);
  if (!AR_CHECK_AT(site, ret, "ret", kWrapperSource) || pair.source.size() < 2) return false;
  AR::CV::makeTargetCalibration(pair.source, kNumDisparities, kMinDepth, kMaxDepth, kSourceWidth,
                                AR::Math::SE3<float>(), Vec<float, 3>(), pair.target, pair.R_oltl,
                                pair.depth);
  return pair.target.isInitialized();
}

QuaternionZEL toQuaternion(const SO3<float>& R) {
  Vec<float, 3> axis;
  float angle;
  AR::Math::matrix2AxisAngle(R.matrix(), axis, angle);
  const double half = static_cast<double>(angle) / 2;
  const double s = std::sin(half);
  return {s * static_cast<double>(axis(0)), s * static_cast<double>(axis(1)),
          s * static_cast<double>(axis(2)), std::cos(half)};
}

CameraCalibrationZEL toRectifiedRecord(const Rectification& pair) {
  CameraCalibrationZEL record = pair.target.at(0).toIdl(AR::Math::SE3<float>());
  record.pose.orientation = toQuaternion(pair.R_oltl);
  return record;
}

Vec<int, 2> targetSize(const Rectification& pair) {
  return VIO::pixelSize(pair.target.at(0).getIntrinsics());
}

void rectifyInto(const Rectification& pair, std::size_t index, bool keepOutside,
                 const CallerMapPair& maps, AR::CV::MapBatch<float>& batch) {
  maps.make(targetSize(pair), [&](auto& mapXY) {
    VIO::setupRectifyMap(pair.source.at(index), keepOutside, pair.target.at(index), pair.R_oltl,
                         mapXY, batch);
  });
}

/// What a call writes; depth constant and camera may be null.
struct Outputs {
  CallerMaps maps;
  float* depthConstant;
  CameraCalibrationZEL* rectifiedCam;

  void fillNotMade() const {
    if (depthConstant != nullptr) *depthConstant = -1.0F;
    if (rectifiedCam != nullptr) *rectifiedCam = {};
    maps.fillNotMade();
  }
};

void createRectifyMap(const CallSite& site, const DeviceCalibrationZEL* deviceCalibration,
                      bool keepOutside, const Outputs& out) {
  VIO::checkMaps(site, out.maps);
  AR_CHECK_AT(site, out.rectifiedCam != nullptr, "rectifiedCam != nullptr", kWrapperSource);
  const std::optional<DeviceCalibrationZEL> device = VIO::copyOf(deviceCalibration);
  const bool usable = VIO::checkDevice(site, device, VIO::kDeviceText);

  Rectification pair;
  if (!usable || !rectify(site, *device, pair)) {
    out.fillNotMade();
    return;
  }
  if (out.depthConstant != nullptr) *out.depthConstant = pair.depth.constant;
  VIO::checkMapSizes(site, out.maps, targetSize(pair), targetSize(pair));
  if (out.rectifiedCam != nullptr) *out.rectifiedCam = toRectifiedRecord(pair);
  AR::CV::MapBatch<float> batch;
  rectifyInto(pair, 0, keepOutside, out.maps.left, batch);
  rectifyInto(pair, 1, keepOutside, out.maps.right, batch);
  batch.fill();
}

}  // namespace

bool CreateRectifyMap(const DeviceCalibrationZEL* deviceCalibration, std::uint32_t keepOutside,
                      float* mapLeftX, std::uint32_t mapLeftX_size, float* mapLeftY,
                      std::uint32_t mapLeftY_size, float* mapRightX, std::uint32_t mapRightX_size,
                      float* mapRightY, std::uint32_t mapRightY_size, float* depthConstant,
                      CameraCalibrationZEL* rectifiedCam) {
  const CallSite site = AR_HERE;
  const Outputs out{{{{mapLeftX, mapLeftX_size}, {mapLeftY, mapLeftY_size}},
                     {{mapRightX, mapRightX_size}, {mapRightY, mapRightY_size}}},
                    depthConstant,
                    rectifiedCam};
  AR::Common::withoutExceptions(
      site, kWrapperSource,
      [&] { createRectifyMap(site, deviceCalibration, keepOutside != 0, out); },
      [&] { out.fillNotMade(); });
  return true;
}
