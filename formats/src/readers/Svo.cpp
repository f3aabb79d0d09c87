// SVO's rig files: a list of cameras, each with its pose in the body.

#include "readers/Readers.h"

namespace rectiline::formats {

bool recognisesSvo(const SourceFile& file) {
  const Value* const cameras = file.tree.find("cameras");
  return file.syntax == Syntax::Yaml && cameras != nullptr && !cameras->items.empty() &&
         cameras->items.front().find("camera") != nullptr;
}

Cameras readSvo(const Files& files, ReadContext&) {
  const Field list = onlyFile(files).root()["cameras"];
  Cameras cameras;
  for (std::size_t i = 0; i < list.size(); ++i) {
    const Field unnamed = list.at(i)["camera"];
    const std::optional<Field> label = unnamed.find("label");
    const std::string name = label ? label->text() : "cam" + std::to_string(i);
    const Field field = unnamed.of(name);
    const Field type = field["type"];
    if (type.text() != "pinhole") type.refuse("pinhole");
    SourceCamera camera = namedCamera(field, name);
    const Field word = field["distortion"]["type"];
    const LensRow& row =
        setLens(camera, Format::Svo, word, word.text(), field["distortion"]["parameters"]);
    readParameters(camera.lens, row.intrinsics, field["intrinsics"]);
    camera.size = PixelSize{field["image_width"].integer(), field["image_height"].integer()};
    camera.T_camera_reference =
        readTransform(list.at(i).of(name)["T_B_C"], directionOf(Format::Svo, "T_B_C"));
    cameras.push_back(std::move(camera));
  }
  return cameras;
}

}  // namespace rectiline::formats
