// ORB-SLAM3 settings: Camera1, Camera2 and the transform between them; the older Camera alone; and
// the older pair LEFT, RIGHT with what rectifies it.

#include "readers/Readers.h"
#include "readers/RectifiedPose.h"

namespace rectiline::formats {
namespace {

std::string typeOf(const Field& root) {
  const std::optional<Field> type = root.find("Camera.type");
  return type ? type->text() : "PinHole";
}

SourceCamera readCamera(const Field& root, const std::string& prefix, const std::string& name) {
  const Field field = root.of(name);
  SourceCamera camera = namedCamera(field, name);
  const Field word = field.find("Camera.type").value_or(field);
  setNamedLens(camera, Format::OrbSlam, word, typeOf(root), field, prefix);
  const bool hasSize = root.has("Camera.width") && root.has("Camera.height");
  if (hasSize) {
    camera.size = PixelSize{field["Camera.width"].integer(), field["Camera.height"].integer()};
  }
  return camera;
}

SourceCamera readRectifiedCamera(const Field& root, const std::string& side,
                                 const std::string& name) {
  const Field field = root.of(name);
  SourceCamera camera = namedCamera(field, name);
  const Field coefficients = field[side + ".D"];
  setLens(camera, Format::OrbSlam, coefficients, "PinHole", coefficients);
  readCameraMatrix(camera.lens, field[side + ".K"]);
  camera.size = PixelSize{field[side + ".width"].integer(), field[side + ".height"].integer()};
  camera.T_camera_reference = readRectifiedPose(field[side + ".R"], field[side + ".P"]);
  return camera;
}

Cameras readUnrectifiedPair(const Field& root, ReadContext& context) {
  context.notes.emplace_back(
      "The cameras are LEFT and RIGHT, with the pose from what rectifies them; Camera.* describes "
      "the rectified images and was ignored.");
  return {readRectifiedCamera(root, "LEFT", "left"), readRectifiedCamera(root, "RIGHT", "right")};
}

/// Images that are rectified already: two equal cameras.
Cameras readRectifiedPair(const Field& root, const std::string& prefix) {
  const std::optional<Field> bf = root.find("Camera.bf");
  SourceCamera left = readCamera(root, prefix, "left");
  SourceCamera right = left;
  right.place.camera = "right";
  const double baseline = bf ? bf->number() / left.lens.fx : root["Stereo.b"].number();
  left.T_camera_reference = Pose{};
  right.T_camera_reference = Pose{Pose{}.R, {-baseline, 0, 0}};
  return {left, right};
}

Pose readSecondPose(const Field& root) {
  const char* const key = root.has("Tlr") ? "Tlr" : "Stereo.T_c1_c2";
  return readTransform(root.of("Camera2")[key], directionOf(Format::OrbSlam, key));
}

}  // namespace

bool recognisesOrbSlam(const SourceFile& file) {
  return file.syntax == Syntax::Yaml &&
         (file.tree.find("Camera.fx") != nullptr || file.tree.find("Camera1.fx") != nullptr);
}

Cameras readOrbSlam(const Files& files, ReadContext& context) {
  const Field root = onlyFile(files).root();
  const std::string first = root.has("Camera1.fx") ? "Camera1" : "Camera";
  if (root.has("LEFT.K")) return readUnrectifiedPair(root, context);
  if (typeOf(root) == "Rectified") return readRectifiedPair(root, first + ".");
  Cameras cameras{readCamera(root, first + ".", first)};
  cameras[0].T_camera_reference = Pose{};
  if (root.has("Camera2.fx")) {
    cameras.push_back(readCamera(root, "Camera2.", "Camera2"));
    cameras[1].T_camera_reference = readSecondPose(root);
  } else if (root.has("Camera.bf")) {
    context.notes.emplace_back(
        "Camera.bf is of images that are rectified already and was ignored: this is one camera.");
  }
  return cameras;
}

}  // namespace rectiline::formats
