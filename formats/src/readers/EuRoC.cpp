// EuRoC / ASL sensor.yaml: a file per camera, which are called cam0, cam1, ... in their order.

#include "readers/Readers.h"

namespace rectiline::formats {

bool recognisesEuRoC(const SourceFile& file) {
  return file.syntax == Syntax::Yaml && file.tree.find("T_BS") != nullptr &&
         file.tree.find("intrinsics") != nullptr;
}

Cameras readEuRoC(const Files& files, ReadContext&) {
  Cameras cameras;
  for (const SourceFile& file : files) {
    const std::string name = "cam" + std::to_string(cameras.size());
    const Field root = file.root().of(name);
    const std::optional<Field> model = root.find("camera_model");
    if (model && model->text() != "pinhole") model->refuse("pinhole");
    SourceCamera camera = namedCamera(root, name);
    const Field word = root["distortion_model"];
    const LensRow& row =
        setLens(camera, Format::EuRoC, word, word.text(), root["distortion_coefficients"]);
    readParameters(camera.lens, row.intrinsics, root["intrinsics"]);
    camera.size = root["resolution"].pixelSize();
    camera.T_camera_reference = readTransform(root["T_BS"], directionOf(Format::EuRoC, "T_BS"));
    cameras.push_back(std::move(camera));
  }
  return cameras;
}

}  // namespace rectiline::formats
