#include "Quality.h"

#include <array>
#include <cmath>
#include <cstdio>

#include "Calls.h"
#include "Maps.h"
#include "Rig.h"

namespace rectiline::tool {
namespace {

void printCamera(const CameraCalibrationZEL& camera) {
  auto c = sized<rectiline_camera_certificate>();
  check(rectiline_certify_camera(&camera, &c));
  std::printf("camera %s\n", camera.name);
  std::printf("  ray to pixel  at most %.5f px off (at radius %.3f), %u bins\n",
              c.max_distortion_error, c.distortion_error_radius, c.distortion_bins);
  std::printf("  pixel to ray  at most %.5f px off (at radius %.3f), %u bins\n",
              c.max_undistortion_error, c.undistortion_error_radius, c.undistortion_bins);
  std::printf("  valid         to radius %.3f, %.1f px from the principal point, %.1f degrees\n",
              c.valid_radius, c.valid_radius_pixels, c.field_of_view * 180 / M_PI);
}

void printMap(const char* name, Map& map) {
  const rectiline_report r = reportOn(map);
  std::array<unsigned long long, 256> count{};
  for (const std::uint8_t reason : map.reasons().data) ++count[reason];
  std::printf("%s map\n", name);
  std::printf("  with a source %.2f %%, folded %llu pixels, magnification %.3f to %.3f\n",
              100 * r.share_with_source, static_cast<unsigned long long>(r.folded_pixels),
              r.least_magnification, r.greatest_magnification);
  std::printf("  wholly valid  %d x %d at (%d, %d)\n", r.valid_width, r.valid_height, r.valid_x,
              r.valid_y);
  std::printf(
      "  no source     behind %llu, beyond the distortion %llu, no ray %llu, outside %llu\n",
      count[RECTILINE_PIXEL_BEHIND_CAMERA], count[RECTILINE_PIXEL_BEYOND_DISTORTION],
      count[RECTILINE_PIXEL_NO_INVERSE], count[RECTILINE_PIXEL_OUTSIDE_IMAGE]);
}

rectiline_certificate certify(PairMaps& maps, const DeviceCalibrationZEL& truth) {
  auto c = sized<rectiline_certificate>();
  const rectiline_map left = maps.left.view();
  const rectiline_map right = maps.right.view();
  check(rectiline_certify_rectification(&truth, &maps.rectification, &left, &right, &c));
  return c;
}

void printCertificate(const rectiline_certificate& c) {
  std::printf("rectification, %u points at 0.3 m to 30 m\n", c.points);
  std::printf("  row error     rms %.5f px, greatest %.5f px at (%.0f, %.0f)\n", c.rms_row_error,
              c.max_row_error, c.worst_row.x, c.worst_row.y);
  std::printf("  depth error   greatest %.5f %%\n", 100 * c.max_depth_error);
  std::printf("  map error     left %.5f px, right %.5f px\n", c.max_map_error_left,
              c.max_map_error_right);
}

}  // namespace

void report(const std::string& rigFile) {
  const DeviceCalibrationZEL device = loadRig(rigFile, 1);
  std::printf("%s\n", rigFile.c_str());
  for (int i = 0; i < device.num_cameras; ++i) printCamera(device.cameras[i]);
  if (device.num_cameras < 2) return;
  PairMaps maps = createPairMaps(device);
  printMap("left", maps.left);
  printMap("right", maps.right);
  printCertificate(certify(maps, device));
}

void verify(const std::string& rigFile, const std::string& truthFile, double limit) {
  const DeviceCalibrationZEL device = loadRig(rigFile, 2);
  const DeviceCalibrationZEL truth = truthFile.empty() ? device : loadRig(truthFile, 2);
  PairMaps maps = createPairMaps(device);
  const rectiline_certificate c = certify(maps, truth);
  printCertificate(c);
  const double worst =
      std::fmax(c.max_row_error, std::fmax(c.max_map_error_left, c.max_map_error_right));
  if (!(worst <= limit)) {
    char message[128];
    std::snprintf(message, sizeof message, "the maps are %.5f px off, above the limit of %g px",
                  worst, limit);
    throw Error(message);
  }
}

}  // namespace rectiline::tool
