#include "PairMaps.h"

#include <cmath>

#include "Error.h"
#include "Kel/kelRemapu8.h"
#include "VIO/StereoRectifyWrapper.h"

namespace rectiline::tool {

namespace {

std::string lastFailedCheck() {
  FailedCheck check{};
  GetFailedChecks(&check, 1);
  return std::string("the check \"") + check.expression + "\" of " + check.source + " failed";
}

}  // namespace

PairMaps::PairMaps(int width, int height)
    : leftX(width, height),
      leftY(width, height),
      rightX(width, height),
      rightY(width, height),
      leftReasons(width, height),
      rightReasons(width, height) {}

PairMaps createPairMaps(const DeviceCalibrationZEL& device) {
  const IntrinsicCameraCalibrationZEL& in = device.cameras[0].intrinsics;
  PairMaps maps(in.width, in.height);
  const auto n = static_cast<std::uint32_t>(maps.leftX.data.size());
  ResetFailedChecks();
  CreateRectifyMapWithReasons(&device, 0, maps.leftX.data.data(), n, maps.leftY.data.data(), n,
                              maps.rightX.data.data(), n, maps.rightY.data.data(), n,
                              &maps.depthConstant, &maps.camera, {maps.leftReasons.data.data(), n},
                              {maps.rightReasons.data.data(), n});
  maps.failedChecks = GetFailedCheckCount();
  if (maps.depthConstant < 0) throw Error("the pair cannot be rectified: " + lastFailedCheck());
  return maps;
}

bool isVertical(const DeviceCalibrationZEL& device) {
  const auto& t = device.cameras[1].pose.position;
  return std::fabs(t.x) < std::fabs(t.y);
}

MapReport reportOf(const Map& X, const Map& Y) {
  MapReport report{};
  const auto n = static_cast<std::uint32_t>(X.data.size());
  CreateMapReport(X.data.data(), n, Y.data.data(), n, static_cast<std::uint32_t>(X.width),
                  static_cast<std::uint32_t>(X.height), &report);
  return report;
}

GreyImage remap(const GreyImage& source, const Map& X, const Map& Y) {
  GreyImage target(X.width, X.height);
  constexpr int kBilinear = 1;
  const int status =
      kelRemapu8(source.data.data(), source.width, source.height, source.width, target.data.data(),
                 target.width, target.height, target.width, X.data.data(), Y.data.data(),
                 X.width * static_cast<int>(sizeof(float)), kBilinear);
  if (status != 0) throw Error("the image cannot be remapped (" + std::to_string(status) + ")");
  return target;
}

GreyImage readImage(const std::string& file, const CameraCalibrationZEL& camera) {
  GreyImage image = readGrey(file);
  const int width = camera.intrinsics.width;
  const int height = camera.intrinsics.height;
  if (image.width != width || image.height != height) {
    throw Error(file + ": is " + std::to_string(image.width) + "x" + std::to_string(image.height) +
                ", camera " + camera.name + " has " + std::to_string(width) + "x" +
                std::to_string(height));
  }
  return image;
}

}  // namespace rectiline::tool
