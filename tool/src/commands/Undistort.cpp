// undistort: images as pinhole cameras would have taken them.

#include <CLI/CLI.hpp>
#include <deque>
#include <memory>
#include <utility>

#include "cli/ImageFormatOption.h"
#include "cli/RigArgument.h"
#include "cli/StandardOutput.h"
#include "cli/ViewArgument.h"
#include "commands/Commands.h"
#include "files/Outputs.h"
#include "files/RigFile.h"
#include "maps/Calls.h"
#include "maps/Maps.h"
#include "maps/Remapper.h"
#include "work/ImageJobs.h"

namespace rectiline::tool {
namespace {

struct Arguments {
  RigArgument rig;
  ViewArgument view;
  std::vector<std::string> images;
  OutputArgument output;
  ImageFormat format = ImageFormat::Png;
  bool whole = false;  // keep the whole image instead of the focal length
};

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

std::vector<std::string> namesOf(const DeviceCalibrationZEL& device) {
  std::vector<std::string> names;
  for (int i = 0; i < device.num_cameras; ++i) names.push_back(fileNameOf(device.cameras[i].name));
  return names;
}

/// Writes the images and linear.rig.xml, in which every camera of the rig is a pinhole camera.
Result undistort(const Arguments& arguments) {
  const Rig rig = arguments.rig.read();
  const std::vector<std::string> names = namesOf(rig.device);
  const ImagesByCamera images =
      imagesByCamera(arguments.rig.text(), names.size(), arguments.images);
  Outputs out(arguments.output, inputsOf(images, arguments.rig.files()));
  const std::string rigOut = out.file("linear.rig.xml");
  const std::vector<ImageJob> jobs = planImageJobs(images, names, arguments.format, out);

  rectiline_options options = arguments.view.options(rig);
  if (arguments.whole) options.coverage = RECTILINE_COVERAGE_WHOLE;
  DeviceCalibrationZEL pinholes = rig.device;
  std::deque<Remapper> remappers;
  Result result;
  for (std::size_t i = 0; i < images.size(); ++i) {
    const CameraCalibrationZEL& camera = rig.device.cameras[i];
    UndistortMap made = createUndistortMap(camera, options, arguments.rig.limit());
    const double share = reportOn(made.map).share_with_source;
    pinholes.cameras[i] = pinholeCamera(camera, made.view);
    remappers.emplace_back(std::move(made.map), rawSizeOf(camera));
    if (images[i].empty()) continue;
    requireSource(names[i], share);
    print("%s: focal length %.3f px, %.1f %% of the pixels have a source, %zu image%s\n",
          camera.name, made.view.fx, 100 * share, images[i].size(),
          images[i].size() == 1 ? "" : "s");
    result.json["cameras"].push_back({{"name", camera.name},
                                      {"width", made.view.width},
                                      {"height", made.view.height},
                                      {"focal_length", made.view.fx},
                                      {"share_with_source", share},
                                      {"images", images[i].size()}});
  }
  runImageJobs(jobs, remappers, arguments.format);
  if (options.projection == RECTILINE_PINHOLE) saveRig(rigOut, pinholes);
  return result;
}

}  // namespace

Run declareUndistort(CLI::App& command) {
  const auto arguments = std::make_shared<Arguments>();
  arguments->rig.declare(command, RigArgument::SizeOption::AlsoOfResults);
  arguments->view.declare(command);
  command
      .add_option(
          "IMAGES", arguments->images,
          "of each camera in the rig's order an image, a folder or a pattern with one *; of "
          "a single camera any number of them")
      ->required();
  arguments->output.declareDirectory(command);
  declareImageFormat(command, arguments->format);
  command.add_flag("--whole", arguments->whole, "the same as --coverage whole");
  return [arguments] { return undistort(*arguments); };
}

}  // namespace rectiline::tool
