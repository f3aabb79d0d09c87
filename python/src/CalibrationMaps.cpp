// Maps from the cameras of one rig to those of another, and rigs of pinhole cameras.

#include <pybind11/stl.h>

#include <optional>

#include "Arrays.h"
#include "Bindings.h"
#include "Errors.h"
#include "Rig.h"
#include "VIO/StereoRectifyWrapper.h"

namespace rectiline::python {
namespace {

/// The entry points below report in the log what they refuse: every camera is judged beforehand.
void requireCameras(const Rig& rig) {
  for (int i = 0; i < rig.device.num_cameras; ++i) {
    auto unused = sized<rectiline_camera_certificate>();
    run([&] { return rectiline_certify_camera(&rig.device.cameras[i], &unused); });
  }
}

/// For each camera a row of numbers, or nothing.
template <typename Number>
const Number* perCamera(const std::optional<std::vector<Number>>& numbers, const Rig& rig,
                        std::size_t each, const char* name) {
  if (!numbers) return nullptr;
  if (numbers->size() != each * static_cast<std::size_t>(rig.device.num_cameras)) {
    refuse(name, "expected " + std::to_string(each) + " numbers for each camera");
  }
  return numbers->data();
}

Rig linear(const Rig& rig, bool largest, const std::optional<std::vector<std::int32_t>>& sizes,
           const std::optional<std::vector<float>>& intrinsics) {
  requireCameras(rig);
  const CalibrationTransform transform{perCamera(sizes, rig, 2, "sizes"),
                                       perCamera(intrinsics, rig, 4, "intrinsics"),
                                       static_cast<std::uint8_t>(rig.device.num_cameras)};
  Rig result;
  result.hasPoses = rig.hasPoses;
  {
    const py::gil_scoped_release unlocked;
    getLinearCalibration(&rig.device, largest, transform, &result.device);
  }
  if (result.device.num_cameras != rig.device.num_cameras) {
    refuse("rig",
           "has a camera that no pinhole camera can be made for with these sizes and "
           "intrinsics");
  }
  return result;
}

struct CameraMaps {
  explicit CameraMaps(const IntrinsicCameraCalibrationZEL& source,
                      const IntrinsicCameraCalibrationZEL& target, bool hasGains)
      : forward(target.width, target.height),
        inverse(source.width, source.height),
        gains({hasGains ? source.height : 0, hasGains ? source.width : 0}) {}

  NewMap forward;
  NewMap inverse;
  py::array_t<float> gains;
};

UndistortionMap planesOf(NewMap& map) {
  const rectiline_map view = map.view();
  const auto width = static_cast<std::uint32_t>(view.width);
  const auto height = static_cast<std::uint32_t>(view.height);
  return {view.x, width, height, view.y, width, height};
}

VignettingMap gainsOf(CameraMaps& maps) {
  return {maps.gains.mutable_data(), static_cast<std::uint32_t>(maps.gains.shape(1)),
          static_cast<std::uint32_t>(maps.gains.shape(0))};
}

/// For each camera (forward (x, y), inverse (x, y), gains or None).
py::list calibrationMaps(const Rig& source, const Rig& target, bool keepOutside, bool vignetting,
                         const std::optional<std::vector<float>>& rotations) {
  requireCameras(source);
  requireCameras(target);
  if (source.device.num_cameras != target.device.num_cameras) {
    refuse("target", "expected as many cameras as in the source");
  }
  const auto count = static_cast<std::uint8_t>(source.device.num_cameras);
  std::vector<CameraMaps> made;
  std::vector<UndistortionMap> forward, inverse;
  std::vector<VignettingMap> gains;
  for (int i = 0; i < count; ++i) {
    made.emplace_back(source.device.cameras[i].intrinsics, target.device.cameras[i].intrinsics,
                      vignetting);
    forward.push_back(planesOf(made.back().forward));
    inverse.push_back(planesOf(made.back().inverse));
    gains.push_back(gainsOf(made.back()));
  }
  const CalibrationMapConfig config{keepOutside ? 1U : 0U, vignetting,
                                    perCamera(rotations, source, 3, "rotations"), count};
  CalibrationMap map{forward.data(), inverse.data(), gains.data(), count};
  int status = 0;
  {
    const py::gil_scoped_release unlocked;
    status = CreateCalibrationMap(source.device, target.device, config, map);
  }
  if (status != 0) refuse("rig", "has a camera that cannot be converted");
  py::list result;
  for (CameraMaps& maps : made) {
    result.append(py::make_tuple(py::make_tuple(maps.forward.x, maps.forward.y),
                                 py::make_tuple(maps.inverse.x, maps.inverse.y),
                                 vignetting ? py::object(maps.gains) : py::none()));
  }
  return result;
}

}  // namespace

void bindCalibrationMaps(py::module_& module) {
  module.def("linear", linear, py::arg("rig"), py::arg("largest"), py::arg("sizes"),
             py::arg("intrinsics"));
  module.def("calibration_maps", calibrationMaps, py::arg("source"), py::arg("target"),
             py::arg("keep_outside"), py::arg("vignetting"), py::arg("rotations"));
}

}  // namespace rectiline::python
