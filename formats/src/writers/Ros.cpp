// ROS camera_info, a file per camera, with what rectifies the pair.

#include "Check.h"
#include "rectiline/rectiline.h"
#include "writers/Writers.h"

namespace rectiline::formats {
namespace {

std::string matrixText(const std::string& name, std::size_t rows,
                       const std::vector<double>& values) {
  return name + ":\n  rows: " + std::to_string(rows) +
         "\n  cols: " + std::to_string(values.size() / rows) + "\n  data: [" + listed(values) +
         "]\n";
}

WrittenFile cameraFile(const TargetCamera& camera, const std::string& name,
                       const std::vector<double>& R, const std::vector<double>& P) {
  return {name + ".yaml",
          "image_width: " + std::to_string(camera.size.width) + "\nimage_height: " +
              std::to_string(camera.size.height) + "\ncamera_name: " + quoted(camera.name) + "\n" +
              matrixText("camera_matrix", 3, cameraMatrix(camera.lens)) +
              "distortion_model: " + camera.row->word + "\n" +
              matrixText("distortion_coefficients", 1,
                         parameters(camera.lens, camera.row->coefficients)) +
              matrixText("rectification_matrix", 3, R) + matrixText("projection_matrix", 3, P)};
}

}  // namespace

WrittenFiles writeRos(const TargetCameras& cameras, std::vector<std::string>&) {
  if (cameras.size() == 1) {
    const LensParameters& lens = cameras[0].lens;
    return {cameraFile(cameras[0], "camera", asVector(Pose{}.R),
                       {lens.fx, 0, lens.cx, 0, 0, lens.fy, lens.cy, 0, 0, 0, 1, 0})};
  }
  const DeviceCalibrationZEL device = deviceOf(cameras);
  rectiline_rectification result{};
  result.struct_size = sizeof result;
  const int status = rectiline_rectify(&device, nullptr, nullptr, nullptr, &result);
  if (status != RECTILINE_OK) throwLibraryError({"", "", "rectification_matrix"});
  return {cameraFile(cameras[0], "left", asVector(result.R1), asVector(result.P1)),
          cameraFile(cameras[1], "right", asVector(result.R2), asVector(result.P2))};
}

}  // namespace rectiline::formats
