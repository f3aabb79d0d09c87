#include "Rectify.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "CornerCheck.h"
#include "Error.h"
#include "Kel/kelRemapu8.h"
#include "LibraryLog.h"
#include "Png.h"
#include "Rig.h"
#include "VIO/StereoRectifyWrapper.h"

namespace rectiline::tool {
namespace {

using AR::Math::SE3;
using AR::Math::Vec;

/// The time since the last lap, milliseconds.
class StopWatch {
 public:
  double lap() {
    const auto now = std::chrono::steady_clock::now();
    const double ms = std::chrono::duration<double, std::milli>(now - mStart).count();
    mStart = now;
    return ms;
  }

 private:
  std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
};

using Map = Pixels<float>;

struct Maps {
  Maps(int width, int height)
      : leftX(width, height), leftY(width, height), rightX(width, height), rightY(width, height) {}

  Map leftX, leftY, rightX, rightY;
  float depthConstant = 0;
  CameraCalibrationZEL camera{};
  int failedChecks = 0;
};

Maps createMaps(const DeviceCalibrationZEL& device) {
  const IntrinsicCameraCalibrationZEL& in = device.cameras[0].intrinsics;
  Maps maps(in.width, in.height);
  const auto n = static_cast<std::uint32_t>(maps.leftX.data.size());
  const LibraryLog log;
  CreateRectifyMap(&device, 0, maps.leftX.data.data(), n, maps.leftY.data.data(), n,
                   maps.rightX.data.data(), n, maps.rightY.data.data(), n, &maps.depthConstant,
                   &maps.camera);
  maps.failedChecks = log.failedChecks();
  if (maps.depthConstant < 0) throw Error("the pair cannot be rectified: " + log.firstError());
  return maps;
}

double validShare(const Map& X, const Map& Y) {
  std::size_t valid = 0;
  for (std::size_t i = 0; i < X.data.size(); ++i) {
    valid += X.data[i] != -1 || Y.data[i] != -1 ? 1 : 0;
  }
  return static_cast<double>(valid) / static_cast<double>(X.data.size());
}

GreyImage remap(const GreyImage& source, const Map& X, const Map& Y) {
  GreyImage target(X.width, X.height);
  constexpr int kBilinear = 1;
  const int status =
      kelRemapu8(source.data.data(), source.width, source.height, source.width, target.data.data(),
                 target.width, target.height, target.width, X.data.data(), Y.data.data(),
                 X.width * static_cast<int>(sizeof(float)), kBilinear);
  if (status != 0) throw Error("the image cannot be remapped (" + std::to_string(status) + ")");
  return target;
}

GreyImage readImage(const std::string& file, const CameraCalibrationZEL& camera) {
  GreyImage image = readGrey(file);
  const int width = camera.intrinsics.width;
  const int height = camera.intrinsics.height;
  if (image.width != width || image.height != height) {
    throw Error(file + ": is " + std::to_string(image.width) + "x" + std::to_string(image.height) +
                ", camera " + camera.name + " has " + std::to_string(width) + "x" +
                std::to_string(height));
  }
  return image;
}

bool isVertical(const DeviceCalibrationZEL& device) {
  const auto& t = device.cameras[1].pose.position;
  return std::fabs(t.x) < std::fabs(t.y);
}

/// Both images in one, with a green line every 32 pixels along which they must agree.
GreyImage sideBySide(const RectifiedImages& pair) {
  const int w = pair.left.width;
  const int h = pair.left.height;
  GreyImage joined(pair.vertical ? w : 2 * w, pair.vertical ? 2 * h : h, 3);
  for (int y = 0; y < joined.height; ++y) {
    for (int x = 0; x < joined.width; ++x) {
      const GreyImage& image = x < w && y < h ? pair.left : pair.right;
      const std::uint8_t grey = image(x % w, y % h);
      const bool line = (pair.vertical ? x : y) % 32 == 16;
      std::uint8_t* rgb = &joined.data[3 * joined.index(x, y)];
      rgb[0] = rgb[2] = line ? static_cast<std::uint8_t>(grey / 2) : grey;
      rgb[1] = line ? static_cast<std::uint8_t>(128 + grey / 2) : grey;
    }
  }
  return joined;
}

/// The rectified pair as a rig whose reference frame is the source left camera.
void saveRectifiedRig(const std::string& file, const RectifiedImages& pair) {
  CameraCalibrationZEL left = pair.camera;
  XrPosedZEL_t::Quaternion& q = left.pose.orientation;  // R_oltl, made R_tlol
  q = {-q.x, -q.y, -q.z, q.w};
  std::snprintf(left.name, sizeof left.name, "left");
  CameraCalibrationZEL right = left;
  std::snprintf(right.name, sizeof right.name, "right");
  const double f = pair.vertical ? left.intrinsics.focal_length_y : left.intrinsics.focal_length_x;
  (pair.vertical ? right.pose.position.y : right.pose.position.x) = -pair.depthConstant / f;
  Rig rig(AR::CV::CalibrationInfo(AR::CV::CalibrationInfo::RECTIFICATION, 0));
  const CameraCalibrationZEL records[] = {left, right};
  rig.setFromIdl({records, 2}, rig.getInfo());
  if (!rig.saveCalibration(file)) throw Error(file + ": cannot be written");
}

/// Prints how well known points agree with the result; throws Error when they do not.
void check(const RectifiedImages& pair, const std::string& pointsFile) {
  constexpr double kMaxRowRms = 0.25;       // pixels: what finding a corner in an image may cost
  constexpr double kMaxDisparityRms = 0.5;  // pixels
  const CornerErrors e = checkCorners(pair, pointsFile);
  std::printf("  known points  %d found in both images\n", e.points);
  if (e.points == 0) throw Error("none of the known points was found in both images");
  std::printf("  row error     rms %.3f px, greatest %.3f px\n", e.rowRms, e.rowMax);
  std::printf("  depth error   rms %.2f %%, greatest %.2f %% (disparity rms %.3f px)\n",
              100 * e.depthRmsShare, 100 * e.depthMaxShare, e.disparityRms);
  if (!(e.rowRms <= kMaxRowRms && e.disparityRms <= kMaxDisparityRms)) {
    throw Error("the rectified images miss the known points");
  }
}

}  // namespace

void rectify(const RectifyOptions& options) {
  StopWatch watch;
  const DeviceCalibrationZEL device = pairRecord(loadRig(options.rigFile));
  const double loadMs = watch.lap();
  const GreyImage rawLeft = readImage(options.leftFile, device.cameras[0]);
  const GreyImage rawRight = readImage(options.rightFile, device.cameras[1]);
  const double readMs = watch.lap();
  const Maps maps = createMaps(device);
  const double mapMs = watch.lap();
  const RectifiedImages pair{remap(rawLeft, maps.leftX, maps.leftY),
                             remap(rawRight, maps.rightX, maps.rightY), maps.camera,
                             static_cast<double>(maps.depthConstant), isVertical(device)};
  const double remapMs = watch.lap();

  std::error_code ignored;
  std::filesystem::create_directories(options.directory, ignored);
  writeGrey(options.directory + "/left.png", pair.left);
  writeGrey(options.directory + "/right.png", pair.right);
  writeColour(options.directory + "/pair.png", sideBySide(pair));
  saveRectifiedRig(options.directory + "/rectified.rig.xml", pair);
  const double writeMs = watch.lap();

  const IntrinsicCameraCalibrationZEL& in = maps.camera.intrinsics;
  std::printf("%s -> %s\n", options.rigFile.c_str(), options.directory.c_str());
  std::printf("  size          %d x %d\n", in.width, in.height);
  std::printf("  focal length  %.3f px\n", in.focal_length_x);
  std::printf("  depth         %.6f px m / disparity\n", pair.depthConstant);
  std::printf("  valid pixels  left %.1f %%, right %.1f %%\n",
              100 * validShare(maps.leftX, maps.leftY), 100 * validShare(maps.rightX, maps.rightY));
  if (maps.failedChecks > 0) std::printf("  failed checks %d\n", maps.failedChecks);
  std::printf(
      "  time          rig %.1f ms, images %.1f ms, maps %.1f ms, remap %.1f ms, write %.1f ms\n",
      loadMs, readMs, mapMs, remapMs, writeMs);
  if (!options.pointsFile.empty()) check(pair, options.pointsFile);
}

}  // namespace rectiline::tool
