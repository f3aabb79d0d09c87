// rectiline._core: what the package rectiline is made of. Its interface is the package's, not this.

#include "Bindings.h"
#include "Errors.h"
#include "rectiline/rectiline.h"

namespace {

void bindLibrary(pybind11::module_& module) {
  module.def("version", rectiline_version);
  module.def("set_log", [](int level, bool console) {
    rectiline::python::require(rectiline_set_log(level, console ? 1 : 0));
  });
}

}  // namespace

PYBIND11_MODULE(_core, module) {
  using namespace rectiline::python;
  bindErrors(module);
  bindLibrary(module);
  bindCameras(module);
  bindRig(module);
  bindRectify(module);
  bindCalibrationMaps(module);
  bindRemap(module);
  bindPoints(module);
  bindQuality(module);
  bindCheck(module);
}
