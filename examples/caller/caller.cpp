// The smallest caller: fills a device record by hand, asks for rectification maps, and looks up
// where the centre of the rectified left image comes from.

#include <VIO/StereoRectifyWrapper.h>

#include <cstdio>
#include <vector>

int main() {
  DeviceCalibrationZEL device{};
  device.num_cameras = 2;
  for (int i = 0; i < 2; ++i) {
    CameraCalibrationZEL& camera = device.cameras[i];
    camera.intrinsics.width = 640;
    camera.intrinsics.height = 480;
    camera.intrinsics.principal_point_x = 320;
    camera.intrinsics.principal_point_y = 240;
    camera.intrinsics.focal_length_x = 450;
    camera.intrinsics.focal_length_y = 450;
    camera.intrinsics.distortion_model = 1;  // RADIAL_2_PARAMETERS
    camera.intrinsics.distortion[0] = -0.28;
    camera.intrinsics.distortion[1] = 0.07;
    camera.pose.orientation.w = 1;
  }
  device.cameras[1].pose.position.x = -0.064;  // the right camera, 64 mm to the right

  const std::uint32_t n = 640 * 480;
  std::vector<float> leftX(n), leftY(n), rightX(n), rightY(n);
  float depthConstant = 0;
  CameraCalibrationZEL rectified;
  CreateRectifyMap(&device, 0, leftX.data(), n, leftY.data(), n, rightX.data(), n, rightY.data(), n,
                   &depthConstant, &rectified);

  const std::size_t centre = 240 * 640 + 320;
  std::printf("rectified focal length %.2f px, depth = %.4f / disparity\n",
              rectified.intrinsics.focal_length_x, depthConstant);
  std::printf("rectified (320, 240) comes from (%.3f, %.3f)\n", leftX[centre], leftY[centre]);
  return depthConstant > 0 ? 0 : 1;
}
