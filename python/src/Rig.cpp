// Rigs from files of every known format, from cameras, and back into files.

#include "Rig.h"

#include <pybind11/stl.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "Bindings.h"
#include "Errors.h"
#include "rectiline_formats/Write.h"

namespace rectiline::python {
namespace {

using Size = std::optional<std::pair<int, int>>;

formats::Format formatNamed(const std::string& name) {
  const std::optional<formats::Format> format = formats::formatFromName(name);
  if (format) return *format;
  std::string names;
  for (const std::string& known : formats::formatNames()) {
    names += (names.empty() ? "" : ", ") + known;
  }
  refuse("format", "\"" + name + "\" is none of " + names);
}

std::optional<formats::PixelSize> pixelSize(const Size& size) {
  if (!size) return std::nullopt;
  return formats::PixelSize{size->first, size->second};
}

Rig load(const std::vector<std::string>& files, const std::optional<std::string>& from,
         const std::string& pair, const Size& size, const std::optional<std::string>& scale,
         const Size& imageSize, bool fit) {
  formats::ReadOptions options;
  if (from) options.from = formatNamed(*from);
  if (scale) options.metresPerUnit = formats::metresPerUnitFromText(*scale);
  options.size = pixelSize(size);
  options.imageSize = pixelSize(imageSize);
  options.pair = pair;
  options.fit = fit;
  formats::Calibration read;
  {
    const py::gil_scoped_release unlocked;
    read = formats::readCalibration(files, options);
  }
  return {read.device, read.hasPoses, formats::formatName(read.format), std::move(read.notes)};
}

/// The texts of the files and what is to be said about them.
std::pair<std::vector<std::pair<std::string, std::string>>, std::vector<std::string>> written(
    const Rig& rig, const std::string& format, bool lossy) {
  if (!rig.hasPoses) refuse("rig", "does not say how its cameras lie to each other");
  formats::Written result;
  {
    const py::gil_scoped_release unlocked;
    result = formats::writeCalibration(rig.device, formatNamed(format), {lossy});
  }
  std::vector<std::pair<std::string, std::string>> files;
  for (formats::WrittenFile& file : result.files) {
    files.emplace_back(std::move(file.name), std::move(file.text));
  }
  return {std::move(files), std::move(result.notes)};
}

Rig fromCameras(const std::vector<CameraCalibrationZEL>& cameras) {
  if (cameras.empty() || cameras.size() > RECTILINE_MAX_CAMERAS) {
    refuse("cameras", "a rig has 1 to " + std::to_string(RECTILINE_MAX_CAMERAS) + " cameras, not " +
                          std::to_string(cameras.size()));
  }
  Rig rig;
  rig.device.num_cameras = static_cast<std::int32_t>(cameras.size());
  std::copy(cameras.begin(), cameras.end(), rig.device.cameras);
  return rig;
}

std::vector<CameraCalibrationZEL> camerasOf(const Rig& rig) {
  return {rig.device.cameras, rig.device.cameras + rig.device.num_cameras};
}

py::tuple stateOf(const Rig& rig) {
  return py::make_tuple(py::bytes(reinterpret_cast<const char*>(&rig.device), sizeof rig.device),
                        rig.hasPoses, rig.format, rig.notes);
}

Rig rigFromState(const py::tuple& state) {
  const auto bytes = state[0].cast<std::string>();
  Rig rig;
  if (bytes.size() != sizeof rig.device) refuse("pickle", "is not of a rig");
  std::memcpy(&rig.device, bytes.data(), sizeof rig.device);
  const bool isCount =
      rig.device.num_cameras > 0 && rig.device.num_cameras <= RECTILINE_MAX_CAMERAS;
  if (!isCount) refuse("pickle", "is not of a rig");
  rig.hasPoses = state[1].cast<bool>();
  rig.format = state[2].cast<std::string>();
  rig.notes = state[3].cast<std::vector<std::string>>();
  return rig;
}

}  // namespace

void Rig::requirePair() const {
  if (device.num_cameras < 2) refuse("rig", "has only one camera, a pair needs two");
  if (!hasPoses) refuse("rig", "does not say how its cameras lie to each other");
}

const CameraCalibrationZEL& Rig::camera(int index) const {
  if (index < 0 || index >= device.num_cameras) {
    refuse("camera", "is " + std::to_string(index) + "; the rig has cameras 0 to " +
                         std::to_string(device.num_cameras - 1));
  }
  return device.cameras[index];
}

void bindRig(py::module_& module) {
  py::class_<Rig>(module, "Rig")
      .def_readonly("has_poses", &Rig::hasPoses)
      .def_readonly("format", &Rig::format)
      .def_readonly("notes", &Rig::notes)
      .def_property_readonly("cameras", camerasOf)
      .def(py::pickle([](const Rig& rig) { return stateOf(rig); },
                      [](const py::tuple& state) { return rigFromState(state); }));
  module.def("load", load, py::arg("files"), py::arg("from_"), py::arg("pair"), py::arg("size"),
             py::arg("scale"), py::arg("image_size"), py::arg("fit"));
  module.def("written", written, py::arg("rig"), py::arg("format"), py::arg("lossy"));
  module.def("from_cameras", fromCameras, py::arg("cameras"));
}

}  // namespace rectiline::python
