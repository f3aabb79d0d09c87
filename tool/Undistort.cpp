#include "Undistort.h"

#include <cstdio>
#include <utility>

#include "Calls.h"
#include "Maps.h"
#include "OutputDirectory.h"
#include "Rig.h"

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
  std::printf("%s: focal length %.3f px, %.1f %% of the pixels have a source\n", camera.name,
              view.fx, 100 * reportOn(map).share_with_source);
}

}  // namespace

void undistort(const UndistortOptions& wanted) {
  const DeviceCalibrationZEL device = loadRig(wanted.rigFile, 1);
  const std::size_t count = wanted.imageFiles.size();
  if (count > static_cast<std::size_t>(device.num_cameras)) {
    throw Error(wanted.rigFile + ": has " + std::to_string(device.num_cameras) + " cameras, " +
                std::to_string(count) + " images were given");
  }
  auto options = sized<rectiline_options>();
  options.coverage = wanted.whole ? RECTILINE_COVERAGE_WHOLE : RECTILINE_COVERAGE_AUTOMATIC;
  std::vector<std::string> inputs = wanted.imageFiles;
  inputs.push_back(wanted.rigFile);
  const OutputDirectory out(wanted.directory, std::move(inputs));
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
    if (i < count) undistortImage(camera, options, view, wanted.imageFiles[i], imagesOut[i]);
  }
  saveRig(rigOut, pinholes);
}

}  // namespace rectiline::tool
