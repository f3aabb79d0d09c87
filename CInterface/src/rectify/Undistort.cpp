// rectiline_undistort: one camera, seen without its distortion.

#include <cstdint>

#include "AR/CV/Camera/PixelSize.h"
#include "Boundary.h"
#include "Records.h"
#include "Structs.h"
#include "Views.h"
#include "rectify/MapFilling.h"
#include "rectify/ViewChoice.h"

namespace rectiline::capi {
namespace {

using AR::CV::TargetProjection;
using AR::CV::TargetView;

void requireNoPair(const rectiline_options& options) {
  if (options.left_camera != 0 || options.right_camera != 0) {
    refuseArgument(options.left_camera != 0 ? "options.left_camera" : "options.right_camera",
                   options.left_camera != 0 ? options.left_camera : options.right_camera,
                   "is not 0, but the camera is given by itself");
  }
}

/// The camera as it is but for its distortion. Another size adds or takes away as much on each
/// side.
TargetView automaticView(const ViewWishes& wishes, const AR::CV::Camera<float>& camera) {
  const AR::Math::Vec<int, 2> size = AR::CV::pixelSize(camera);
  TargetView view;
  view.projection = wishes.projection;
  view.width = wishes.size ? wishes.size->width : size(0);
  view.height = wishes.size ? wishes.size->height : size(1);
  view.cx = static_cast<double>(camera.getPrincipalPoint()(0)) + (view.width - size(0)) / 2.0;
  view.cy = static_cast<double>(camera.getPrincipalPoint()(1)) + (view.height - size(1)) / 2.0;
  if (view.projection == TargetProjection::Pinhole) {
    view.fx = static_cast<double>(camera.getCorrectedFocalLengthVec()(0));
    view.fy = static_cast<double>(camera.getCorrectedFocalLengthVec()(1));
  } else {
    view.fx = view.fy = static_cast<double>(camera.getCorrectedFocalLength());
  }
  return view;
}

void undistort(const CameraCalibrationZEL* callersCamera, const rectiline_options* callersOptions,
               const TargetMaps& maps, rectiline_view* callersView) {
  if (callersView != nullptr) requireStruct(callersView, "view");
  const CameraCalibrationZEL record = readCamera(callersCamera);
  const rectiline_options options = readOptions(callersOptions);
  requireNoPair(options);
  const ViewWishes wishes = checkedWishes(options);
  const AR::CV::Camera<float> camera = makeCamera(record, kAlone);
  const ViewSources sources = {{kAlone, camera, AR::Math::SO3<float>()}};
  const TargetView view = chosenView(wishes, automaticView(wishes, camera), sources);
  if (maps.left) {
    requireSize(*maps.left, view.width, view.height, "map");
    AR::CV::MapBatch<float> batch;
    addMap(sources[0].job(view, wishes.keepOutside), *maps.left, batch);
    batch.fill();
  }
  if (callersView != nullptr) writeStruct(callersView, "view", toCallersView({view, {}}));
}

}  // namespace
}  // namespace rectiline::capi

std::int32_t rectiline_undistort(const CameraCalibrationZEL* camera,
                                 const rectiline_options* options, const rectiline_map* map,
                                 rectiline_view* view) {
  using namespace rectiline::capi;
  return guarded([&] {
    TargetMaps maps;
    if (map != nullptr) maps.left = checkedTarget(map, "map");
    orFillNotMade(maps, [&] { undistort(camera, options, maps, view); });
  });
}
