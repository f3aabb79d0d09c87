#include "Undistort.h"

#include <cstdio>
#include <filesystem>

#include "Error.h"
#include "LibraryLog.h"
#include "PairMaps.h"
#include "Rig.h"
#include "VIO/StereoRectifyWrapper.h"

namespace rectiline::tool {
namespace {

/// The pinhole version of a device.
DeviceCalibrationZEL linearDevice(const DeviceCalibrationZEL& device, bool largest) {
  const LibraryLog log;
  DeviceCalibrationZEL linear{};
  const CalibrationTransform asItIs{};
  if (largest) {
    LargestLinearCalibration(&device, asItIs, &linear);
  } else {
    SameFocalLengthLinearCalibration(&device, asItIs, &linear);
  }
  if (linear.num_cameras == 0) {
    throw Error("no linear calibration can be made: " + log.firstError());
  }
  return linear;
}

/// The maps of several cameras as the library wants them.
struct MapSet {
  explicit MapSet(const DeviceCalibrationZEL& target, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      const IntrinsicCameraCalibrationZEL& in = target.cameras[i].intrinsics;
      X.emplace_back(in.width, in.height);
      Y.emplace_back(in.width, in.height);
    }
    for (std::size_t i = 0; i < count; ++i) {
      const auto width = static_cast<std::uint32_t>(X[i].width);
      const auto height = static_cast<std::uint32_t>(X[i].height);
      maps.push_back({X[i].data.data(), width, height, Y[i].data.data(), width, height});
    }
  }

  std::vector<Map> X;
  std::vector<Map> Y;
  std::vector<UndistortionMap> maps;
};

MapSet createMaps(const DeviceCalibrationZEL& source, const DeviceCalibrationZEL& target,
                  std::size_t count) {
  MapSet set(target, count);
  const AR::CV::CalibrationInfo info(AR::CV::CalibrationInfo::API, 0);
  AR::CV::FullStereoCameraCalibration<float> sourceRig(info);
  AR::CV::FullStereoCameraCalibration<float> targetRig(info);
  if (copySourceAndTargetCalibration(source, target, sourceRig, targetRig) != 0) {
    throw Error("the calibration cannot be used");
  }
  CalibrationMapConfig config{};
  config.numCameras = static_cast<std::uint8_t>(count);
  CreateUndistortMap(sourceRig, targetRig, config, set.maps.data());
  return set;
}

void saveLinearRig(const std::string& file, const DeviceCalibrationZEL& linear) {
  Rig rig(AR::CV::CalibrationInfo(AR::CV::CalibrationInfo::UNKNOWN, 0));
  rig.setFromIdl({linear.cameras, static_cast<std::size_t>(linear.num_cameras)}, rig.getInfo());
  if (!rig.saveCalibration(file)) throw Error(file + ": cannot be written");
}

}  // namespace

void undistort(const UndistortOptions& options) {
  const DeviceCalibrationZEL device = deviceRecord(loadRig(options.rigFile, 1));
  const std::size_t count = options.imageFiles.size();
  if (count > static_cast<std::size_t>(device.num_cameras)) {
    throw Error(options.rigFile + ": has " + std::to_string(device.num_cameras) + " cameras, " +
                std::to_string(count) + " images were given");
  }
  const DeviceCalibrationZEL linear = linearDevice(device, options.largest);
  const MapSet set = createMaps(device, linear, count);
  std::error_code ignored;
  std::filesystem::create_directories(options.directory, ignored);
  for (std::size_t i = 0; i < count; ++i) {
    const CameraCalibrationZEL& camera = device.cameras[i];
    const GreyImage raw = readImage(options.imageFiles[i], camera);
    writeGrey(options.directory + "/" + camera.name + ".png", remap(raw, set.X[i], set.Y[i]));
    std::printf("%s: focal length %.3f px, %.1f %% of the pixels have a source\n", camera.name,
                linear.cameras[i].intrinsics.focal_length_x,
                100 * reportOf(set.X[i], set.Y[i]).shareWithSource);
  }
  saveLinearRig(options.directory + "/linear.rig.xml", linear);
}

}  // namespace rectiline::tool
