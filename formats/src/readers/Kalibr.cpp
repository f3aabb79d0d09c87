// Kalibr's camchain.yaml: a map cam0, cam1, ...; and its variant with T_imu_cam. Several files are
// cameras that were calibrated one by one against the same inertial unit.

#include <algorithm>

#include "readers/Readers.h"

namespace rectiline::formats {
namespace {

std::string modelWord(const Field& camera) {
  const std::optional<Field> distortion = camera.find("distortion_model");
  return camera["camera_model"].text() + "-" + (distortion ? distortion->text() : "none");
}

/// T_camera_imu, when the file has it in one of its forms.
std::optional<Pose> findPoseFromImu(const Field& camera) {
  for (const char* const key : {"T_cam_imu", "T_imu_cam"}) {
    const std::optional<Field> T = camera.find(key);
    if (T) return readTransform(*T, directionOf(Format::Kalibr, key));
  }
  return std::nullopt;
}

/// The pose of a camera that is not the first.
Pose readPose(const Field& camera, const Pose& T_previous_ref, bool isReferenceImu) {
  const std::optional<Field> T = camera.find("T_cn_cnm1");
  if (T) return readTransform(*T, directionOf(Format::Kalibr, "T_cn_cnm1")) * T_previous_ref;
  const std::optional<Pose> T_camera_imu = findPoseFromImu(camera);
  if (!isReferenceImu || !T_camera_imu) {
    camera.refuse("T_cn_cnm1, or T_cam_imu of this and the first camera", "neither");
  }
  return *T_camera_imu;
}

SourceCamera readCamera(const Field& field) {
  static const Value kNoCoefficients{Value::Kind::List, "", {}, {}};
  SourceCamera camera = namedCamera(field, field.place().camera);
  const Field coefficients = field.find("distortion_coeffs")
                                 .value_or(Field(kNoCoefficients, field["camera_model"].place()));
  const Field word = field.find("distortion_model").value_or(field["camera_model"]);
  const LensRow& row = setLens(camera, Format::Kalibr, word, modelWord(field), coefficients);
  readParameters(camera.lens, row.intrinsics, field["intrinsics"]);
  const std::optional<Field> size = field.find("resolution");
  if (size) camera.size = size->pixelSize();
  return camera;
}

/// The cameras of one file.
Cameras readChain(const Field& root) {
  Cameras cameras;
  bool isReferenceImu = false;
  for (std::string name = "cam0"; root.has(name); name = "cam" + std::to_string(cameras.size())) {
    const Field field = Field(*root.find(name)).of(name);
    SourceCamera camera = readCamera(field);
    if (cameras.empty()) {
      const std::optional<Pose> T_camera_imu = findPoseFromImu(field);
      isReferenceImu = T_camera_imu.has_value();
      camera.T_camera_reference = T_camera_imu.value_or(Pose{});
    } else {
      camera.T_camera_reference =
          readPose(field, *cameras.back().T_camera_reference, isReferenceImu);
    }
    cameras.push_back(std::move(camera));
  }
  if (cameras.empty()) root.refuse("cam0", "no camera of that name");
  for (std::size_t i = 0; i < root.size(); ++i) {
    const std::string& key = root.keys()[i];
    const bool isCamera = root.at(i).has("camera_model");
    const auto isRead = [&key](const SourceCamera& camera) { return camera.place.camera == key; };
    if (isCamera && std::none_of(cameras.begin(), cameras.end(), isRead)) {
      root.refuse("cameras named cam0, cam1, ... without a gap", key);
    }
  }
  return cameras;
}

/// Cameras that were calibrated one by one have the inertial unit in common.
void requirePoseFromImu(const Field& camera) {
  if (findPoseFromImu(camera)) return;
  camera.refuse("T_cam_imu: several files have the inertial unit in common, and nothing else",
                "none");
}

}  // namespace

bool recognisesKalibr(const SourceFile& file) {
  const Value* const camera = file.tree.find("cam0");
  return file.syntax == Syntax::Yaml && camera != nullptr &&
         (camera->find("camera_model") != nullptr || camera->find("intrinsics") != nullptr);
}

Cameras readKalibr(const Files& files, ReadContext&) {
  if (files.size() == 1) return readChain(files.front().root());
  Cameras cameras;
  for (const SourceFile& file : files) {
    requirePoseFromImu(file.root()["cam0"].of("cam0"));
    for (SourceCamera& camera : readChain(file.root())) {
      camera.place.camera = "cam" + std::to_string(cameras.size());
      cameras.push_back(std::move(camera));
    }
  }
  return cameras;
}

}  // namespace rectiline::formats
