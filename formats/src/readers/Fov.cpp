// Monocular files of PTAM and of programs after it: one line of intrinsics and one of the size, or
// YAML with Cam_fx or cam_fx. What they say about undistorted images is theirs.

#include <cmath>

#include "readers/Readers.h"

namespace rectiline::formats {
namespace {

/// Small values are shares of the image size, others pixels with the first centre at 0.
void setScale(SourceCamera& camera) {
  constexpr double kMostShare = 2;
  const Conventions& conventions = conventionsOf(Format::Fov);
  for (const double value : {camera.lens.fx, camera.lens.fy, camera.lens.cx, camera.lens.cy}) {
    if (!(std::fabs(value) < kMostShare)) return;
  }
  camera.isNormalised = conventions.isNormalised;
  camera.pixelOrigin = conventions.pixelOrigin;
}

SourceCamera readLines(const Field& root) {
  const Field first = root.at(0);
  SourceCamera camera = namedCamera(root, root.place().camera);
  const bool hasWord = !numberFromText(first.at(0).text());
  const std::string implied =
      first.size() == 8 ? "RadTan" : (first.size() == 4 ? "Pinhole" : "FOV");
  setLens(camera, Format::Fov, first.at(0), hasWord ? first.at(0).text() : implied, first,
          first.numbersFrom(hasWord ? 1 : 0));
  if (root.size() > 1) camera.size = root.at(1).pixelSize();
  return camera;
}

/// PTAM writes Cam_fx, others cam_fx; the lens is Cam_s or cam_d0.
SourceCamera readYaml(const Field& root) {
  const std::optional<Field> model = root.find("cam_model");
  const bool isArctangent = !model || model->text() == "PinholeAtan" || model->text() == "ATAN";
  if (!isArctangent) model->refuse("PinholeAtan or ATAN");
  SourceCamera camera = namedCamera(root, root.place().camera);
  camera.word = "FOV";
  camera.model = lensRows(Format::Fov, "FOV").front()->model;
  const auto number = [&root](const std::string& name) {
    return root.any({"cam_" + name, "Cam_" + name});
  };
  camera.lens.fx = number("fx").number();
  camera.lens.fy = number("fy").number();
  camera.lens.cx = number("cx").number();
  camera.lens.cy = number("cy").number();
  camera.lens.omega = root.any({"cam_d0", "Cam_s"}).number();
  const bool hasSize = root.has("cam_width") || root.has("ImageSizeX");
  if (hasSize) {
    camera.size = PixelSize{root.any({"cam_width", "ImageSizeX"}).integer(),
                            root.any({"cam_height", "ImageSizeY"}).integer()};
  }
  return camera;
}

/// The map with the intrinsics: the root, or its only camera.
Field intrinsicsOf(const SourceFile& file) {
  const Field root = file.root();
  return root.has("cam0") ? root["cam0"] : root;
}

}  // namespace

bool recognisesFov(const SourceFile& file) {
  if (file.syntax == Syntax::Yaml) {
    return intrinsicsOf(file).findAny({"cam_fx", "Cam_fx"}).has_value();
  }
  if (file.syntax != Syntax::Lines || file.tree.items.empty()) return false;
  const Field first = file.root().at(0);
  const bool hasWord = !lensRows(Format::Fov, first.at(0).text()).empty();
  std::size_t numbers = 0;
  for (std::size_t i = 0; i < first.size(); ++i) {
    numbers += numberFromText(first.at(i).text()) ? 1 : 0;
  }
  return numbers + (hasWord ? 1 : 0) == first.size();
}

Cameras readFov(const Files& files, ReadContext&) {
  Cameras cameras;
  for (const SourceFile& file : files) {
    const std::string name = "cam" + std::to_string(cameras.size());
    const bool isYaml = file.syntax == Syntax::Yaml;
    cameras.push_back(isYaml ? readYaml(intrinsicsOf(file).of(name))
                             : readLines(file.root().of(name)));
    setScale(cameras.back());
  }
  return cameras;
}

}  // namespace rectiline::formats
