// report: how good cameras and maps of a rig are.

#include <CLI/CLI.hpp>
#include <array>
#include <cmath>
#include <memory>

#include "cli/RigArgument.h"
#include "cli/StandardOutput.h"
#include "commands/Commands.h"
#include "maps/Calls.h"
#include "maps/Certificate.h"
#include "maps/Maps.h"

namespace rectiline::tool {
namespace {

using Json = nlohmann::ordered_json;

Json reportCamera(const CameraCalibrationZEL& camera) {
  auto c = sized<rectiline_camera_certificate>();
  check(rectiline_certify_camera(&camera, &c));
  const double fieldOfView = c.field_of_view * 180 / M_PI;
  print("camera %s\n", camera.name);
  print("  ray to pixel  at most %.5f px off (at radius %.3f), %u bins\n", c.max_distortion_error,
        c.distortion_error_radius, c.distortion_bins);
  print("  pixel to ray  at most %.5f px off (at radius %.3f), %u bins\n", c.max_undistortion_error,
        c.undistortion_error_radius, c.undistortion_bins);
  print("  valid         to radius %.3f, %.1f px from the principal point, %.1f degrees\n",
        c.valid_radius, c.valid_radius_pixels, fieldOfView);
  return {{"name", camera.name},
          {"ray_to_pixel_error", c.max_distortion_error},
          {"pixel_to_ray_error", c.max_undistortion_error},
          {"valid_radius", c.valid_radius},
          {"valid_radius_pixels", c.valid_radius_pixels},
          {"field_of_view_degrees", fieldOfView}};
}

Json reportMap(const char* name, const Map& map) {
  const rectiline_report r = reportOn(map);
  std::array<unsigned long long, 256> count{};
  for (const std::uint8_t reason : map.reasons().data) ++count[reason];
  const auto folded = static_cast<unsigned long long>(r.folded_pixels);
  print("%s map\n", name);
  print("  with a source %.2f %%, folded %llu pixels, magnification %.3f to %.3f\n",
        100 * r.share_with_source, folded, r.least_magnification, r.greatest_magnification);
  print("  wholly valid  %d x %d at (%d, %d)\n", r.valid_width, r.valid_height, r.valid_x,
        r.valid_y);
  print("  no source     behind %llu, beyond the distortion %llu, no ray %llu, outside %llu\n",
        count[RECTILINE_PIXEL_BEHIND_CAMERA], count[RECTILINE_PIXEL_BEYOND_DISTORTION],
        count[RECTILINE_PIXEL_NO_INVERSE], count[RECTILINE_PIXEL_OUTSIDE_IMAGE]);
  return {{"share_with_source", r.share_with_source},
          {"folded_pixels", folded},
          {"least_magnification", r.least_magnification},
          {"greatest_magnification", r.greatest_magnification},
          {"valid", {r.valid_x, r.valid_y, r.valid_width, r.valid_height}}};
}

Result report(const RigArgument& argument) {
  const Rig rig = argument.read();
  const DeviceCalibrationZEL& device = rig.device;
  print("%s\n", argument.text().c_str());
  Result result;
  for (int i = 0; i < device.num_cameras; ++i) {
    result.json["cameras"].push_back(reportCamera(device.cameras[i]));
  }
  if (device.num_cameras < 2 || !rig.hasPoses) return result;
  const PairMaps maps = createPairMaps(device);
  result.json["left_map"] = reportMap("left", maps.left);
  result.json["right_map"] = reportMap("right", maps.right);
  const rectiline_certificate certificate = certify(maps, device);
  printCertificate(certificate);
  result.json["rectification"] = toJson(certificate);
  return result;
}

}  // namespace

Run declareReport(CLI::App& command) {
  const auto rig = std::make_shared<RigArgument>();
  rig->declare(command);
  return [rig] { return report(*rig); };
}

}  // namespace rectiline::tool
