#include <array>
#include <charconv>
#include <nlohmann/json.hpp>

#include "writers/Writers.h"

namespace rectiline::formats {

std::string exactText(double number) {
  std::array<char, 32> buffer;
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
  return {buffer.data(), result.ptr};
}

std::string listed(const std::vector<double>& numbers, const std::string& separator) {
  std::string result;
  for (const double number : numbers)
    result += (result.empty() ? "" : separator) + exactText(number);
  return result;
}

std::string quoted(const std::string& text) {
  return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::vector<double> cameraMatrix(const LensParameters& lens) {
  return {lens.fx, 0, lens.cx, 0, lens.fy, lens.cy, 0, 0, 1};
}

std::vector<double> homogeneous(const Pose& pose) {
  const auto& [R, t] = pose;
  return {R[0], R[1], R[2], t[0], R[3], R[4], R[5], t[1], R[6], R[7], R[8], t[2], 0, 0, 0, 1};
}

DeviceCalibrationZEL deviceOf(const TargetCameras& cameras) {
  DeviceCalibrationZEL device{};
  for (const TargetCamera& camera : cameras) {
    device.cameras[device.num_cameras++] = camera.record;
  }
  return device;
}

}  // namespace rectiline::formats
