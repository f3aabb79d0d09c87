#include "Rectify.h"

#include <chrono>
#include <cstdio>
#include <filesystem>

#include "CornerCheck.h"
#include "Error.h"
#include "PairMaps.h"
#include "Png.h"
#include "Rig.h"

namespace rectiline::tool {
namespace {

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
  QuaternionZEL& q = left.pose.orientation;  // R_oltl, made R_tlol
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
  const DeviceCalibrationZEL device = pairRecord(loadRig(options.rigFile, 2));
  const double loadMs = watch.lap();
  const GreyImage rawLeft = readImage(options.leftFile, device.cameras[0]);
  const GreyImage rawRight = readImage(options.rightFile, device.cameras[1]);
  const double readMs = watch.lap();
  const PairMaps maps = createPairMaps(device);
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
              100 * reportOf(maps.leftX, maps.leftY).shareWithSource,
              100 * reportOf(maps.rightX, maps.rightY).shareWithSource);
  if (maps.failedChecks > 0) {
    std::printf("  failed checks %llu\n", static_cast<unsigned long long>(maps.failedChecks));
  }
  std::printf(
      "  time          rig %.1f ms, images %.1f ms, maps %.1f ms, remap %.1f ms, write %.1f ms\n",
      loadMs, readMs, mapMs, remapMs, writeMs);
  if (!options.pointsFile.empty()) check(pair, options.pointsFile);
}

}  // namespace rectiline::tool
