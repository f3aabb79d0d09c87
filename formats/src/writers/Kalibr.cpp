#include "writers/Writers.h"

namespace rectiline::formats {
namespace {

std::string transformText(const Pose& pose) {
  const std::vector<double> m = homogeneous(pose);
  std::string text;
  for (auto row = m.begin(); row != m.end(); row += 4) {
    text += "  - [" + listed({row, row + 4}) + "]\n";
  }
  return text;
}

}  // namespace

WrittenFiles writeKalibr(const TargetCameras& cameras, std::vector<std::string>&) {
  std::string text;
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    const TargetCamera& camera = cameras[i];
    const LensRow& row = *camera.row;
    const std::string word = row.word;
    const std::size_t dash = word.find('-');
    text += "cam" + std::to_string(i) + ":\n";
    if (i > 0) {
      const Pose T_this_previous = camera.T_camera_first * inverse(cameras[i - 1].T_camera_first);
      text += "  T_cn_cnm1:\n" + transformText(T_this_previous);
    }
    text += "  camera_model: " + word.substr(0, dash) + "\n  intrinsics: [" +
            listed(parameters(camera.lens, row.intrinsics)) +
            "]\n  distortion_model: " + word.substr(dash + 1) + "\n  distortion_coeffs: [" +
            listed(parameters(camera.lens, row.coefficients)) + "]\n  resolution: [" +
            std::to_string(camera.size.width) + ", " + std::to_string(camera.size.height) + "]\n";
  }
  return {{"camchain.yaml", text}};
}

}  // namespace rectiline::formats
