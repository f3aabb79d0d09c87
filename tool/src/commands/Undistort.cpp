// undistort: images as pinhole cameras would have taken them.

#include <CLI/CLI.hpp>
#include <deque>
#include <filesystem>
#include <memory>
#include <utility>

#include "cli/Error.h"
#include "cli/ImageFormatOption.h"
#include "cli/RigArgument.h"
#include "cli/StandardOutput.h"
#include "cli/ViewArgument.h"
#include "commands/Commands.h"
#include "files/FramePairs.h"
#include "files/Outputs.h"
#include "files/RigFile.h"
#include "images/ImageFile.h"
#include "maps/Calls.h"
#include "maps/Maps.h"
#include "maps/Remapper.h"
#include "work/ForEach.h"

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

/// One image of the camera with this index.
struct Job {
  std::size_t camera;
  std::string in;
  std::string out;
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

/// The files of each camera. All of a single camera's rig are its own; else the first argument
/// names those of the first camera, the second those of the second, and so on.
std::vector<std::vector<std::string>> framesByCamera(const Arguments& arguments,
                                                     const DeviceCalibrationZEL& device) {
  const auto cameras = static_cast<std::size_t>(device.num_cameras);
  if (cameras > 1 && arguments.images.size() > cameras) {
    throw Error(arguments.rig.text() + ": has " + std::to_string(cameras) + " cameras, " +
                std::to_string(arguments.images.size()) + " images were given");
  }
  std::vector<std::vector<std::string>> frames(cameras);
  for (std::size_t i = 0; i < arguments.images.size(); ++i) {
    std::vector<std::string>& own = frames[cameras == 1 ? 0 : i];
    const std::vector<std::string> found = findFrames(arguments.images[i]);
    own.insert(own.end(), found.begin(), found.end());
  }
  return frames;
}

/// NAME.png for a camera with one image, else a folder NAME with the names of the images.
std::vector<Job> planJobs(const Arguments& arguments, const DeviceCalibrationZEL& device,
                          const std::vector<std::vector<std::string>>& frames, Outputs& out) {
  std::vector<Job> jobs;
  for (std::size_t camera = 0; camera < frames.size(); ++camera) {
    if (frames[camera].empty()) continue;
    const std::string name = device.cameras[camera].name;
    const ImageFile first(frames[camera].front());
    const std::string end = extensionOf(arguments.format, first.header().format);
    const bool isAlone = frames[camera].size() == 1;
    for (const std::string& file : frames[camera]) {
      const std::string stem = std::filesystem::path(file).stem().string();
      jobs.push_back({camera, file, isAlone ? out.file(name + end) : out.file(stem + end, name)});
    }
  }
  return jobs;
}

/// Writes the images and linear.rig.xml, in which every camera of the rig is a pinhole camera.
Result undistort(const Arguments& arguments) {
  const Rig rig = arguments.rig.read();
  const auto frames = framesByCamera(arguments, rig.device);
  std::vector<std::string> inputs = arguments.rig.files();
  for (const auto& files : frames) inputs.insert(inputs.end(), files.begin(), files.end());
  Outputs out(arguments.output, inputs);
  const std::string rigOut = out.file("linear.rig.xml");
  const std::vector<Job> jobs = planJobs(arguments, rig.device, frames, out);

  rectiline_options options = arguments.view.options(rig);
  if (arguments.whole) options.coverage = RECTILINE_COVERAGE_WHOLE;
  DeviceCalibrationZEL pinholes = rig.device;
  std::deque<Remapper> remappers;
  Result result;
  for (std::size_t i = 0; i < frames.size(); ++i) {
    const CameraCalibrationZEL& camera = rig.device.cameras[i];
    UndistortMap made = createUndistortMap(camera, options, arguments.rig.limit());
    const double share = reportOn(made.map).share_with_source;
    pinholes.cameras[i] = pinholeCamera(camera, made.view);
    remappers.emplace_back(std::move(made.map), camera);
    if (frames[i].empty()) continue;
    print("%s: focal length %.3f px, %.1f %% of the pixels have a source, %zu image%s\n",
          camera.name, made.view.fx, 100 * share, frames[i].size(),
          frames[i].size() == 1 ? "" : "s");
    result.json["cameras"].push_back({{"name", camera.name},
                                      {"width", made.view.width},
                                      {"height", made.view.height},
                                      {"focal_length", made.view.fx},
                                      {"share_with_source", share},
                                      {"images", frames[i].size()}});
  }
  forEach(jobs.size(), "images", [&](std::size_t i) {
    const Remapper& remapper = remappers[jobs[i].camera];
    writeImage(jobs[i].out, remapper.remap(remapper.read(jobs[i].in)), arguments.format);
  });
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
