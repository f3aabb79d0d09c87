// Basalt's calibration JSON: lists of poses, intrinsics and sizes, the numbers of each by name.

#include "readers/Readers.h"

namespace rectiline::formats {
namespace {

Pose readPose(const Field& field) {
  const auto at = [&field](const char* key) { return field[key].number(); };
  const QuaternionZEL q{at("qx"), at("qy"), at("qz"), at("qw")};
  requireUnitLength(q, field);
  return poseFrom({rotationFromQuaternion(q), {at("px"), at("py"), at("pz")}},
                  directionOf(Format::Basalt, "T_imu_cam"));
}

}  // namespace

bool recognisesBasalt(const SourceFile& file) {
  const Value* const value = file.tree.find("value0");
  return file.syntax == Syntax::Json && value != nullptr && value->find("T_imu_cam") != nullptr &&
         value->find("intrinsics") != nullptr;
}

Cameras readBasalt(const Files& files, ReadContext&) {
  const Field value = onlyFile(files).root()["value0"];
  const Field poses = value["T_imu_cam"];
  const Field lenses = value["intrinsics"];
  const Field sizes = value["resolution"];
  for (const Field& list : {poses, sizes}) {
    if (list.size() != lenses.size()) {
      list.refuse("as many as intrinsics, " + std::to_string(lenses.size()),
                  std::to_string(list.size()));
    }
  }
  Cameras cameras;
  for (std::size_t i = 0; i < lenses.size(); ++i) {
    const std::string name = "cam" + std::to_string(i);
    const Field lens = lenses.at(i).of(name);
    SourceCamera camera = namedCamera(lens, name);
    const Field type = lens["camera_type"];
    setNamedLens(camera, Format::Basalt, type, type.text(), lens["intrinsics"], "");
    camera.size = sizes.at(i).of(name).pixelSize();
    camera.T_camera_reference = readPose(poses.at(i).of(name));
    cameras.push_back(std::move(camera));
  }
  return cameras;
}

}  // namespace rectiline::formats
