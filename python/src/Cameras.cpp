// One camera: its record in NumPy's and OpenCV's terms, and records from those.

#include <algorithm>
#include <cstring>

#include "Arrays.h"
#include "Bindings.h"
#include "CameraModel/DistortionModel.h"
#include "Conventions.h"
#include "Errors.h"
#include "Pose.h"

namespace rectiline::python {
namespace {

using Camera = CameraCalibrationZEL;
using Intrinsics = IntrinsicCameraCalibrationZEL;
using formats::LensParameters;
using formats::LensRow;

constexpr char kRadial[] = "k1 k2 k3 k4 k5 k6";  // OpenCV's names of k0 to k5
constexpr char kTangential[] = "p1 p2";

constexpr char kCameraDoc[] = R"(One camera of a rig: its lens, and its pose in the rig.

A point x of the rig's reference frame is R x + t in the camera's frame (x right, y down, z
forward). An integer coordinate is the position of a pixel.)";

constexpr char kCoefficientsDoc[] =
    R"(OpenCV's coefficients: k1 k2 p1 p2 k3 (k4 k5 k6), or the fisheye's k1 k2 k3 k4.

Raises Error for a lens model that OpenCV does not have.)";

std::string modelOf(const Camera& camera) {
  const auto model = static_cast<CamModel::DistortionModel>(camera.intrinsics.distortion_model);
  return CamModel::isKnownModel(model) ? CamModel::modelName(model) : "unknown";
}

Points cameraMatrix(const Camera& camera) {
  const Intrinsics& in = camera.intrinsics;
  const double K[9] = {in.focal_length_x,
                       0,
                       in.principal_point_x,
                       0,
                       in.focal_length_y,
                       in.principal_point_y,
                       0,
                       0,
                       1};
  return matrixOf(K, 3, 3);
}

/// OpenCV's row for the coefficients of a model; null for a model that it does not have.
const LensRow* openCvRow(const Intrinsics& in) {
  const bool isFisheye = in.distortion_model == CamModel::FISHEYE_4_PARAMETERS;
  if (!isFisheye && in.distortion_model > CamModel::RADIAL_6_PARAMETERS) return nullptr;
  const char* const last = isFisheye                                              ? "k4"
                           : in.distortion_model == CamModel::RADIAL_6_PARAMETERS ? "k6"
                                                                                  : "k3";
  for (const LensRow* const row :
       formats::lensRows(formats::Format::OpenCv, isFisheye ? "fisheye" : "pinhole")) {
    if (std::string(row->coefficients).ends_with(last)) return row;
  }
  return nullptr;
}

Points openCvCoefficients(const Camera& camera) {
  const Intrinsics& in = camera.intrinsics;
  const LensRow* const row = openCvRow(in);
  if (row == nullptr) {
    refuse("D",
           "OpenCV has no coefficients for the lens model " + modelOf(camera) + "; see distortion");
  }
  LensParameters lens;
  setParameters(lens, kRadial, {in.distortion, in.distortion + 6});
  setParameters(lens, kTangential, {in.distortion + 6, in.distortion + 8});
  const std::vector<double> values = parameters(lens, row->coefficients);
  return Points(static_cast<py::ssize_t>(values.size()), values.data());
}

Points rotation(const Camera& camera) {
  return matrixOf(formats::fromRecord(camera.pose).R.data(), 3, 3);
}

Points translation(const Camera& camera) { return Points(3, &camera.pose.position.x); }

/// Sets the lens from OpenCV's coefficients.
void setOpenCvLens(Intrinsics& in, const std::string& word, const std::vector<double>& D) {
  for (const LensRow* const row : formats::lensRows(formats::Format::OpenCv, word)) {
    const std::string names = row->coefficients;
    const auto spaces = static_cast<std::size_t>(std::count(names.begin(), names.end(), ' '));
    if (D.size() != (names.empty() ? 0 : spaces + 1)) continue;
    LensParameters lens;
    setParameters(lens, names, D);
    const std::string missing = row->model->convert(lens, in);
    if (!missing.empty()) refuse("D", "there is no lens model here for " + missing);
    return;
  }
  refuse("D",
         "OpenCV's " + word + " model does not have " + std::to_string(D.size()) + " coefficients");
}

/// Sets the lens of a model of the library's own.
void setOwnLens(Intrinsics& in, const std::string& name, const std::vector<double>& D) {
  for (in.distortion_model = 0; in.distortion_model < CamModel::kNumDistortionModels;
       ++in.distortion_model) {
    if (name != CamModel::modelName(static_cast<CamModel::DistortionModel>(in.distortion_model))) {
      continue;
    }
    if (D.size() != std::size(in.distortion)) {
      refuse("D", "the model " + name + " takes k0 to k5, p1, p2: 8 numbers, not " +
                      std::to_string(D.size()));
    }
    std::copy(D.begin(), D.end(), in.distortion);
    return;
  }
  refuse("model",
         "expected opencv, opencv-fisheye or one of the library's lens models, found " + name);
}

