// OpenCV's FileStorage in YAML, by the names of its samples. A pair has its rectification beside
// its extrinsics, as stereoRectify's callers expect it.

#include "rectiline/rectiline.h"
#include "writers/Writers.h"

namespace rectiline::formats {
namespace {

std::string matrixText(const std::string& name, std::size_t rows,
                       const std::vector<double>& values) {
  return name + ": !!opencv-matrix\n   rows: " + std::to_string(rows) +
         "\n   cols: " + std::to_string(values.size() / rows) + "\n   dt: d\n   data: [ " +
         listed(values) + " ]\n";
}

bool isFisheye(const TargetCamera& camera) { return camera.row->word == std::string("fisheye"); }

std::string lensText(const TargetCamera& camera, const std::string& matrix,
                     const std::string& coefficients) {
  const std::vector<double> values = parameters(camera.lens, camera.row->coefficients);
  // A column of fisheye coefficients, a row of others.
  return matrixText(matrix, 3, cameraMatrix(camera.lens)) +
         matrixText(coefficients, isFisheye(camera) ? values.size() : 1, values);
}

/// R1 to Q; a pair that cannot be rectified has none.
std::string rectificationText(const TargetCameras& cameras, std::vector<std::string>& notes) {
  const DeviceCalibrationZEL device = deviceOf(cameras);
  rectiline_rectification result{};
  result.struct_size = sizeof result;
  const int status = rectiline_rectify(&device, nullptr, nullptr, nullptr, &result);
  if (status != RECTILINE_OK) {
    notes.emplace_back("The pair cannot be rectified, so R1, R2, P1, P2 and Q are left out.");
    return "";
  }
  return matrixText("R1", 3, asVector(result.R1)) + matrixText("R2", 3, asVector(result.R2)) +
         matrixText("P1", 3, asVector(result.P1)) + matrixText("P2", 3, asVector(result.P2)) +
         matrixText("Q", 4, asVector(result.Q));
}

}  // namespace

WrittenFiles writeOpenCv(const TargetCameras& cameras, std::vector<std::string>& notes) {
  const TargetCamera& first = cameras[0];
  std::string text = "%YAML:1.0\n---\nimage_width: " + std::to_string(first.size.width) +
                     "\nimage_height: " + std::to_string(first.size.height) +
                     "\nfisheye_model: " + (isFisheye(first) ? "1" : "0") + "\n";
  if (cameras.size() == 1) {
    text += lensText(first, "camera_matrix", "distortion_coefficients");
  } else {
    const Pose& pose = cameras[1].T_camera_first;
    text += lensText(first, "M1", "D1") + lensText(cameras[1], "M2", "D2") +
            matrixText("R", 3, asVector(pose.R)) + matrixText("T", 3, asVector(pose.t)) +
            rectificationText(cameras, notes);
  }
  return {{"calibration.yml", text}};
}

}  // namespace rectiline::formats
