#include "BenchCameras.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace rectiline::bench {
namespace {

using namespace CamModel;

constexpr Lens kLenses[] = {
    {"linear", LINEAR, PeerModel::Pinhole, 320, {}},
    {"radial2", RADIAL_2_PARAMETERS, PeerModel::Pinhole, 458, {-0.2834, 0.0740}},
    {"radial2+tangential",
     RADIAL_2_PARAMETERS,
     PeerModel::Pinhole,
     458,
     {-0.2834, 0.0740},
     1.9e-4,
     -1.8e-4},
    {"radial3", RADIAL_3_PARAMETERS, PeerModel::Pinhole, 500, {-0.3691, 0.1968, -0.0568}},
    {"radial6", RADIAL_6_PARAMETERS, PeerModel::Pinhole, 430, {5.2, 3.4, 0.18, 5.55, 5.1, 0.96}},
    {"fisheye1", FISHEYE_1_PARAMETER, PeerModel::None, 300, {0.93}},
    {"fisheye4", FISHEYE_4_PARAMETERS, PeerModel::Fisheye, 380, {-0.01, 0.02, -0.01, 0.002}},
    {"chebyshev4", CHEBYSHEV_4_PARAMETERS, PeerModel::None, 380, {-0.02, 0.004, 0.001, 0}},
    {"spline3", FISHEYE_SPLINE_3, PeerModel::None, 380, {-0.01, -0.02, -0.03, -0.03, -0.05, -0.02}},
    {"fisheye_rational",
     FISHEYE_RATIONAL,
     PeerModel::None,
     330,
     {0.7, 0.02, 0.01, 0.03, 0.01, 0.005}},
};

constexpr Lens kWideFisheye = {"fisheye4_beyond_180",
                               FISHEYE_4_PARAMETERS,
                               PeerModel::Fisheye,
                               191,
                               {0.0035, 0.0007, -0.0021, 0.0002}};

const Lens& lensOf(DistortionModel model, bool tangential) {
  return *std::find_if(std::begin(kLenses), std::end(kLenses), [&](const Lens& lens) {
    return lens.model == model && (lens.p1 != 0) == tangential;
  });
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

std::span<const Lens> lenses() { return kLenses; }
const Lens& plainLens() { return lensOf(RADIAL_2_PARAMETERS, true); }
const Lens& fisheyeLens() { return lensOf(FISHEYE_4_PARAMETERS, false); }
const Lens& wideFisheyeLens() { return kWideFisheye; }

IntrinsicCameraCalibrationZEL intrinsicsOf(const Lens& lens, const Size& size) {
  const double scale = size.width / 640.0;
  IntrinsicCameraCalibrationZEL in{};
  in.width = size.width;
  in.height = size.height;
  in.principal_point_x = scale * 321.3;
  in.principal_point_y = scale * 238.6;
  in.focal_length_x = scale * lens.focal;
  in.focal_length_y = scale * lens.focal * 0.998;
  std::copy(lens.k.begin(), lens.k.end(), in.distortion);
  in.distortion[6] = lens.p1;
  in.distortion[7] = lens.p2;
  in.distortion_model = lens.model;
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
