#pragma once

#include "Structs.h"

namespace rectiline::python {

// One for each topic; together they are the module rectiline._core.
void bindErrors(py::module_& module);
void bindCameras(py::module_& module);
void bindRig(py::module_& module);
void bindRectify(py::module_& module);
void bindCalibrationMaps(py::module_& module);
void bindRemap(py::module_& module);
void bindPoints(py::module_& module);
void bindQuality(py::module_& module);
void bindCheck(py::module_& module);

}  // namespace rectiline::python
