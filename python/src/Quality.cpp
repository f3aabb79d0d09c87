// How good maps and cameras are.

#include "Arrays.h"
#include "Bindings.h"
#include "Errors.h"
#include "Rig.h"

namespace rectiline::python {
namespace {

/// By the names of rectiline.Report.
py::dict reportOn(const py::object& x, const py::object& y) {
  const rectiline_map map = mapOf(x, y);
  auto r = sized<rectiline_report>();
  run([&] { return rectiline_map_report(&map, &r); });
  py::dict report;
  report["valid"] = py::make_tuple(r.valid_x, r.valid_y, r.valid_width, r.valid_height);
  report["pixels"] = r.pixels;
  report["pixels_with_source"] = r.pixels_with_source;
  report["broken_pixels"] = r.broken_pixels;
  report["measured_pixels"] = r.measured_pixels;
  report["folded_pixels"] = r.folded_pixels;
  report["share_with_source"] = r.share_with_source;
  report["least_magnification"] = r.least_magnification;
  report["greatest_magnification"] = r.greatest_magnification;
  return report;
}

py::tuple placeOf(const rectiline_place& place) {
  return py::make_tuple(place.x, place.y, place.depth);
}

/// By the names of rectiline.Certificate.
py::dict certify(const Rig& rig, const rectiline_rectification& claim, const py::object& leftX,
                 const py::object& leftY, const py::object& rightX, const py::object& rightY) {
  const rectiline_map left = mapOf(leftX, leftY);
  const rectiline_map right = mapOf(rightX, rightY);
  auto c = sized<rectiline_certificate>();
  run([&] { return rectiline_certify_rectification(&rig.device, &claim, &left, &right, &c); });
  py::dict certificate;
  certificate["points"] = c.points;
  certificate["max_row_error"] = c.max_row_error;
  certificate["rms_row_error"] = c.rms_row_error;
  certificate["max_depth_error"] = c.max_depth_error;
  certificate["max_map_error_left"] = c.max_map_error_left;
  certificate["max_map_error_right"] = c.max_map_error_right;
  certificate["worst_row"] = placeOf(c.worst_row);
  certificate["worst_depth"] = placeOf(c.worst_depth);
  certificate["worst_map_left"] = placeOf(c.worst_map_left);
  certificate["worst_map_right"] = placeOf(c.worst_map_right);
  return certificate;
}

/// By the names of rectiline.CameraCertificate.
py::dict certifyCamera(const CameraCalibrationZEL& camera) {
  auto c = sized<rectiline_camera_certificate>();
  run([&] { return rectiline_certify_camera(&camera, &c); });
  py::dict certificate;
  certificate["max_distortion_error"] = c.max_distortion_error;
  certificate["distortion_error_radius"] = c.distortion_error_radius;
  certificate["max_undistortion_error"] = c.max_undistortion_error;
  certificate["undistortion_error_radius"] = c.undistortion_error_radius;
  certificate["valid_radius"] = c.valid_radius;
  certificate["valid_radius_pixels"] = c.valid_radius_pixels;
  certificate["field_of_view"] = c.field_of_view;
  return certificate;
}

}  // namespace

void bindQuality(py::module_& module) {
  module.def("report", reportOn, py::arg("x"), py::arg("y"));
  module.def("certify", certify, py::arg("rig"), py::arg("claim"), py::arg("left_x"),
             py::arg("left_y"), py::arg("right_x"), py::arg("right_y"));
  module.def("certify_camera", certifyCamera, py::arg("camera"));
}

}  // namespace rectiline::python
