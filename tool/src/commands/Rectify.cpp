// rectify: images of a stereo pair with matching rows.

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <memory>

#include "cli/Error.h"
#include "cli/RigArgument.h"
#include "cli/StandardOutput.h"
#include "commands/Commands.h"
#include "files/Outputs.h"
#include "files/RigFile.h"
#include "images/Png.h"
#include "maps/Maps.h"
#include "scene/CornerCheck.h"
#include "scene/Geometry.h"

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
  GreyImage joined(pair.isVertical() ? w : 2 * w, pair.isVertical() ? 2 * h : h, 3);
  for (int y = 0; y < joined.height; ++y) {
    for (int x = 0; x < joined.width; ++x) {
      const GreyImage& image = x < w && y < h ? pair.left : pair.right;
      const std::uint8_t grey = image(x % w, y % h);
      const bool line = (pair.isVertical() ? x : y) % 32 == 16;
      std::uint8_t* rgb = &joined.data[3 * joined.index(x, y)];
      rgb[0] = rgb[2] = line ? static_cast<std::uint8_t>(grey / 2) : grey;
      rgb[1] = line ? static_cast<std::uint8_t>(128 + grey / 2) : grey;
    }
  }
  return joined;
}

/// A view as a camera named `name`, its axes turned back into the real camera's.
CameraCalibrationZEL toCamera(const rectiline_view& view, const char* name) {
  CameraCalibrationZEL camera{};
  std::snprintf(camera.name, sizeof camera.name, "%s", name);
  IntrinsicCameraCalibrationZEL& in = camera.intrinsics;
  in.width = view.width;
  in.height = view.height;
  in.focal_length_x = view.fx;
  in.focal_length_y = view.fy;
  in.principal_point_x = view.cx;
  in.principal_point_y = view.cy;
  const QuaternionZEL q = toQuaternion(view.R_camera_view);
  camera.pose.orientation = {-q.x, -q.y, -q.z, q.w};
  return camera;
}

/// The rectified pair as a rig whose reference frame is the source left camera.
void saveRectifiedRig(const std::string& file, const RectifiedImages& pair) {
  const rectiline_rectification& r = pair.rectification;
  DeviceCalibrationZEL device{};
  device.num_cameras = 2;
  device.cameras[0] = toCamera(r.left, "left");
  device.cameras[1] = toCamera(r.left, "right");  // parallel to the left one
  PositionZEL& position = device.cameras[1].pose.position;
  (pair.isVertical() ? position.y : position.x) = -r.disparity_sign * r.baseline;
  saveRig(file, device);
}

/// Prints how well known points agree with the result; throws Error when they do not.
void checkPoints(const RectifiedImages& pair, const std::string& pointsFile) {
  constexpr double kMaxRowRms = 0.25;       // pixels: what finding a corner in an image may cost
  constexpr double kMaxDisparityRms = 0.5;  // pixels
  const CornerErrors e = checkCorners(pair, pointsFile);
  print("  known points  %d found in both images\n", e.points);
  if (e.points == 0)
    throw Error("none of the known points was found in both images", ExitCode::Verdict);
  print("  row error     rms %.3f px, greatest %.3f px\n", e.rowRms, e.rowMax);
  print("  depth error   rms %.2f %%, greatest %.2f %% (disparity rms %.3f px)\n",
        100 * e.depthRmsShare, 100 * e.depthMaxShare, e.disparityRms);
  if (!(e.rowRms <= kMaxRowRms && e.disparityRms <= kMaxDisparityRms)) {
    throw Error("the rectified images miss the known points", ExitCode::Verdict);
  }
}

struct Arguments {
  RigArgument rig;
  std::string left;
  std::string right;
  OutputArgument output;
  std::string points;  // points.csv of a rendered scene; empty: no check
};

/// Writes left.png, right.png, pair.png (both side by side, or one above the other for a vertical
/// rig, with lines along which they must agree) and rectified.rig.xml. With a points file also
/// measures the points in the rectified images.
Result rectify(const Arguments& arguments) {
  StopWatch watch;
  const DeviceCalibrationZEL device = arguments.rig.readPair().device;
  const double loadMs = watch.lap();
  GreyImage rawLeft = readImage(arguments.left, device.cameras[0]);
  GreyImage rawRight = readImage(arguments.right, device.cameras[1]);
  const double readMs = watch.lap();
  std::vector<std::string> inputs = arguments.rig.files();
  inputs.insert(inputs.end(), {arguments.left, arguments.right, arguments.points});
  Outputs out(arguments.output, inputs);
  const std::string leftOut = out.file("left.png");
  const std::string rightOut = out.file("right.png");
  const std::string pairOut = out.file("pair.png");
  const std::string rigOut = out.file("rectified.rig.xml");
  PairMaps maps = createPairMaps(device);
  const rectiline_rectification& result = maps.rectification;
  const double mapMs = watch.lap();
  const RectifiedImages pair{remap(rawLeft, maps.left), remap(rawRight, maps.right), result};
  const double remapMs = watch.lap();

  writeGrey(leftOut, pair.left);
  writeGrey(rightOut, pair.right);
  writeColour(pairOut, sideBySide(pair));
  saveRectifiedRig(rigOut, pair);
  const double writeMs = watch.lap();

  print("%s -> %s\n", arguments.rig.text().c_str(), arguments.output.path.c_str());
  print("  size          %d x %d\n", result.left.width, result.left.height);
  print("  focal length  %.3f px\n", result.left.fx);
  print("  depth         %.6f px m / disparity\n", result.depth_constant);
  print("  valid pixels  left %.1f %%, right %.1f %%\n", 100 * result.left_share,
        100 * result.right_share);
  print("  time          rig %.1f ms, images %.1f ms, maps %.1f ms, remap %.1f ms, write %.1f ms\n",
        loadMs, readMs, mapMs, remapMs, writeMs);
  if (!arguments.points.empty()) checkPoints(pair, arguments.points);
  return {{{"width", result.left.width},
           {"height", result.left.height},
           {"focal_length", result.left.fx},
           {"depth_constant", result.depth_constant}},
          ""};
}

}  // namespace

Run declareRectify(CLI::App& command) {
  const auto arguments = std::make_shared<Arguments>();
  arguments->rig.declare(command, RigArgument::SizeOption::AlsoOfResults);
  command.add_option("LEFT", arguments->left, "left image")->required();
  command.add_option("RIGHT", arguments->right, "right image")->required();
  arguments->output.declareDirectory(command);
  command.add_option("--points", arguments->points,
                     "points of a rendered scene, to measure the result against");
  return [arguments] { return rectify(*arguments); };
}

}  // namespace rectiline::tool
