#include "writers/Writers.h"

namespace rectiline::formats {

WrittenFiles writeColmap(const TargetCameras& cameras, std::vector<std::string>&) {
  std::string list = "# CAMERA_ID MODEL WIDTH HEIGHT PARAMS\n";
  std::string rig =
      "# RIG_ID NUM_SENSORS REF_SENSOR_TYPE REF_SENSOR_ID SENSORS (SENSOR_TYPE "
      "SENSOR_ID HAS_POSE QW QX QY QZ TX TY TZ)\n1 " +
      std::to_string(cameras.size()) + " CAMERA 1";
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    const TargetCamera& camera = cameras[i];
    const std::string id = std::to_string(i + 1);
    list += id + " " + camera.row->word + " " + std::to_string(camera.size.width) + " " +
            std::to_string(camera.size.height) + " " +
            listed(parameters(camera.lens, camera.row->coefficients), " ") + "\n";
    if (i == 0) continue;
    const auto [q, t] = toRecord(camera.T_camera_first);
    rig += " CAMERA " + id + " 1 " + listed({q.w, q.x, q.y, q.z, t.x, t.y, t.z}, " ");
  }
  return {{"cameras.txt", list}, {"rigs.txt", rig + "\n"}};
}

}  // namespace rectiline::formats
