// undistort: images as pinhole cameras would have taken them.

#include <CLI/CLI.hpp>
#include <memory>
#include <utility>

#include "cli/RigArgument.h"
#include "cli/StandardOutput.h"
#include "commands/Commands.h"
#include "files/Outputs.h"
#include "files/RigFile.h"
#include "maps/Calls.h"
#include "maps/Maps.h"

namespace rectiline::tool {
namespace {

/// The camera that sees what `view` shows, at the place of the real one.
CameraCalibrationZEL pinholeCamera(CameraCalibrationZEL camera, const rectiline_view& view) {
  camera.intrinsics = {};
  camera.intrinsics.width = view.width;
  camera.intrinsics.height = view.height;
  camera.intrinsics.focal_length_x = view.fx;
  camera.intrinsics.focal_length_y = view.fy;
  camera.intrinsics.principal_point_x = view.cx;
  camera.intrinsics.principal_point_y = view.cy;
  return camera;
}

rectiline_view undistortedView(const CameraCalibrationZEL& camera,
                               const rectiline_options& options) {
  auto view = sized<rectiline_view>();
  check(rectiline_undistort(&camera, &options, nullptr, &view));
  return view;
}

void undistortImage(const CameraCalibrationZEL& camera, const rectiline_options& options,
                    const rectiline_view& view, const std::string& file,
                    const std::string& result) {
  GreyImage raw = readImage(file, camera);
  Map map(view.width, view.height);
  const rectiline_map target = map.view();
  check(rectiline_undistort(&camera, &options, &target, nullptr));
  writeGrey(result, remap(raw, map));
  print("%s: focal length %.3f px, %.1f %% of the pixels have a source\n", camera.name, view.fx,
        100 * reportOn(map).share_with_source);
}

struct Arguments {
  RigArgument rig;
  std::vector<std::string> images;  // of the rig's first cameras, in its order
  OutputArgument output;
  bool whole = false;  // keep the whole image instead of the focal length
};

/// Writes NAME.png per camera that has an image, and linear.rig.xml.
Result undistort(const Arguments& arguments) {
  const DeviceCalibrationZEL device = arguments.rig.read().device;
  const std::size_t count = arguments.images.size();
  if (count > static_cast<std::size_t>(device.num_cameras)) {
    throw Error(arguments.rig.text() + ": has " + std::to_string(device.num_cameras) +
                " cameras, " + std::to_string(count) + " images were given");
  }
  auto options = sized<rectiline_options>();
  options.coverage = arguments.whole ? RECTILINE_COVERAGE_WHOLE : RECTILINE_COVERAGE_AUTOMATIC;
  std::vector<std::string> inputs = arguments.rig.files();
  inputs.insert(inputs.end(), arguments.images.begin(), arguments.images.end());
  Outputs out(arguments.output, inputs);
  const std::string rigOut = out.file("linear.rig.xml");
  std::vector<std::string> imagesOut;
  for (std::size_t i = 0; i < count; ++i) {
    imagesOut.push_back(out.file(std::string(device.cameras[i].name) + ".png"));
  }
  DeviceCalibrationZEL pinholes = device;
  for (std::size_t i = 0; i < static_cast<std::size_t>(device.num_cameras); ++i) {
    const CameraCalibrationZEL& camera = device.cameras[i];
    const rectiline_view view = undistortedView(camera, options);
    pinholes.cameras[i] = pinholeCamera(camera, view);
    if (i < count) undistortImage(camera, options, view, arguments.images[i], imagesOut[i]);
  }
  saveRig(rigOut, pinholes);
  return {{{"rig", rigOut}, {"images", imagesOut}}, ""};
}

}  // namespace

Run declareUndistort(CLI::App& command) {
  const auto arguments = std::make_shared<Arguments>();
  arguments->rig.declare(command, RigArgument::SizeOption::AlsoOfResults);
  command.add_option("IMAGES", arguments->images, "images of the first cameras")->required();
  arguments->output.declareDirectory(command);
  command.add_flag("--whole", arguments->whole,
                   "keep the whole image instead of the focal length at its centre");
  return [arguments] { return undistort(*arguments); };
}

}  // namespace rectiline::tool
