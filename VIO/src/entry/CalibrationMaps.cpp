// Maps between the cameras of two rigs, both ways, and vignetting gains.

#include "AR/Common/ExceptionBarrier.h"
#include "AR/Common/Macros.h"
#include "VIO/StereoRectify.h"
#include "VIO/StereoRectifyWrapper.h"
#include "entry/CallerMaps.h"
#include "entry/Status.h"

namespace {

using AR::Common::CallSite;
using AR::CV::CalibrationInfo;
using AR::CV::Camera;
using AR::CV::FullCamera;
using AR::Math::SO3;
using AR::Math::Vec;
using ImageF = AR::CV::Image<float>;
using Rig = AR::CV::FullStereoCameraCalibration<float>;
using VIO::kWrapperSource;

bool isOfSize(std::uint32_t width, std::uint32_t height, const Vec<int, 2>& size) {
  return width == static_cast<std::uint32_t>(size(0)) &&
         height == static_cast<std::uint32_t>(size(1));
}

/// A map as an array of its own size; nothing is written where that cannot be addressed.
VIO::CallerMap callerMap(float* data, std::uint32_t width, std::uint32_t height) {
  const std::uint64_t count = static_cast<std::uint64_t>(width) * height;
  const bool addressable = count <= UINT32_MAX && count <= SIZE_MAX / sizeof(float);
  return {addressable ? data : nullptr, addressable ? static_cast<std::uint32_t>(count) : 0};
}

VIO::CallerMapPair callerPair(const UndistortionMap& map) {
  return {callerMap(map.X, map.X_width, map.X_height), callerMap(map.Y, map.Y_width, map.Y_height)};
}

SO3<float> rotationOf(const CalibrationMapConfig& config, std::size_t i) {
  if (config.rotations == nullptr) return SO3<float>();
  const float* const w = config.rotations + 3 * i;
  return SO3<float>::exp(Vec<float, 3>(w[0], w[1], w[2]));
}

/// The intrinsics of camera i, or null after a report.
const Camera<float>* intrinsicsOf(const CallSite& site, const Rig& rig, std::size_t i) {
  const FullCamera<float>& camera = rig[i];
  if (i >= rig.size()) return nullptr;  // reported by the lookup
  const bool ok = AR_CHECK_AT(site, camera.isInitialized(), "isInitialized()", kWrapperSource);
  return ok ? &camera.getIntrinsics() : nullptr;
}

void createOneMap(const CallSite& site, const Rig& source, const Rig& target,
                  const CalibrationMapConfig& config, std::size_t cameraIdx, UndistortionMap map) {
  const bool x =
      AR_CHECK_AT(site, map.X != nullptr, "undistortionMap[cameraIdx].X", kWrapperSource);
  const bool y =
      AR_CHECK_AT(site, map.Y != nullptr, "undistortionMap[cameraIdx].Y", kWrapperSource);
  const VIO::CallerMapPair maps = callerPair(map);
  const Camera<float>* const from = intrinsicsOf(site, source, cameraIdx);
  const Camera<float>* const to = intrinsicsOf(site, target, cameraIdx);
  if (!x || !y || from == nullptr || to == nullptr) {
    maps.fillNotMade();
    return;
  }
  const Vec<int, 2> size = VIO::pixelSize(*to);
  const bool fits = AR_CHECK_AT(
      site, isOfSize(map.X_width, map.X_height, size) && isOfSize(map.Y_width, map.Y_height, size),
      "undistortionMap[cameraIdx] size == target camera size", kWrapperSource);
  if (!fits) {
    maps.fillNotMade();
    return;
  }
  maps.make(size, [&](auto& mapXY) {
    VIO::setupUndistortMap(*from, *to, config.keepOutside != 0, rotationOf(config, cameraIdx),
                           mapXY);
  });
}

void createMaps(const CallSite& site, const Rig& source, const Rig& target,
                const CalibrationMapConfig& config, UndistortionMap* undistortionMap) {
  if (!AR_CHECK_AT(site, undistortionMap, "undistortionMap", kWrapperSource)) return;
  try {
    for (std::size_t i = 0; i < config.numCameras; ++i) {
      createOneMap(site, source, target, config, i, undistortionMap[i]);
    }
  } catch (...) {
    for (std::size_t i = 0; i < config.numCameras; ++i) {
      callerPair(undistortionMap[i]).fillNotMade();
    }
    throw;
  }
}

/// Whether the forward maps of all cameras have the size of the target record's cameras.
bool haveTargetSizes(const DeviceCalibrationZEL& target, const CalibrationMapConfig& config,
                     const CalibrationMap& map) {
  for (std::size_t i = 0; i < config.numCameras; ++i) {
    const IntrinsicCameraCalibrationZEL& in = target.cameras[i].intrinsics;
    const UndistortionMap m = map.undistortion[i];
    const Vec<int, 2> size(in.width, in.height);
    if (!isOfSize(m.X_width, m.X_height, size) || !isOfSize(m.Y_width, m.Y_height, size)) {
      return false;
    }
  }
  return true;
}

void createOneVignettingMap(const CallSite& site, const Rig& source, const Rig& target,
                            std::size_t cameraIdx, VignettingMap map) {
  const bool there =
      AR_CHECK_AT(site, map.scaleFactors != nullptr,
                  "calibrationMap.vignettingMaps[cameraIdx].scaleFactors", kWrapperSource);
  const Camera<float>* const from = intrinsicsOf(site, source, cameraIdx);
  const Camera<float>* const to = intrinsicsOf(site, target, cameraIdx);
  if (!there || from == nullptr || to == nullptr) return;
  const Vec<int, 2> size = VIO::pixelSize(*from);
  if (!AR_CHECK_AT(site, isOfSize(map.width, map.height, size),
                   "calibrationMap.vignettingMaps[cameraIdx] size == source camera size",
                   kWrapperSource)) {
    return;
  }
  ImageF scale(map.scaleFactors, size, false);
  VIO::setupVignettingMap(*from, *to, scale);
}

void createVignettingMaps(const CallSite& site, const Rig& source, const Rig& target, bool enable,
                          const CalibrationMap& map) {
  if (!AR_CHECK_AT(site, map.vignettingMaps, "calibrationMap.vignettingMaps", kWrapperSource)) {
    return;
  }
  if (!enable) return;
  for (std::size_t i = 0; i < map.numCameras; ++i) {
    createOneVignettingMap(site, source, target, i, map.vignettingMaps[i]);
  }
}

int createCalibrationMap(const CallSite& site, const DeviceCalibrationZEL& source,
                         const DeviceCalibrationZEL& target, const CalibrationMapConfig& config,
                         const CalibrationMap& map) {
  const CalibrationInfo info(CalibrationInfo::API, 0);
  Rig sourceRig(info);
  Rig targetRig(info);
  const int converted = copySourceAndTargetCalibration(source, target, sourceRig, targetRig);
  if (converted != VIO::kSuccess) return converted;
  if (config.numCameras > targetRig.size()) return VIO::kSizeMismatch;
  if (config.numCameras > 0 &&
      !AR_CHECK_AT(site, map.undistortion, "undistortionMap", kWrapperSource)) {
    return VIO::kNullPointer;
  }
  if (!haveTargetSizes(target, config, map)) return VIO::kSizeMismatch;
  createMaps(site, sourceRig, targetRig, config, map.undistortion);
  createMaps(site, targetRig, sourceRig, config, map.inverse);
  createVignettingMaps(site, sourceRig, targetRig, config.vignetting, map);
  return VIO::kSuccess;
}

}  // namespace