void setLens(Intrinsics& in, const std::string& model, const std::vector<double>& D) {
  if (model == "opencv") return setOpenCvLens(in, "pinhole", D);
  if (model == "opencv-fisheye") return setOpenCvLens(in, "fisheye", D);
  setOwnLens(in, model, D);
}

void setMatrix(Intrinsics& in, const py::object& matrix) {
  const Points K = pointsOf(matrix, "K", 3);
  const bool isCameraMatrix = K.shape(0) == 3 && K.at(0, 1) == 0 && K.at(1, 0) == 0 &&
                              K.at(2, 0) == 0 && K.at(2, 1) == 0 && K.at(2, 2) == 1;
  if (!isCameraMatrix) refuse("K", "expected [[fx, 0, cx], [0, fy, cy], [0, 0, 1]]");
  in.focal_length_x = K.at(0, 0);
  in.focal_length_y = K.at(1, 1);
  in.principal_point_x = K.at(0, 2);
  in.principal_point_y = K.at(1, 2);
}

void setPose(Camera& camera, const py::object& rotation, const py::object& translation) {
  constexpr double kDigitsOfText = 1e-4;
  const Points R = pointsOf(rotation, "R", 3);
  const Points t = pointsOf(translation, "t", 0);
  formats::Pose pose;
  if (R.shape(0) != 3) refuse("R", "expected a 3 x 3 matrix");
  if (t.shape(0) != 3) refuse("t", "expected 3 numbers");
  std::copy_n(R.data(), 9, pose.R.data());
  std::copy_n(t.data(), 3, pose.t.data());
  if (!(formats::rotationError(pose.R) < kDigitsOfText)) {
    refuse("R",
           "is no rotation: its rows are not of unit length and at right angles, or it is a "
           "reflection");
  }
  pose.R = formats::nearestRotation(pose.R);
  camera.pose = formats::toRecord(pose);
}

Camera makeCamera(const std::string& name, std::pair<int, int> size, const py::object& K,
                  const py::object& D, const std::string& model, const py::object& R,
                  const py::object& t) {
  Camera camera{};
  if (name.size() >= sizeof camera.name) refuse("name", "is longer than 63 bytes");
  std::memcpy(camera.name, name.data(), name.size());
  camera.intrinsics.width = size.first;
  camera.intrinsics.height = size.second;
  setMatrix(camera.intrinsics, K);
  const Points coefficients = pointsOf(D, "D", 0);
  setLens(camera.intrinsics, model,
          {coefficients.data(), coefficients.data() + coefficients.size()});
  setPose(camera, R, t);
  auto unused = sized<rectiline_camera_certificate>();
  run([&] { return rectiline_certify_camera(&camera, &unused); });
  return camera;
}

}  // namespace

void bindCameras(py::module_& module) {
  py::class_<Camera>(module, "Camera", kCameraDoc)
      .def_property_readonly("name", [](const Camera& c) { return textOf(c.name); })
      .def_property_readonly(
          "size",
          [](const Camera& c) { return py::make_tuple(c.intrinsics.width, c.intrinsics.height); },
          "(width, height) of its images, pixels")
      .def_property_readonly("model", modelOf, "the lens model, as \"RADIAL_2_PARAMETERS\"")
      .def_property_readonly(
          "distortion", [](const Camera& c) { return Points(8, c.intrinsics.distortion); },
          "(8,): k0 to k5, p1, p2 of the model")
      .def_property_readonly(
          "line_time_ns", [](const Camera& c) { return c.line_time_ns; },
          "of a rolling shutter, nanoseconds for a row; 0: global shutter")
      .def_property_readonly(
          "rs_center_row", [](const Camera& c) { return c.rs_center_row; },
          "the row that a frame's time stamp refers to")
      .def_property_readonly("K", cameraMatrix,
                             "(3, 3): [[fx, 0, cx], [0, fy, cy], [0, 0, 1]], pixels")
      .def_property_readonly("D", openCvCoefficients, kCoefficientsDoc)
      .def_property_readonly("R", rotation,
                             "(3, 3): turns directions of the rig's frame into the camera's")
      .def_property_readonly("t", translation, "(3,): metres")
      .def("__repr__",
           [](const Camera& c) {
             return "<rectiline.Camera \"" + textOf(c.name) + "\" " +
                    std::to_string(c.intrinsics.width) + "x" + std::to_string(c.intrinsics.height) +
                    " " + modelOf(c) + ">";
           })
      .def(pickleAsBytes<Camera>());
  module.def("make_camera", makeCamera, py::arg("name"), py::arg("size"), py::arg("K"),
             py::arg("D"), py::arg("model"), py::arg("R"), py::arg("t"));
}

}  // namespace rectiline::python
