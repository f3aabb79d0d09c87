#include "BenchCameras.h"

#include <cmath>
#include <cstring>
#include <vector>

namespace rectiline::bench {
namespace {

/// OpenCV has the radial polynomials with tangential terms, and the four-parameter fisheye.
PeerModel peerOf(CamModel::DistortionModel model) {
  if (model <= CamModel::RADIAL_6_PARAMETERS) return PeerModel::Pinhole;
  return model == CamModel::FISHEYE_4_PARAMETERS ? PeerModel::Fisheye : PeerModel::None;
}

Lens benchLens(const testing::Lens& lens) { return {lens, peerOf(lens.model)}; }

/// The ordinary lens of each model.
std::vector<Lens> ordinaryLenses() {
  std::vector<Lens> lenses;
  for (const testing::Lens& lens : testing::kLenses) {
    if (std::strchr(lens.name, ' ') == nullptr) lenses.push_back(benchLens(lens));
  }
  return lenses;
}

Lens wideFisheye() {
  Lens lens = benchLens(testing::lensNamed("fisheye4 wide"));
  lens.name = "fisheye4_beyond_180";
  lens.p1 = lens.p2 = 0;  // OpenCV's fisheye has no tangential terms
  return lens;
}

/// A camera turned by `toeIn` radians about its y axis, `baseline` metres to the right.
CameraCalibrationZEL cameraOf(const Lens& lens, const Size& size, double toeIn, double baseline) {
  CameraCalibrationZEL camera{};
  camera.intrinsics = intrinsicsOf(lens, size);
  camera.pose.orientation = {0, std::sin(toeIn / 2), 0, std::cos(toeIn / 2)};
  camera.pose.position = {-baseline, 0, 0};
  return camera;
}

}  // namespace

std::string text(const Size& size) {
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

std::span<const Lens> lenses() {
  static const std::vector<Lens> kLenses = ordinaryLenses();
  return kLenses;
}

const Lens& plainLens() {
  static const Lens kLens = benchLens(testing::lensNamed("radial2+tangential"));
  return kLens;
}

const Lens& fisheyeLens() {
  static const Lens kLens = benchLens(testing::lensNamed("fisheye4"));
  return kLens;
}

const Lens& wideFisheyeLens() {
  static const Lens kLens = wideFisheye();
  return kLens;
}

IntrinsicCameraCalibrationZEL intrinsicsOf(const Lens& lens, const Size& size) {
  IntrinsicCameraCalibrationZEL in = testing::intrinsicsOf(lens);
  const double scale = size.width / 640.0;
  in.width = size.width;
  in.height = size.height;
  for (double* v :
       {&in.principal_point_x, &in.principal_point_y, &in.focal_length_x, &in.focal_length_y}) {
    *v *= scale;
  }
  return in;
}

DeviceCalibrationZEL pairOf(const Lens& lens, const Size& size) {
  constexpr double kToeIn = 0.02;
  constexpr double kBaseline = 0.064;
  DeviceCalibrationZEL device{};
  device.num_cameras = 2;
  device.cameras[0] = cameraOf(lens, size, 0, 0);
  device.cameras[1] = cameraOf(lens, size, kToeIn, kBaseline);
  return device;
}

}  // namespace rectiline::bench
