// KITTI's calib_cam_to_cam.txt of raw data: for each camera nn its S_nn, K_nn, D_nn, R_nn, T_nn.

#include "readers/Readers.h"

namespace rectiline::formats {

bool recognisesKitti(const SourceFile& file) {
  return file.syntax == Syntax::Yaml && file.tree.find("K_00") != nullptr &&
         file.tree.find("D_00") != nullptr;
}

Cameras readKitti(const Files& files, ReadContext& context) {
  const Field root = onlyFile(files).root();
  context.notes.emplace_back(
      "This calibrates the raw images (S_00 and so on), not those that KITTI has rectified.");
  Cameras cameras;
  for (std::string name = "00"; root.has("K_" + name);
       name = "0" + std::to_string(cameras.size())) {
    const Field field = root.of(name);
    const auto at = [&](const char* key) { return field[key + ("_" + name)]; };
    SourceCamera camera = namedCamera(field, name);
    setLens(camera, Format::Kitti, at("D"), "pinhole", at("D"));
    readCameraMatrix(camera.lens, at("K"));
    camera.size = at("S").pixelSize();
    camera.T_camera_reference =
        poseFrom({readRotation(at("R")), readVector(at("T"))}, directionOf(Format::Kitti, "R, T"));
    cameras.push_back(std::move(camera));
  }
  return cameras;
}

}  // namespace rectiline::formats
