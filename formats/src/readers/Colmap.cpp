// COLMAP's cameras.txt, whose cameras are called by their numbers, and rigs.txt with their poses.

#include <algorithm>

#include "readers/Readers.h"

namespace rectiline::formats {
namespace {

/// rigs.txt names a sensor's kind where cameras.txt has the width.
bool isRigLine(const Field& line) {
  return line.size() > 2 && (line.at(2).text() == "CAMERA" || line.at(2).text() == "IMU");
}

bool isCameraLine(const Field& line) {
  return line.size() > 4 && !lensRows(Format::Colmap, line.at(1).text()).empty();
}

SourceCamera readCamera(const Field& unnamed) {
  if (unnamed.size() < 5) unnamed.refuse("CAMERA_ID MODEL WIDTH HEIGHT PARAMS", "fewer words");
  const std::string name = unnamed.at(0).text();
  const Field line = unnamed.of(name);
  SourceCamera camera = namedCamera(line, name);
  camera.pixelOrigin = conventionsOf(Format::Colmap).pixelOrigin;
  camera.size = PixelSize{line.at(2).integer(), line.at(3).integer()};
  setLens(camera, Format::Colmap, line.at(1), line.at(1).text(), line, line.numbersFrom(4));
  return camera;
}

/// Sensors of a line after its reference: TYPE ID HAS_POSE, and where that is 1 QW QX QY QZ TX TY
/// TZ.
void readRig(const Field& line, Cameras& cameras) {
  const auto cameraOf = [&](std::size_t at) -> SourceCamera* {
    const std::string name = line.at(at + 1).text();
    const auto found = std::find_if(cameras.begin(), cameras.end(), [&name](const SourceCamera& c) {
      return c.place.camera == name;
    });
    return line.at(at).text() == "CAMERA" && found != cameras.end() ? &*found : nullptr;
  };
  const auto require = [&line](std::size_t size) {
    if (line.size() < size) line.refuse("TYPE ID HAS_POSE and seven numbers", "fewer words");
  };
  require(4);
  if (SourceCamera* const reference = cameraOf(2)) reference->T_camera_reference = Pose{};
  for (std::size_t at = 4; at < line.size();) {
    require(at + 3);
    const bool hasPose = line.at(at + 2).integer() == 1;
    if (hasPose) require(at + 10);
    SourceCamera* const camera = cameraOf(at);
    if (hasPose && camera != nullptr) {
      const auto number = [&](std::size_t i) { return line.at(at + 3 + i).number(); };
      const QuaternionZEL q{number(1), number(2), number(3), number(0)};  // w x y z
      requireUnitLength(q, line);
      camera->T_camera_reference =
          poseFrom({rotationFromQuaternion(q), {number(4), number(5), number(6)}},
                   directionOf(Format::Colmap, "sensor_from_rig"));
    }
    at += hasPose ? 10 : 3;
  }
}

}  // namespace

bool recognisesColmap(const SourceFile& file) {
  if (file.syntax != Syntax::Lines || file.tree.items.empty()) return false;
  const Field first = file.root().at(0);
  return isRigLine(first) || isCameraLine(first);
}

Cameras readColmap(const Files& files, ReadContext& context) {
  Cameras cameras;
  std::vector<Field> rigs;
  for (const SourceFile& file : files) {
    for (std::size_t i = 0; i < file.tree.items.size(); ++i) {
      const Field line = file.root().at(i);
      if (isRigLine(line)) {
        rigs.push_back(line);
      } else {
        cameras.push_back(readCamera(line));
      }
    }
  }
  if (cameras.empty()) {
    files.front().root().refuse("cameras.txt beside rigs.txt", "no camera");
  }
  // Cameras of different rigs have no pose between them: those of the largest one get theirs.
  const auto largest = std::max_element(
      rigs.begin(), rigs.end(), [](const Field& a, const Field& b) { return a.size() < b.size(); });
  if (largest != rigs.end()) readRig(*largest, cameras);
  if (rigs.size() > 1) {
    context.notes.emplace_back("Poses were taken from the rig of rigs.txt with the most sensors.");
  }
  return cameras;
}

}  // namespace rectiline::formats
