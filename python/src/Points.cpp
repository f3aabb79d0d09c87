// Single points between raw pixels, rays and views.

#include "Arrays.h"
#include "Bindings.h"
#include "Errors.h"

namespace rectiline::python {
namespace {

using Camera = CameraCalibrationZEL;

/// (answers (n, columnsOut), reasons (n,)) of a conversion of (n, columnsIn) points.
template <typename Convert>
py::tuple converted(const py::object& points, py::ssize_t columnsIn, py::ssize_t columnsOut,
                    Convert convert) {
  const Points in = pointsOf(points, "points", columnsIn);
  Points out = newPoints(in.shape(0), columnsOut);
  py::array_t<std::uint8_t> reasons(in.shape(0));
  const double* const from = in.data();
  double* const to = out.mutable_data();
  std::uint8_t* const why = reasons.mutable_data();
  run([&] { return convert(static_cast<std::size_t>(in.shape(0)), from, to, why); });
  return py::make_tuple(out, reasons);
}

py::tuple pointsToRays(const Camera& camera, const py::object& points) {
  return converted(points, 2, 3, [&](std::size_t n, const double* in, double* out, auto* why) {
    return rectiline_pixels_to_rays(&camera, n, in, out, why);
  });
}

py::tuple raysToPoints(const Camera& camera, const py::object& rays) {
  return converted(rays, 3, 2, [&](std::size_t n, const double* in, double* out, auto* why) {
    return rectiline_rays_to_pixels(&camera, n, in, out, why);
  });
}

py::tuple pointsToView(const Camera& camera, const rectiline_view& view, const py::object& points) {
  return converted(points, 2, 2, [&](std::size_t n, const double* in, double* out, auto* why) {
    return rectiline_pixels_to_view(&camera, &view, n, in, out, why);
  });
}

py::tuple pointsFromView(const Camera& camera, const rectiline_view& view,
                         const py::object& points) {
  return converted(points, 2, 2, [&](std::size_t n, const double* in, double* out, auto* why) {
    return rectiline_view_to_pixels(&camera, &view, n, in, out, why);
  });
}

}  // namespace

void bindPoints(py::module_& module) {
  const py::object camera = module.attr("Camera");
  const auto addMethod = [&camera](const char* name, auto function, const char* argument,
                                   const char* doc) {
    camera.attr(name) =
        py::cpp_function(function, py::name(name), py::is_method(camera), py::arg(argument), doc);
  };
  addMethod(
      "points_to_rays", pointsToRays, "points",
      "Raw pixels (n, 2) as directions (n, 3) of the camera's frame, of unit length, and the\n"
      "Reason (n,) of each: exact, in double precision. A point without an answer is NaN.");
  addMethod(
      "rays_to_points", raysToPoints, "rays",
      "Directions or points (n, 3) of the camera's frame, of any length, as raw pixels (n, 2),\n"
      "and the Reason (n,) of each.");
  module.def("points_to_view", pointsToView, py::arg("camera"), py::arg("view"), py::arg("points"));
  module.def("points_from_view", pointsFromView, py::arg("camera"), py::arg("view"),
             py::arg("points"));
}

}  // namespace rectiline::python
