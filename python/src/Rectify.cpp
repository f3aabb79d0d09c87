// Rectified pairs, undistorted cameras and see-through maps.

#include <pybind11/stl.h>

#include <cmath>

#include "Arrays.h"
#include "Bindings.h"
#include "Errors.h"
#include "Rig.h"

namespace rectiline::python {
namespace {

constexpr char kViewDoc[] = R"(A virtual camera without distortion, at the centre of a real one.

"pinhole": u = cx + fx X / Z, v = cy + fy Y / Z. "latlon", for an axis of 0: a column is the
angle a = (u - cx) / fx in the epipolar plane, a row the angle b = (v - cy) / fy of that plane,
and the ray is (sin a, cos a sin b, cos a cos b).)";

/// What was rectified: a claim that can be certified.
using Rectification = rectiline_rectification;

py::list warningsOf(const Rectification& r) {
  py::list warnings;
  for (std::uint32_t i = 0; i < r.warning_count; ++i) {
    const rectiline_warning& w = r.warnings[i];
    warnings.append(py::make_tuple(w.code, w.camera, w.value, textOf(w.text)));
  }
  return warnings;
}

/// By the names of rectiline.Rectified.
py::dict factsOf(const Rectification& r) {
  py::dict facts;
  facts["cameras"] = py::make_tuple(r.left_camera, r.right_camera);
  facts["axis"] = r.axis;
  facts["disparity_sign"] = r.disparity_sign;
  facts["baseline"] = r.baseline;
  facts["depth_constant"] = r.depth_constant;
  facts["R1"] = matrixOf(r.R1, 3, 3);
  facts["R2"] = matrixOf(r.R2, 3, 3);
  facts["P1"] = matrixOf(r.P1, 3, 4);
  facts["P2"] = matrixOf(r.P2, 3, 4);
  facts["Q"] = matrixOf(r.Q, 4, 4);
  facts["left_share"] = r.left_share;
  facts["right_share"] = r.right_share;
  facts["valid"] = py::make_tuple(r.valid_x, r.valid_y, r.valid_width, r.valid_height);
  return facts;
}

/// (left (x, y, reasons), right, claim, facts, warnings)
py::tuple rectify(const Rig& rig, const rectiline_options& options) {
  rig.requirePair();
  auto result = sized<Rectification>();
  run([&] { return rectiline_rectify(&rig.device, &options, nullptr, nullptr, &result); });
  NewMap left(result.left.width, result.left.height);
  NewMap right(result.right.width, result.right.height);
  const rectiline_map leftMap = left.view();
  const rectiline_map rightMap = right.view();
  run([&] { return rectiline_rectify(&rig.device, &options, &leftMap, &rightMap, &result); });
  return py::make_tuple(left.arrays(), right.arrays(), result, factsOf(result), warningsOf(result));
}

/// ((x, y, reasons), view)
py::tuple undistort(const CameraCalibrationZEL& camera, const rectiline_options& options) {
  auto view = sized<rectiline_view>();
  run([&] { return rectiline_undistort(&camera, &options, nullptr, &view); });
  NewMap made(view.width, view.height);
  const rectiline_map map = made.view();
  run([&] { return rectiline_undistort(&camera, &options, &map, nullptr); });
  return py::make_tuple(made.arrays(), view);
}

NewMap mapOfSize(const CameraCalibrationZEL& camera) {
  if (camera.intrinsics.width < 1 || camera.intrinsics.height < 1) {
    refuse("size", "of camera " + textOf(camera.name) + " is not above 0");
  }
  return {camera.intrinsics.width, camera.intrinsics.height};
}

/// Two of (x, y, reasons)
py::tuple seeThrough(const Rig& rig, const Rig& eyes, double planeDistance, bool keepOutside) {
  rig.requirePair();
  eyes.requirePair();
  NewMap left = mapOfSize(eyes.camera(0));
  NewMap right = mapOfSize(eyes.camera(1));
  const rectiline_map leftMap = left.view();
  const rectiline_map rightMap = right.view();
  run([&] {
    return rectiline_see_through(&rig.device, &eyes.device, planeDistance, keepOutside ? 1 : 0,
                                 &leftMap, &rightMap);
  });
  return py::make_tuple(left.arrays(), right.arrays());
}

/// (n,) from two of (n,).
Points rangeFromColumns(const Rectification& r, const py::object& left, const py::object& right) {
  const Points l = pointsOf(left, "left", 0);
  const Points rights = pointsOf(right, "right", 0);
  if (l.size() != rights.size()) refuse("right", "expected as many positions as in the left image");
  Points ranges(l.size());
  double* const out = ranges.mutable_data();
  const double *const lefts = l.data(), *const others = rights.data();
  const auto count = static_cast<std::size_t>(l.size());
  run([&] { return rectiline_range_from_columns(&r, count, lefts, others, out); });
  return ranges;
}

void bindOptions(py::module_& module) {
  using Options = rectiline_options;
  py::class_<Options>(module, "Options")
      .def(py::init(&sized<Options>))
      .def_readwrite("left_camera", &Options::left_camera)
      .def_readwrite("right_camera", &Options::right_camera)
      .def_readwrite("projection", &Options::projection)
      .def_readwrite("width", &Options::width)
      .def_readwrite("height", &Options::height)
      .def_readwrite("has_principal_point", &Options::has_principal_point)
      .def_readwrite("coverage", &Options::coverage)
      .def_readwrite("cx", &Options::cx)
      .def_readwrite("cy", &Options::cy)
      .def_readwrite("focal_length", &Options::focal_length)
      .def_readwrite("field_of_view", &Options::field_of_view)
      .def_readwrite("alpha", &Options::alpha)
      .def_readwrite("keep_outside", &Options::keep_outside);
  module.attr("PINHOLE") = static_cast<int>(RECTILINE_PINHOLE);
  module.attr("LATITUDE_LONGITUDE") = static_cast<int>(RECTILINE_LATITUDE_LONGITUDE);
  module.attr("COVERAGE_VALID") = static_cast<int>(RECTILINE_COVERAGE_VALID);
  module.attr("COVERAGE_WHOLE") = static_cast<int>(RECTILINE_COVERAGE_WHOLE);
  module.attr("COVERAGE_BETWEEN") = static_cast<int>(RECTILINE_COVERAGE_BETWEEN);
}

void bindView(py::module_& module) {
  using View = rectiline_view;
  py::class_<View>(module, "View", kViewDoc)
      .def_property_readonly(
          "projection",
          [](const View& v) { return v.projection == RECTILINE_PINHOLE ? "pinhole" : "latlon"; },
          "\"pinhole\" or \"latlon\"")
      .def_property_readonly(
          "size", [](const View& v) { return py::make_tuple(v.width, v.height); },
          "(width, height), pixels")
      .def_readonly("fx", &View::fx, "pixels; latitude-longitude: pixels per radian")
      .def_readonly("fy", &View::fy)
      .def_readonly("cx", &View::cx)
      .def_readonly("cy", &View::cy)
      .def_readonly("axis", &View::axis, "of the baseline: 0 along rows, 1 along columns")
      .def_property_readonly(
          "R_camera_view", [](const View& v) { return matrixOf(v.R_camera_view, 3, 3); },
          "(3, 3): turns directions of the view into the real camera's frame")
      .def(pickleAsBytes<View>());
}

}  // namespace

void bindRectify(py::module_& module) {
  bindOptions(module);
  bindView(module);
  py::class_<Rectification>(module, "Rectification")
      .def_readonly("left", &Rectification::left)
      .def_readonly("right", &Rectification::right)
      .def(pickleAsBytes<Rectification>());
  module.def("rectify", rectify, py::arg("rig"), py::arg("options"));
  module.def("undistort", undistort, py::arg("camera"), py::arg("options"));
  module.def("see_through", seeThrough, py::arg("rig"), py::arg("eyes"), py::arg("plane_distance"),
             py::arg("keep_outside"));
  module.def("range_from_columns", rangeFromColumns, py::arg("rectification"), py::arg("left"),
             py::arg("right"));
}

}  // namespace rectiline::python
