#include "Quality.h"

#include <array>
#include <cmath>
#include <cstdio>

#include "Error.h"
#include "PairMaps.h"
#include "Rig.h"

namespace rectiline::tool {
namespace {

void printCamera(const CameraCalibrationZEL& camera) {
  CameraCertificate c{};
  if (!CertifyCamera(&camera, &c)) {
    throw Error(std::string("camera ") + camera.name + " cannot be made");
  }
  std::printf("camera %s\n", camera.name);
  std::printf("  ray to pixel  at most %.5f px off (at radius %.3f), %u bins\n",
              c.maxDistortionError, c.distortionErrorRadius, c.distortionBins);
  std::printf("  pixel to ray  at most %.5f px off (at radius %.3f), %u bins\n",
              c.maxUndistortionError, c.undistortionErrorRadius, c.undistortionBins);
  std::printf("  valid         to radius %.3f, %.1f px from the principal point, %.1f degrees\n",
              c.validRadius, c.validRadiusPixels, c.fieldOfView * 180 / M_PI);
}

void printMap(const char* name, const Map& X, const Map& Y, const Reasons& reasons) {
  const MapReport r = reportOf(X, Y);
  std::array<std::uint64_t, 256> count{};
  for (const std::uint8_t reason : reasons.data) ++count[reason];
  std::printf("%s map\n", name);
  std::printf("  with a source %.2f %%, folded %llu pixels, magnification %.3f to %.3f\n",
              100 * r.shareWithSource, static_cast<unsigned long long>(r.foldedPixels),
              r.leastMagnification, r.greatestMagnification);
  std::printf("  wholly valid  %d x %d at (%d, %d)\n", r.rectWidth, r.rectHeight, r.rectX, r.rectY);
  std::printf(
      "  no source     behind %llu, beyond the distortion %llu, no ray %llu, outside %llu\n",
      static_cast<unsigned long long>(count[MAP_PIXEL_BEHIND_CAMERA]),
      static_cast<unsigned long long>(count[MAP_PIXEL_BEYOND_DISTORTION]),
      static_cast<unsigned long long>(count[MAP_PIXEL_NO_INVERSE]),
      static_cast<unsigned long long>(count[MAP_PIXEL_OUTSIDE_IMAGE]));
}

RectificationCertificate certify(const PairMaps& maps, const DeviceCalibrationZEL& truth) {
  RectificationCertificate c{};
  const auto n = static_cast<std::uint32_t>(maps.leftX.data.size());
  if (!CertifyRectification(&truth, maps.leftX.data.data(), n, maps.leftY.data.data(), n,
                            maps.rightX.data.data(), n, maps.rightY.data.data(), n,
                            maps.depthConstant, &maps.camera, &c)) {
    throw Error("the maps cannot be measured");
  }
  return c;
}

void printCertificate(const RectificationCertificate& c) {
  std::printf("rectification, %u points at 0.3 m to 30 m\n", c.points);
  std::printf("  row error     rms %.5f px, greatest %.5f px at (%.0f, %.0f)\n", c.rmsRowError,
              c.maxRowError, c.worstRow.x, c.worstRow.y);
  std::printf("  depth error   greatest %.5f %%\n", 100 * c.maxDepthError);
  std::printf("  map error     left %.5f px, right %.5f px\n", c.maxMapErrorLeft,
              c.maxMapErrorRight);
}

}  // namespace

void report(const std::string& rigFile) {
  const DeviceCalibrationZEL device = deviceRecord(loadRig(rigFile, 1));
  std::printf("%s\n", rigFile.c_str());
  for (int i = 0; i < device.num_cameras; ++i) printCamera(device.cameras[i]);
  if (device.num_cameras < 2) return;
  const DeviceCalibrationZEL pair = pairRecord(loadRig(rigFile, 2));
  const PairMaps maps = createPairMaps(pair);
  printMap("left", maps.leftX, maps.leftY, maps.leftReasons);
  printMap("right", maps.rightX, maps.rightY, maps.rightReasons);
  printCertificate(certify(maps, pair));
}

void verify(const std::string& rigFile, const std::string& truthFile, double limit) {
  const DeviceCalibrationZEL device = pairRecord(loadRig(rigFile, 2));
  const DeviceCalibrationZEL truth = truthFile.empty() ? device : pairRecord(loadRig(truthFile, 2));
  const RectificationCertificate c = certify(createPairMaps(device), truth);
  printCertificate(c);
  const double worst = std::fmax(c.maxRowError, std::fmax(c.maxMapErrorLeft, c.maxMapErrorRight));
  if (!(worst <= limit)) {
    char message[128];
    std::snprintf(message, sizeof message, "the maps are %.5f px off, above the limit of %g px",
                  worst, limit);
    throw Error(message);
  }
}

}  // namespace rectiline::tool
