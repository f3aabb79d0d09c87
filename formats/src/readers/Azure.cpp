// Factory JSON of Azure Kinect and Windows Mixed Reality devices.

#include "readers/Readers.h"

namespace rectiline::formats {
namespace {

/// "CALIBRATION_CameraLocationD0" is camera "D0".
std::string nameOf(const Field& camera, std::size_t index) {
  const std::optional<Field> location = camera.find("Location");
  if (!location) return "camera" + std::to_string(index);
  const std::string text = location->text();
  constexpr std::string_view kPrefix = "CALIBRATION_CameraLocation";
  return text.starts_with(kPrefix) ? text.substr(kPrefix.size()) : text;
}

SourceCamera readCamera(const Field& field) {
  SourceCamera camera = namedCamera(field, field.place().camera);
  const Field intrinsics = field["Intrinsics"];
  const Field word = intrinsics["ModelType"];
  setLens(camera, Format::Azure, word, word.text(), intrinsics["ModelParameters"]);
  camera.size = PixelSize{field["SensorWidth"].integer(), field["SensorHeight"].integer()};
  const Field Rt = field["Rt"];
  camera.T_camera_reference =
      poseFrom({readRotation(Rt["Rotation"]), readVector(Rt["Translation"])},
               directionOf(Format::Azure, "Rt"));
  const Conventions& conventions = conventionsOf(Format::Azure);
  camera.pixelOrigin = conventions.pixelOrigin;
  camera.isNormalised = conventions.isNormalised;
  return camera;
}

}  // namespace

bool recognisesAzure(const SourceFile& file) {
  return file.syntax == Syntax::Json && file.tree.find("CalibrationInformation") != nullptr;
}

Cameras readAzure(const Files& files, ReadContext&) {
  const Field list = onlyFile(files).root()["CalibrationInformation"]["Cameras"];
  Cameras cameras;
  for (std::size_t i = 0; i < list.size(); ++i) {
    cameras.push_back(readCamera(list.at(i).of(nameOf(list.at(i), i))));
  }
  return cameras;
}

}  // namespace rectiline::formats
