#include <nlohmann/json.hpp>

#include "writers/Writers.h"

namespace rectiline::formats {
namespace {

using Json = nlohmann::ordered_json;

Json poseJson(const Pose& T_imu_cam) {
  const auto [q, p] = toRecord(T_imu_cam);
  return {{"px", p.x}, {"py", p.y}, {"pz", p.z}, {"qx", q.x},
          {"qy", q.y}, {"qz", q.z}, {"qw", q.w}};
}

Json lensJson(const TargetCamera& camera) {
  const std::string names = camera.row->intrinsics + std::string(" ") + camera.row->coefficients;
  const std::vector<std::string> keys = words(names);
  const std::vector<double> values = parameters(camera.lens, names);
  Json intrinsics = Json::object();
  for (std::size_t i = 0; i < keys.size(); ++i) intrinsics[keys[i]] = values[i];
  return {{"camera_type", camera.row->word}, {"intrinsics", intrinsics}};
}

}  // namespace

WrittenFiles writeBasalt(const TargetCameras& cameras, std::vector<std::string>& notes) {
  Json poses = Json::array(), lenses = Json::array(), sizes = Json::array();
  for (const TargetCamera& camera : cameras) {
    poses.push_back(poseJson(inverse(camera.T_camera_first)));
    lenses.push_back(lensJson(camera));
    sizes.push_back({camera.size.width, camera.size.height});
  }
  Json value{{"T_imu_cam", poses}, {"intrinsics", lenses}, {"resolution", sizes}};
  // Its reader wants them all.
  value["calib_accel_bias"] = std::vector<double>(9);
  value["calib_gyro_bias"] = std::vector<double>(12);
  value["imu_update_rate"] = 0.0;
  for (const char* const key :
       {"accel_noise_std", "gyro_noise_std", "accel_bias_std", "gyro_bias_std"}) {
    value[key] = std::vector<double>(3);
  }
  value["cam_time_offset_ns"] = 0;
  value["vignette"] = Json::array();
  notes.emplace_back(
      "The first camera stands for the inertial unit, whose own numbers are 0: fill them in.");
  return {{"calibration.json", Json{{"value0", value}}.dump(2) + "\n"}};
}

}  // namespace rectiline::formats
