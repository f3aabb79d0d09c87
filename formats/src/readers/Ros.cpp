// ROS camera_info: a file per camera, as the camera calibrator writes it or as a printed message.
// The pose of a pair is in what rectifies it.

#include "readers/Readers.h"
#include "readers/RectifiedPose.h"

namespace rectiline::formats {
namespace {

// In a file, and in a message.
const std::vector<std::string> kCameraMatrix{"camera_matrix", "K", "k"};
const std::vector<std::string> kCoefficients{"distortion_coefficients", "D", "d"};
const std::vector<std::string> kRectification{"rectification_matrix", "R", "r"};
const std::vector<std::string> kProjection{"projection_matrix", "P", "p"};
const std::vector<std::string> kWidth{"image_width", "width"};
const std::vector<std::string> kHeight{"image_height", "height"};

/// What a message says of the images that it goes with, where they are not the calibrated ones.
void refuseBinning(const Field& root) {
  for (const char* const key : {"binning_x", "binning_y"}) {
    const std::optional<Field> binning = root.find(key);
    if (binning && binning->number() > 1) binning->refuse("0 or 1, an image that is not binned");
  }
  const std::optional<Field> roi = root.find("roi");
  for (const char* const key : {"x_offset", "y_offset"}) {
    const std::optional<Field> offset = roi ? roi->find(key) : std::nullopt;
    if (offset && offset->number() != 0) offset->refuse("0, an image that is not cut");
  }
}

std::string nameOf(const Field& root, std::size_t index, std::size_t count) {
  const std::optional<Field> name = root.find("camera_name");
  if (name) return name->text();
  return count == 2 ? (index == 0 ? "left" : "right") : "camera" + std::to_string(index);
}

std::optional<Pose> findPose(const Field& root) {
  const std::optional<Field> R = root.findAny(kRectification);
  const std::optional<Field> P = root.findAny(kProjection);
  if (!R || !P) return std::nullopt;
  return readRectifiedPose(*R, *P);
}

SourceCamera readCamera(const Field& root) {
  refuseBinning(root);
  SourceCamera camera = namedCamera(root, root.place().camera);
  const Field word = root["distortion_model"];
  setLens(camera, Format::Ros, word, word.text(), root.any(kCoefficients));
  readCameraMatrix(camera.lens, root.any(kCameraMatrix));
  camera.size = PixelSize{root.any(kWidth).integer(), root.any(kHeight).integer()};
  camera.T_camera_reference = findPose(root);
  return camera;
}

}  // namespace

bool recognisesRos(const SourceFile& file) {
  const auto hasAny = [&file](const std::vector<std::string>& keys) {
    return file.root().findAny(keys).has_value();
  };
  const bool hasMore = file.tree.find("distortion_model") != nullptr || hasAny(kProjection);
  return file.syntax == Syntax::Yaml && hasAny(kCameraMatrix) && hasMore;
}

Cameras readRos(const Files& files, ReadContext& context) {
  Cameras cameras;
  bool isStereo = false;
  for (const SourceFile& file : files) {
    const Field root = file.root();
    cameras.push_back(readCamera(root.of(nameOf(root, cameras.size(), files.size()))));
    const std::optional<Pose>& T = cameras.back().T_camera_reference;
    isStereo = isStereo || (T && !isAlone(*T));
  }
  if (isStereo) {
    context.notes.push_back(
        "The pose of the pair is taken from rectification_matrix and projection_matrix, to their "
        "digits.");
  } else {
    for (SourceCamera& camera : cameras) camera.T_camera_reference.reset();
  }
  return cameras;
}

}  // namespace rectiline::formats