// Each works with its own copies of what it is given, since the caller's may be written by another
// thread between check and use. A report names the signature, and clang would name the alias of a
// rig in it.

void CreateUndistortMap(const AR::CV::FullStereoCameraCalibration<float>& source,
                        const AR::CV::FullStereoCameraCalibration<float>& target,
                        const CalibrationMapConfig& config, UndistortionMap* maps) {
  const CallSite site = AR_HERE;
  AR::Common::withoutExceptions(
      site, kWrapperSource,
      [&] { createMaps(site, source, target, CalibrationMapConfig(config), maps); }, [] {});
}

void CreateVignettingMap(const AR::CV::FullStereoCameraCalibration<float>& source,
                         const AR::CV::FullStereoCameraCalibration<float>& target, bool enable,
                         CalibrationMap& map) {
  const CallSite site = AR_HERE;
  AR::Common::withoutExceptions(
      site, kWrapperSource,
      [&] { createVignettingMaps(site, source, target, enable, CalibrationMap(map)); }, [] {});
}

int CreateCalibrationMap(const DeviceCalibrationZEL& source, const DeviceCalibrationZEL& target,
                         const CalibrationMapConfig& config, CalibrationMap& map) {
  const CallSite site = AR_HERE;
  return AR::Common::withoutExceptions(
      site, kWrapperSource,
      [&] {
        return createCalibrationMap(site, DeviceCalibrationZEL(source),
                                    DeviceCalibrationZEL(target), CalibrationMapConfig(config),
                                    CalibrationMap(map));
      },
      [] { return VIO::kSizeMismatch; });
}
